#include "CDriverParameter.h"
#include "CPlaybackFile.h"
#include "CReceivePipeline.h"
#include "CScript.h"
#include "CTerminalParameter.h"
#include "PipelineFakes.h"

#include <QTemporaryDir>
#include <QTest>

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

} // namespace

class tst_ReceivePipeline : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void display_data();
    void display();
    void cells_data();
    void cells();
    void playback_data();
    void playback();
    void countsBytesAndReportsProgressPerBlock();
    void discardEventsDropWhatIsWaiting();
    void otherEventsLeaveTheInputWaiting();
    void debugReplayShowsEveryByteInPieces();
    void debugStoreIsOffByDefault();
    void pollingShowsEveryByteAndHandlesBackspace();
    void pollingKeepsNulBytes();
    void endlessStringIsBounded();
    void stateSurvivesSwitchingTheScriptOff();
};

void tst_ReceivePipeline::display_data()
{
    QTest::addColumn<bool>("registered");
    QTest::addColumn<QByteArray>("endOfString");
    QTest::addColumn<QByteArrayList>("inputs");
    QTest::addColumn<QList<QByteArrayList>>("sequences");
    QTest::addColumn<bool>("receiveCRLF");
    QTest::addColumn<bool>("showControlChars");
    QTest::addColumn<QByteArrayList>("blocks");
    QTest::addColumn<QByteArrayList>("appends");
    QTest::addColumn<qint64>("total");

    const QByteArrayList none;
    const QList<QByteArrayList> noSequences;
    QTest::newRow("plain mode shows the line at CR and the rest at the end of the pass")
        << false << QByteArray() << none << noSequences << true << false
        << QByteArrayList{"AB\rCD"} << QByteArrayList{"AB\r\n", "CD"} << qint64(5);
    QTest::newRow("plain mode keeps a bare CR without CR/LF receiving")
        << false << QByteArray() << none << noSequences << false << false
        << QByteArrayList{"A\rB"} << QByteArrayList{"A\r", "B"} << qint64(3);
    QTest::newRow("NUL bytes are dropped and not counted")
        << false << QByteArray() << none << noSequences << false << false
        << QByteArrayList{QByteArray("AB\0CD", 5)} << QByteArrayList{"ABCD"} << qint64(4);
    QTest::newRow("control characters are shown by their names")
        << false << QByteArray() << none << noSequences << false << true
        << QByteArrayList{"A\x02" "B\r"} << QByteArrayList{"A<STX>B<CR>"} << qint64(4);
    QTest::newRow("names in the received text become bytes")
        << false << QByteArray() << none << noSequences << false << false
        << QByteArrayList{"T<CR>x"} << QByteArrayList{"T\rx"} << qint64(6);
    QTest::newRow("a received <NUL> name ends the shown text")
        << false << QByteArray() << none << noSequences << false << false
        << QByteArrayList{"AB<NUL>CD"} << QByteArrayList{"AB"} << qint64(9);
    QTest::newRow("each pass ends at the first block that leaves text")
        << false << QByteArray() << none << noSequences << false << false
        << QByteArrayList{"A", "B\r", "C"} << QByteArrayList{"A", "B\r", "C"} << qint64(4);
    QTest::newRow("unmatched string leaves no trace")
        << true << QByteArray("<CR>") << QByteArrayList{"X<CR>"} << QList<QByteArrayList>{{}}
        << false << false << QByteArrayList{"Y1\rX2\r"} << QByteArrayList{"X2\r"} << qint64(6);
    QTest::newRow("unmatched string ending in CR still adds a line feed")
        << true << QByteArray("<CR>") << QByteArrayList{"X<CR>"} << QList<QByteArrayList>{{}}
        << true << false << QByteArrayList{"Y1\rX2\r"} << QByteArrayList{"\n", "X2\r\n"} << qint64(6);
    QTest::newRow("end character between strings is ignored but counted")
        << true << QByteArray("<CR>") << QByteArrayList{"X"} << QList<QByteArrayList>{{}}
        << false << false << QByteArrayList{"\r\rX1\r"} << QByteArrayList{"X1\r"} << qint64(5);
    QTest::newRow("result without end character is shown at the end of the pass")
        << true << QByteArray(";") << QByteArrayList{"A;"}
        << QList<QByteArrayList>{{"RemoveCharacters(2, 1)"}} << false << false
        << QByteArrayList{"A1;"} << QByteArrayList{"A1"} << qint64(3);
    QTest::newRow("a later string replaces a result not shown yet")
        << true << QByteArray(";") << QByteArrayList{"A;"}
        << QList<QByteArrayList>{{"RemoveCharacters(2, 1)"}} << false << false
        << QByteArrayList{"A1;A2;"} << QByteArrayList{"A2"} << qint64(6);
    QTest::newRow("commands of a sequence run in order on the result")
        << true << QByteArray("#") << QByteArrayList{"$#"}
        << QList<QByteArrayList>{{"SkipCharacters(1)", "TrimLeft()"}} << false << false
        << QByteArrayList{"$  12#"} << QByteArrayList{"12#"} << qint64(6);
    QTest::newRow("empty result shows nothing and keeps the line waiting")
        << true << QByteArray(";") << QByteArrayList{"A", "B"}
        << QList<QByteArrayList>{{"RemoveCharacters(2, 1)"}, {"SkipCharacters(99)"}} << false
        << false << QByteArrayList{"A1;B2;"} << QByteArrayList{"A1"} << qint64(6);
    QTest::newRow("string split over blocks")
        << true << QByteArray("<CR>") << QByteArrayList{"X"} << QList<QByteArrayList>{{}}
        << false << false << QByteArrayList{"X", "1", "\r"} << QByteArrayList{"X1\r"} << qint64(3);
    QTest::newRow("wildcard input string and end characters of the input strings")
        << true << QByteArray() << QByteArrayList{"$ABC#", "~XY;"} << QList<QByteArrayList>{{}, {}}
        << false << false << QByteArrayList{"$1#Q2;"} << QByteArrayList{"$1#", "Q2;"} << qint64(6);
    QTest::newRow("NUL inside a string is dropped")
        << true << QByteArray("<CR>") << QByteArrayList{"X"} << QList<QByteArrayList>{{}}
        << false << false << QByteArrayList{QByteArray("X\0" "1\r", 4)} << QByteArrayList{"X1\r"}
        << qint64(3);
    QTest::newRow("failing command keeps the result of the commands before it")
        << true << QByteArray("<CR>") << QByteArrayList{"X"}
        << QList<QByteArrayList>{{"InsertCharacter(0, #)", "ChangeCharacter(99, a, b)", "TrimAll()"}}
        << false << false << QByteArrayList{"X 1\r"} << QByteArrayList{"#X 1\r"} << qint64(4);
    QTest::newRow("input string without its sequence shows the string unchanged")
        << true << QByteArray(";") << QByteArrayList{"X", "Y"} << QList<QByteArrayList>{{"TrimAll()"}}
        << false << false << QByteArrayList{"X 1;Y 2;"} << QByteArrayList{"X1;", "Y 2;"} << qint64(8);
    QTest::newRow("script result shown with control character names")
        << true << QByteArray("<CR>") << QByteArrayList{"X"} << QList<QByteArrayList>{{}}
        << false << true << QByteArrayList{"X1\r"} << QByteArrayList{"X1<CR>"} << qint64(3);
    QTest::newRow("script switched on without input strings shows nothing")
        << true << QByteArray("<CR>") << none << noSequences << true << false
        << QByteArrayList{"A\rB\r"} << QByteArrayList{"\n", "\n"} << qint64(4);
    QTest::newRow("degree sign as end character")
        << true << QByteArray("\xB0") << QByteArrayList{"T"} << QList<QByteArrayList>{{}}
        << false << false << QByteArrayList{"T21\xB0T22\xB0"}
        << QByteArrayList{"T21\xB0", "T22\xB0"} << qint64(8);
}

