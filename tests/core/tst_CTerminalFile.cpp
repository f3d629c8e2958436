// The terminal driver file: its blocks in order, the golden file, a file that
// cannot be opened. The rules every driver file shares (old tail kept,
// trailing bytes, loading stops at the damaged block) are tst_CDriverFile's.

#include "ArchiveTestSupport.h"
#include "CTerminalFile.h"
#include "GoldenFile.h"
#include "TestIncludes.h"

namespace {

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

QByteArray FileBytes(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("<unreadable>");
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

class tst_CTerminalFile : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        m_pDir = std::make_unique<QTemporaryDir>();
        QVERIFY(m_pDir->isValid());
    }

    void goldenFileLoadsAndStoresUnchanged()
    {
        CTerminalFile terminal = Vt100Terminal();
        const QString path = m_pDir->filePath("VT100.drv");
        QVERIFY(terminal.Store(path).IsOk());
        const QByteArray produced = FileBytes(path);
        QCOMPARE(produced, GoldenBytes("VT100.drv", produced));

        CTerminalFile read;
        const CFileResult result = read.Load(GoldenPath("VT100.drv"));
        QVERIFY2(result.IsOk(), qPrintable(result.Message()));
        CompareRecords(read, terminal);
        QCOMPARE(read.m_FunctionKeys.GetCommand(7), QByteArray("STAT?\r"));
    }

    // A missing file is not read, a device is not written. The records stay
    // as they were.
    void unopenableFileIsReported()
    {
        const struct
        {
            QString name;
            bool storing;
            QString message;
        } rows[] = {
            {"missing.drv", false, "Cannot open %1: No such file or directory"},
            {"/dev/full", true, "Cannot open %1: a character device, not a regular file"},
        };
        for (const auto& row : rows) {
            const QString path = row.name.startsWith('/') ? row.name : m_pDir->filePath(row.name);
            CTerminalFile file = Vt100Terminal();
            const CFileResult result = row.storing ? file.Store(path) : file.Load(path);
            QCOMPARE(result.GetStatus(), CFileResult::Status::NotOpened);
            QCOMPARE(result.Message(), row.message.arg(path));
            CompareRecords(file, Vt100Terminal());
        }
    }

private:
    std::unique_ptr<QTemporaryDir> m_pDir;
};

QTEST_GUILESS_MAIN(tst_CTerminalFile)
#include "tst_CTerminalFile.moc"
