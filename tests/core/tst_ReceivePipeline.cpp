#include "CPlaybackFile.h"
#include "PipelineFakes.h"
#include "TestIncludes.h"

namespace {

struct Window : PipelineWindow
{
    Window()
    {
        display.m_bReceiveCRLF = 0;
        pipeline.SetCommandTarget(&commands);
        pipeline.SetSleeper([this](quint32 ms) { sleeps.append(ms); });
    }

    void Receive(const QByteArrayList& blocks) { Pass(blocks); }

    CCommandRecorder commands;
    QList<quint32> sleeps;
};

// The options of a row: the script switched on, CR/LF receiving, control
// character names shown.
enum Options { Plain = 0, Script = 1, CrLf = 2, Names = 4 };

} // namespace

class tst_ReceivePipeline : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    // The appends of the text, the bytes counted.
    void display()
    {
        const struct
        {
            int options;
            QByteArray end;
            QByteArrayList inputs;
            QList<QByteArrayList> sequences;
            QByteArrayList blocks, appends;
            qint64 total;
        } rows[] = {
            // Plain: the line at CR and the rest at the end of the pass; a bare CR without CR/LF.
            {CrLf, {}, {}, {}, {"AB\rCD"}, {"AB\r\n", "CD"}, 5},
            {Plain, {}, {}, {}, {"A\rB"}, {"A\r", "B"}, 3},
            // NUL bytes are dropped and not counted; control characters shown by their names.
            {Plain, {}, {}, {}, {QByteArray("AB\0CD", 5)}, {"ABCD"}, 4},
            {Names, {}, {}, {}, {"A\002B\r"}, {"A<STX>B<CR>"}, 4},
            // Names in the received text become bytes; a received <NUL> name ends the text.
            {Plain, {}, {}, {}, {"T<CR>x"}, {"T\rx"}, 6},
            {Plain, {}, {}, {}, {"AB<NUL>CD"}, {"AB"}, 9},
            // An unmatched string leaves no trace, but for the line feed after its CR.
            {Script, "<CR>", {"X<CR>"}, {{}}, {"Y1\rX2\r"}, {"X2\r"}, 6},
            {Script | CrLf, "<CR>", {"X<CR>"}, {{}}, {"Y1\rX2\r"}, {"\n", "X2\r\n"}, 6},
            // The end character between strings is ignored but counted.
            {Script, "<CR>", {"X"}, {{}}, {"\r\rX1\r"}, {"X1\r"}, 5},
            // A result without the end character is shown at the end of the pass,
            // unless a later string replaces it.
            {Script, ";", {"A;"}, {{"RemoveCharacters(2, 1)"}}, {"A1;"}, {"A1"}, 3},
            {Script, ";", {"A;"}, {{"RemoveCharacters(2, 1)"}}, {"A1;A2;"}, {"A2"}, 6},
            // The commands of a sequence run in order on the result.
            {Script, "#", {"$#"}, {{"SkipCharacters(1)", "TrimLeft()"}}, {"$  12#"}, {"12#"}, 6},
            // An empty result shows nothing and keeps the line waiting.
            {Script,
             ";",
             {"A", "B"},
             {{"RemoveCharacters(2, 1)"}, {"SkipCharacters(99)"}},
             {"A1;B2;"},
             {"A1"},
             6},
            // A wildcard input string; the end characters of the input strings.
            {Script, {}, {"$ABC#", "~XY;"}, {{}, {}}, {"$1#Q2;"}, {"$1#", "Q2;"}, 6},
            // A failing command keeps the result of the commands before it.
            {Script,
             "<CR>",
             {"X"},
             {{"InsertCharacter(0, #)", "ChangeCharacter(99, a, b)", "TrimAll()"}},
             {"X 1\r"},
             {"#X 1\r"},
             4},
            // An input string without its sequence shows the string unchanged.
            {Script, ";", {"X", "Y"}, {{"TrimAll()"}}, {"X 1;Y 2;"}, {"X1;", "Y 2;"}, 8},
            // The degree sign as end character.
            {Script, "\xB0", {"T"}, {{}}, {"T21\xB0T22\xB0"}, {"T21\xB0", "T22\xB0"}, 8},
        };
        for (const auto& row : rows) {
            Window w;
            FillScript(w.script, row.options & Script, row.end, row.inputs, row.sequences);
            w.display.m_bReceiveCRLF = (row.options & CrLf) ? 1 : 0;
            w.display.m_bShowControlChars = (row.options & Names) ? 1 : 0;
            w.Receive(row.blocks);
            const QByteArray name = row.blocks.join('|').toPercentEncoding();
            QVERIFY2(w.text.m_appends == row.appends,
                     name + ": " + w.text.m_appends.join('|').toPercentEncoding());
            QVERIFY2(w.pipeline.TotalBytes() == row.total, name);
            QVERIFY(w.commands.m_sent.isEmpty());
        }
    }

    // The cells written and the next cell; the input string "~" takes every string.
    void cells()
    {
        const struct
        {
            int options;
            QByteArray end;
            QByteArray command;
            bool excel;
            QByteArrayList blocks;
            QStringList cells;
            int row, column;
        } rows[] = {
            // Plain: TAB ends a cell, CR a row; a line feed never reaches a cell.
            {Plain, {}, {}, true, {"1\r\n2\r"}, {"1,1:1", "2,1:2"}, 3, 1},
            // Cells wait for the CR across blocks; names of control codes are decoded.
            {Plain, {}, {}, true, {"1\t2", "\t3", "\r"}, {"1,1:1", "1,2:2", "1,3:3"}, 2, 1},
            {Plain, {}, {}, true, {"a<HT>b\r"}, {"1,1:a", "1,2:b"}, 2, 1},
            // The spreadsheet switch off writes nothing.
            {Plain, {}, {}, false, {"1\t2\r"}, {}, 1, 1},
            // Script: a result with TAB and CR fills a row, one without CR keeps the row.
            {Script, "<LF>", "ChangeCharacters(;, <HT>)", true, {"12;34\r\n"}, {"1,1:12", "1,2:34"}, 2, 1},
            {Script, ";", "ChangeCharacters(/, <HT>)", true, {"12/34;", "56/;"}, {"1,1:12", "1,2:56"}, 1, 3},
            // Text after a CR in a result is not written.
            {Script, ";", "ChangeCharacters(/, <CR>)", true, {"1/2;"}, {"1,1:1"}, 2, 1},
        };
        for (const auto& row : rows) {
            Window w;
            FillScript(w.script, row.options & Script, row.end, {"~"},
                       {row.command.isEmpty() ? QByteArrayList() : QByteArrayList{row.command}});
            w.driver.m_bExcel = row.excel;
            CCellRecorder cells;
            w.pipeline.SetCellSink(&cells);
            w.Receive(row.blocks);
            const QByteArray name = row.blocks.join('|').toPercentEncoding();
            QVERIFY2(cells.m_cells == row.cells, name + ": " + cells.m_cells.join('|').toLatin1());
            QVERIFY2(w.pipeline.ExcelRow() == row.row && w.pipeline.ExcelColumn() == row.column, name);
        }
    }

    // The lines of a playback file sent for the strings of the instrument.
    void playback()
    {
        const struct
        {
            QByteArray file;
            bool receiveCRLF, sendCRLF;
            QByteArrayList blocks, sent;
            QList<quint32> sleeps;
        } rows[] = {
            // A delay line waits, then the next line goes (the CR before an LF
            // is no part of a line); at the end a bare CR.
            {"D500\r\nABC\r\n", false, false, {"x\n", "y\n"}, {"ABC\r", "\r"}, {500}},
            // CR LF from the instrument with CR/LF receiving sends two lines, a bare CR none without.
            {"L1\nL2\nL3\n", true, false, {"x\r\n"}, {"L1\r", "L2\r"}, {}},
            // CR/LF transmitting appends a line feed.
            {"A\n", false, true, {"\n"}, {"A\r\n"}, {}},
            // The line after a delay line is sent even when it is a delay line.
            {"D1\nD2\nA\n", false, false, {"\n", "\n"}, {"D2\r", "A\r"}, {1}},
        };
        QTemporaryDir dir;
        for (const auto& row : rows) {
            QFile out(dir.filePath(QStringLiteral("cmd.txt")));
            QVERIFY(out.open(QIODevice::WriteOnly));
            out.write(row.file);
            out.close();
            CPlaybackFile playback;
            QVERIFY(playback.Open(out.fileName()));

            Window w;
            w.display.m_bReceiveCRLF = row.receiveCRLF;
            w.display.m_bSendCRLF = row.sendCRLF;
            w.pipeline.SetPlaybackFile(&playback);
            w.Receive(row.blocks);
            QVERIFY2(w.commands.m_sent == row.sent, row.file.toPercentEncoding());
            QVERIFY2(w.sleeps == row.sleeps, row.file.toPercentEncoding());
        }
    }

    void discardEventsDropWhatIsWaiting()
    {
        for (const quint16 event : {CByteSource::EventDiscard, CByteSource::EventDiscardOther}) {
            Window w;
            w.source.m_nEvent = event;
            w.source.m_blocks = {"garbage\r"};
            w.pipeline.OnCommEvent();
            QVERIFY(w.source.m_blocks.isEmpty());
            QVERIFY(w.text.m_appends.isEmpty());
            QCOMPARE(w.sleeps, QList<quint32>{20});
        }
    }

    void pollingShowsEveryByteAndHandlesBackspace()
    {
        Window w;
        w.display.m_bReceiveCRLF = 1;
        w.source.m_blocks = {"AB\bC", "\r"};
        QVERIFY(w.pipeline.PollInput());
        QCOMPARE(w.text.m_appends, (QByteArrayList{"A", "B", "C", "\r\n"}));
        QCOMPARE(w.text.m_text, QByteArray("AC\r\n"));
        QCOMPARE(w.pipeline.TotalBytes(), qint64(5));
        // NUL bytes are kept (and counted).
        w.display.m_bShowControlChars = 1;
        w.source.m_blocks = {QByteArray("A\0B", 3)};
        w.pipeline.PollInput();
        QCOMPARE(w.text.m_text, QByteArray("AC\r\nA<NUL>B"));
    }

    void endlessStringIsBounded()
    {
        Window w;
        FillScript(w.script, true, "<CR>", {"X"}, {{"SkipCharacters(1048570)"}});
        const QByteArray chunk(64 * 1024, 'a');
        QByteArrayList blocks{"X"};
        for (int i = 0; i < 20; ++i)
            blocks.append(chunk);
        blocks.append("\r");
        w.Receive(blocks);
        // 1 MiB kept of the string; what is left after skipping shows its end
        // was still found.
        QCOMPARE(w.text.m_appends, QByteArrayList{"aaaaaa"});
    }

    void stateSurvivesSwitchingTheScriptOff()
    {
        Window w;
        FillScript(w.script, true, ";", {"X"}, {{}});
        w.Receive({"X1"});
        w.script.m_bRegistered = 0;
        w.Receive({"ab;"});
        QCOMPARE(w.text.m_appends, QByteArrayList{"ab;"});
        w.script.m_bRegistered = 1;
        w.Receive({"2;"});
        QCOMPARE(w.text.m_appends, (QByteArrayList{"ab;", "X12;"}));
    }
};

QTEST_GUILESS_MAIN(tst_ReceivePipeline)
#include "tst_ReceivePipeline.moc"