void tst_ReceivePipeline::display()
{
    QFETCH(bool, registered);
    QFETCH(QByteArray, endOfString);
    QFETCH(QByteArrayList, inputs);
    QFETCH(QList<QByteArrayList>, sequences);
    QFETCH(bool, receiveCRLF);
    QFETCH(bool, showControlChars);
    QFETCH(QByteArrayList, blocks);

    Window w;
    FillScript(w.script, registered, endOfString, inputs, sequences);
    w.display.m_bReceiveCRLF = receiveCRLF;
    w.display.m_bShowControlChars = showControlChars;
    w.Receive(blocks);

    QTEST(w.text.m_appends, "appends");
    QTEST(w.pipeline.TotalBytes(), "total");
    QVERIFY(w.commands.m_sent.isEmpty());
}

void tst_ReceivePipeline::cells_data()
{
    QTest::addColumn<bool>("registered");
    QTest::addColumn<QByteArray>("endOfString");
    QTest::addColumn<QByteArrayList>("sequence");
    QTest::addColumn<bool>("excel");
    QTest::addColumn<QByteArrayList>("blocks");
    QTest::addColumn<QStringList>("cells");
    QTest::addColumn<int>("row");
    QTest::addColumn<int>("column");

    QTest::newRow("plain mode: TAB ends a cell, CR a row")
        << false << QByteArray() << QByteArrayList() << true << QByteArrayList{"1\t2\t3\r"}
        << QStringList{"1,1:1", "1,2:2", "1,3:3"} << 2 << 1;
    QTest::newRow("plain mode: a line feed never reaches a cell")
        << false << QByteArray() << QByteArrayList() << true << QByteArrayList{"1\r\n2\r"}
        << QStringList{"1,1:1", "2,1:2"} << 3 << 1;
    QTest::newRow("plain mode: cells wait for the CR across blocks")
        << false << QByteArray() << QByteArrayList() << true << QByteArrayList{"1\t2", "\t3", "\r"}
        << QStringList{"1,1:1", "1,2:2", "1,3:3"} << 2 << 1;
    QTest::newRow("plain mode: names of control codes are decoded for the cells")
        << false << QByteArray() << QByteArrayList() << true << QByteArrayList{"a<HT>b\r"}
        << QStringList{"1,1:a", "1,2:b"} << 2 << 1;
    QTest::newRow("spreadsheet switch off writes nothing")
        << false << QByteArray() << QByteArrayList() << false << QByteArrayList{"1\t2\r"}
        << QStringList() << 1 << 1;
    QTest::newRow("script mode: a result with TAB and CR fills a row")
        << true << QByteArray("<LF>") << QByteArrayList{"ChangeCharacters(;, <HT>)"} << true
        << QByteArrayList{"12;34\r\n"} << QStringList{"1,1:12", "1,2:34"} << 2 << 1;
    QTest::newRow("script mode: a result without CR keeps the row")
        << true << QByteArray(";") << QByteArrayList{"ChangeCharacters(/, <HT>)"} << true
        << QByteArrayList{"12/34;", "56/;"} << QStringList{"1,1:12", "1,2:56"} << 1 << 3;
    QTest::newRow("script mode: text after a CR in a result is not written")
        << true << QByteArray(";") << QByteArrayList{"ChangeCharacters(/, <CR>)"} << true
        << QByteArrayList{"1/2;"} << QStringList{"1,1:1"} << 2 << 1;
}

