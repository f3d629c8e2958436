// The instrument driver file (.tbb), the printer settings file
// (v24print.drv) and the terminal driver file: golden files (the block order
// with them), damaged files, files that cannot be opened (a hostile count
// claim is tst_CArchive's).

#include "ArchiveTestSupport.h"
#include "CDriverFile.h"
#include "CPrinterSettingsFile.h"
#include "CTerminalFile.h"
#include "GoldenFile.h"
#include "TestIncludes.h"

namespace {

CDriverFile LabDriver()
{
    CDriverFile file;
    file.m_Driver.SetName("Lab scale");
    file.m_Driver.SetFileName("Lab scale.tbb");
    file.m_Driver.SetExcel(1);
    file.m_Comm.m_nConnector = -1;
    file.m_Comm.m_strConnector = "FT4711AB";
    file.m_Comm.m_nBaudRate = 4800;
    file.m_Terminal.m_bShowControlChars = 1;
    file.m_FunctionKeys.m_bShowKeys = 1;
    file.m_FunctionKeys.AppendEmptyKeys();
    file.m_FunctionKeys.m_Names[0] = "Print";
    file.m_FunctionKeys.m_Commands[0] = "P\r\n";
    file.m_Script.m_bRegistered = 1;
    file.m_Script.m_strEndOfString = "<LF>";
    file.m_Script.m_InputStrings = {"S", "~"};
    file.m_Script.m_Sequences = {
        std::make_shared<CStringArray>(QByteArrayList{"SkipCharacters(3)", "TrimLeft()"}),
        std::make_shared<CStringArray>(QByteArrayList{"ChangeCharacters(., ,)"})};
    return file;
}

QByteArray StoredFile(CDriverFile& file)
{
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    const CFileResult result = file.Store(buffer, "lab.tbb");
    return result.IsOk() ? bytes : QByteArray();
}

CFileResult LoadBytes(const QByteArray& bytes, CDriverFile& file)
{
    QByteArray copy = bytes;
    QBuffer buffer(&copy);
    buffer.open(QIODevice::ReadOnly);
    return file.Load(buffer, "lab.tbb");
}

QByteArray FileBytes(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("<unreadable>");
}

CTerminalFile Vt100Terminal()
{
    CTerminalFile file;
    file.m_Comm.m_nConnector = -1;
    file.m_Comm.m_strConnector = "COM3";
    file.m_Comm.m_nBaudRate = 19200;
    file.m_Comm.m_nDataBits = 7;
    file.m_Comm.m_cParity = 'E';
    file.m_Comm.m_nStopBits = 2;
    file.m_Comm.m_nFlowControl = 1;
    file.m_Terminal.m_nColumns = 132;
    file.m_Terminal.m_nEmulation = 4;
    file.m_Terminal.m_bLocalEcho = 1;
    file.m_FunctionKeys.m_bShowKeys = 1;
    file.m_FunctionKeys.AppendEmptyKeys();
    file.m_FunctionKeys.m_Names[0] = "Reset";
    file.m_FunctionKeys.m_Commands[0] = "\x1B"
                                        "c";
    file.m_FunctionKeys.m_Names[7] = "Status";
    file.m_FunctionKeys.m_Commands[7] = "STAT?\r";
    return file;
}

void CompareRecords(const CTerminalFile& read, const CTerminalFile& expected)
{
    CTerminalFile a = read;
    CTerminalFile b = expected;
    QCOMPARE(Stored(a.m_Comm), Stored(b.m_Comm));
    QCOMPARE(Stored(a.m_Terminal), Stored(b.m_Terminal));
    QCOMPARE(Stored(a.m_FunctionKeys), Stored(b.m_FunctionKeys));
}
} // namespace

class tst_CDriverFile : public QObject
{
    Q_OBJECT

private Q_SLOTS:

    void goldenDriverFileLoadsAndStoresUnchanged()
    {
        CDriverFile file = LabDriver();
        const QByteArray produced = StoredFile(file);
        QCOMPARE(produced, GoldenBytes("Lab.tbb", produced));

        CDriverFile read;
        const CFileResult result = read.Load(GoldenPath("Lab.tbb"));
        QVERIFY2(result.IsOk(), qPrintable(result.Message()));
        QCOMPARE(StoredFile(read), produced);
    }

    void rewriteKeepsTheOldTailAndLoadsTheNewDriver()
    {
        QTemporaryDir dir;
        const QString path = dir.filePath("lab.tbb");
        CDriverFile longer = LabDriver();
        longer.m_Script.m_InputStrings.append(QByteArray(400, 'x'));
        longer.m_Script.m_Sequences.append(std::make_shared<CStringArray>());
        QVERIFY(longer.Store(path).IsOk());
        const QByteArray old = FileBytes(path);

        CDriverFile shorter = LabDriver();
        const QByteArray written = StoredFile(shorter);
        QVERIFY(shorter.Store(path).IsOk());
        const QByteArray now = FileBytes(path);
        QCOMPARE(now.left(written.size()), written);
        QCOMPARE(now.mid(written.size()), old.mid(written.size()));

        CDriverFile read;
        QVERIFY(read.Load(path).IsOk());
        QCOMPARE(read.m_Script.GetInputStringCount(), 2);
        QCOMPARE(StoredFile(read), written);
    }