void tst_ReceivePipeline::cells()
{
    QFETCH(bool, registered);
    QFETCH(QByteArray, endOfString);
    QFETCH(QByteArrayList, sequence);
    QFETCH(bool, excel);
    QFETCH(QByteArrayList, blocks);

    Window w;
    // The input string "~" takes every string.
    FillScript(w.script, registered, endOfString, {"~"}, {sequence});
    w.driver.m_bExcel = excel;
    CCellRecorder cells;
    w.pipeline.SetCellSink(&cells);
    w.Receive(blocks);

    QTEST(cells.m_cells, "cells");
    QTEST(w.pipeline.ExcelRow(), "row");
    QTEST(w.pipeline.ExcelColumn(), "column");
}

void tst_ReceivePipeline::playback_data()
{
    QTest::addColumn<QByteArray>("file");
    QTest::addColumn<bool>("receiveCRLF");
    QTest::addColumn<bool>("sendCRLF");
    QTest::addColumn<QByteArrayList>("blocks");
    QTest::addColumn<QByteArrayList>("sent");
    QTest::addColumn<QList<quint32>>("sleeps");

    QTest::newRow("delay line waits, then the next line goes; at the end a bare CR")
        << QByteArray("D500\nABC\n") << false << false << QByteArrayList{"x\n", "y\n"}
        << QByteArrayList{"ABC\r", "\r"} << QList<quint32>{500};
    QTest::newRow("CR LF from the instrument with CR/LF receiving sends two lines")
        << QByteArray("L1\nL2\nL3\n") << true << false << QByteArrayList{"x\r\n"}
        << QByteArrayList{"L1\r", "L2\r"} << QList<quint32>{};
    QTest::newRow("a bare CR from the instrument sends nothing without CR/LF receiving")
        << QByteArray("L1\n") << false << false << QByteArrayList{"x\r"} << QByteArrayList{}
        << QList<quint32>{};
    QTest::newRow("CR/LF transmitting appends a line feed")
        << QByteArray("A\n") << false << true << QByteArrayList{"\n"} << QByteArrayList{"A\r\n"}
        << QList<quint32>{};
    QTest::newRow("CR before the file's line feed is dropped, last line without one")
        << QByteArray("A\r\nB") << false << false << QByteArrayList{"\n\n\n"}
        << QByteArrayList{"A\r", "B\r", "\r"} << QList<quint32>{};
    QTest::newRow("unreadable delay counts as no delay")
        << QByteArray("Dxyz\nA\n") << false << false << QByteArrayList{"\n"}
        << QByteArrayList{"A\r"} << QList<quint32>{0};
    QTest::newRow("the line after a delay line is sent even when it is a delay line")
        << QByteArray("D1\nD2\nA\n") << false << false << QByteArrayList{"\n", "\n"}
        << QByteArrayList{"D2\r", "A\r"} << QList<quint32>{1};
    QTest::newRow("bytes of the file go out unchanged")
        << QByteArray("<CR>\tx\xB0\n") << false << false << QByteArrayList{"\n"}
        << QByteArrayList{"<CR>\tx\xB0\r"} << QList<quint32>{};
}

void tst_ReceivePipeline::playback()
{
    QFETCH(QByteArray, file);
    QFETCH(bool, receiveCRLF);
    QFETCH(bool, sendCRLF);
    QFETCH(QByteArrayList, blocks);

    QTemporaryDir dir;
    QFile out(dir.filePath(QStringLiteral("cmd.txt")));
    QVERIFY(out.open(QIODevice::WriteOnly));
    out.write(file);
    out.close();
    CPlaybackFile playback;
    QVERIFY(playback.Open(out.fileName()));

    Window w;
    w.display.m_bReceiveCRLF = receiveCRLF;
    w.display.m_bSendCRLF = sendCRLF;
    w.pipeline.SetPlaybackFile(&playback);
    w.Receive(blocks);

    QTEST(w.commands.m_sent, "sent");
    QTEST(w.sleeps, "sleeps");
}

void tst_ReceivePipeline::countsBytesAndReportsProgressPerBlock()
{
    Window w;
    QList<qint64> reports;
    w.pipeline.SetProgressReporter([&](qint64 total) { reports.append(total); });
    w.Receive({"AB", QByteArray("C\0", 2)});
    QCOMPARE(reports, (QList<qint64>{2, 4}));
    QCOMPARE(w.pipeline.TotalBytes(), qint64(3));
}