    void extraTrailingByteIsIgnored()
    {
        CDriverFile file = LabDriver();
        const QByteArray bytes = StoredFile(file);
        CDriverFile read;
        const CFileResult result = LoadBytes(bytes + '\0', read);
        QVERIFY2(result.IsOk(), qPrintable(result.Message()));
        QCOMPARE(StoredFile(read), bytes);
    }

    void fileCutAtEveryOffsetIsDamaged()
    {
        CDriverFile original = LabDriver();
        const QByteArray whole = StoredFile(original);
        // Where each block ends in the file.
        const qint64 driverEnd = Stored(original.m_Driver).size();
        const qint64 commEnd = driverEnd + Stored(original.m_Comm).size();
        const qint64 terminalEnd = commEnd + 20;
        const qint64 keysEnd = terminalEnd + Stored(original.m_FunctionKeys).size();

        for (qint64 cut = 0; cut < whole.size(); ++cut) {
            CDriverFile read;
            read.m_Script.m_strEndOfString = "untouched";
            const CFileResult result = LoadBytes(whole.left(cut), read);
            const QByteArray context = "cut at " + QByteArray::number(cut) + ": " + result.Message().toUtf8();
            QVERIFY2(result.GetStatus() == CFileResult::Status::Damaged, context);
            QVERIFY2(result.GetOffset() >= 0 && result.GetOffset() <= cut, context);
            QVERIFY2(result.Message().startsWith(
                         QStringLiteral("lab.tbb: damaged at byte %1 (").arg(result.GetOffset())),
                     context);
            if (cut >= driverEnd)
                QCOMPARE(read.m_Driver.GetFileName(), QByteArray("Lab scale.tbb"));
            if (cut >= commEnd)
                QCOMPARE(Stored(read.m_Comm), Stored(original.m_Comm));
            if (cut >= terminalEnd)
                QCOMPARE(Stored(read.m_Terminal), Stored(original.m_Terminal));
            if (cut >= keysEnd)
                QCOMPARE(read.m_FunctionKeys.m_Names, original.m_FunctionKeys.m_Names);
            else
                QCOMPARE(read.m_Script.GetEndOfString(), QByteArray("untouched"));
        }
    }

    void printerSettingsHaveNoFunctionKeys()
    {
        CDriverFile lab = LabDriver();
        CPrinterSettingsFile printer;
        printer.m_Driver = lab.m_Driver;
        printer.m_Comm = lab.m_Comm;
        printer.m_Terminal = lab.m_Terminal;
        printer.m_Script = lab.m_Script;
        QTemporaryDir dir;
        const QString path = dir.filePath(CPrinterSettingsFile::FileName);
        QVERIFY(printer.Store(path).IsOk());
        const QByteArray produced = FileBytes(path);
        QCOMPARE(produced, GoldenBytes("v24print.drv", produced));

        CPrinterSettingsFile read;
        const CFileResult result = read.Load(GoldenPath("v24print.drv"));
        QVERIFY2(result.IsOk(), qPrintable(result.Message()));
        QCOMPARE(read.m_Comm.GetConnector(), QByteArray("FT4711AB"));
        QCOMPARE(read.m_Script.GetCommand(0, 1), QByteArray("TrimLeft()"));

        CPrinterSettingsFile missing;
        missing.m_Comm.m_nBaudRate = 1200;
        const CFileResult notOpened = missing.Load(dir.filePath("none/v24print.drv"));
        QCOMPARE(notOpened.GetStatus(), CFileResult::Status::NotOpened);
        QCOMPARE(missing.m_Comm.m_nBaudRate, 1200);
    }

    void exampleDriversRewriteTheirInstrumentsStrings()
    {
        const struct
        {
            QString example;
            QByteArray received, shown;
        } rows[] = {
            // The balance marks an error line (its weights are tst_DemoBalance's);
            // the meter's value loses its frame.
            {"Balance.tbb", "ES\r\n", "*ES\r\n"},
            {"Meter.tbb", "\x02+012.34 V\x03", "+012.34V\r"},
        };
        for (const auto& row : rows) {
            CDriverFile file;
            const CFileResult result =
                file.Load(QStringLiteral(ORVALIS_SOURCE_DIR "/res/examples/") + row.example);
            QVERIFY2(result.IsOk(), qPrintable(result.Message()));
            const CScript& script = file.m_Script;
            int startChar = 0;
            int endChar = 0;
            int index = -1;
            QVERIFY(script.MatchStart(row.received.front(), startChar, endChar, index));
            QCOMPARE(char(endChar), row.received.back());
            QByteArray output = row.received;
            for (int i = 0; i < script.GetCommandCount(index); ++i)
                script.ExecuteCommand(script.GetCommand(index, i), QByteArray(output), output);
            QCOMPARE(output, row.shown);
        }
    }

    void goldenTerminalFileLoadsAndStoresUnchanged()
    {
        QTemporaryDir dir;
        CTerminalFile terminal = Vt100Terminal();
        const QString path = dir.filePath("VT100.drv");
        QVERIFY(terminal.Store(path).IsOk());
        const QByteArray produced = FileBytes(path);
        QCOMPARE(produced, GoldenBytes("VT100.drv", produced));

        CTerminalFile read;
        const CFileResult result = read.Load(GoldenPath("VT100.drv"));
        QVERIFY2(result.IsOk(), qPrintable(result.Message()));
        CompareRecords(read, terminal);
        QCOMPARE(read.m_FunctionKeys.GetCommand(7), QByteArray("STAT?\r"));
    }
};

QTEST_GUILESS_MAIN(tst_CDriverFile)
#include "tst_CDriverFile.moc"