void tst_ReceivePipeline::discardEventsDropWhatIsWaiting()
{
    for (const quint16 event : {CByteSource::EventDiscard, CByteSource::EventDiscardOther}) {
        Window w;
        w.source.m_nEvent = event;
        w.source.m_blocks = {"garbage\r"};
        w.pipeline.OnCommEvent();
        QVERIFY(w.source.m_blocks.isEmpty());
        QVERIFY(w.text.m_appends.isEmpty());
        QCOMPARE(w.sleeps, QList<quint32>{20});
        QCOMPARE(w.pipeline.TotalBytes(), qint64(0));
    }
}

void tst_ReceivePipeline::otherEventsLeaveTheInputWaiting()
{
    Window w;
    w.source.m_nEvent = 3;
    w.source.m_blocks = {"A\r"};
    w.pipeline.OnCommEvent();
    QCOMPARE(w.source.m_blocks.size(), 1);
    QVERIFY(w.text.m_appends.isEmpty());
}

void tst_ReceivePipeline::debugReplayShowsEveryByteInPieces()
{
    Window w;
    FillScript(w.script, true, ";", {"X"}, {{}});
    w.display.m_bShowControlChars = 1;
    w.pipeline.SetDebugConnection(true);
    w.Receive({QByteArray("Q1;\rX\0" "2;\x01", 10)});
    QCOMPARE(w.pipeline.ReceivedBytes(), QByteArray("Q1;\rX2;\x01"));
    w.text.m_appends.clear();

    w.pipeline.DebugReplay();
    QCOMPARE(w.text.m_appends,
             (QByteArrayList{"\n\nDebug Output\n", "Q1;", "\r", "X2;", "\x01"}));
    // The store is kept: a second replay shows everything again.
    w.pipeline.DebugReplay();
    QCOMPARE(w.text.m_appends.size(), 10);
}

void tst_ReceivePipeline::debugStoreIsOffByDefault()
{
    Window w;
    w.Receive({"AB\r"});
    QVERIFY(w.pipeline.ReceivedBytes().isEmpty());
    w.pipeline.DebugReplay();
    QCOMPARE(w.text.m_appends.last(), QByteArray("\n\nDebug Output\n"));
}

void tst_ReceivePipeline::pollingShowsEveryByteAndHandlesBackspace()
{
    Window w;
    w.display.m_bReceiveCRLF = 1;
    w.source.m_blocks = {"AB\bC", "\r"};
    QVERIFY(w.pipeline.PollInput());
    QCOMPARE(w.text.m_appends, (QByteArrayList{"A", "B", "C", "\r\n"}));
    QCOMPARE(w.text.m_text, QByteArray("AC\r\n"));
    QCOMPARE(w.pipeline.TotalBytes(), qint64(5));
    QVERIFY(w.source.m_blocks.isEmpty());
}

void tst_ReceivePipeline::pollingKeepsNulBytes()
{
    Window w;
    w.display.m_bShowControlChars = 1;
    w.pipeline.SetDebugConnection(true);
    w.source.m_blocks = {QByteArray("A\0B", 3)};
    w.pipeline.PollInput();
    QCOMPARE(w.text.m_text, QByteArray("A<NUL>B"));
    QCOMPARE(w.pipeline.TotalBytes(), qint64(3));
    QVERIFY(w.pipeline.ReceivedBytes().isEmpty());
}

void tst_ReceivePipeline::endlessStringIsBounded()
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

void tst_ReceivePipeline::stateSurvivesSwitchingTheScriptOff()
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

QTEST_GUILESS_MAIN(tst_ReceivePipeline)
#include "tst_ReceivePipeline.moc"
