// The terminal driver file, and the rules every driver file shares: blocks in
// order, loading stops at the damaged block, storing never shortens a file.

#include "ArchiveTestSupport.h"
#include "CTerminalFile.h"
#include "GoldenFile.h"

#include <QBuffer>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>

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
    file.m_FunctionKeys.m_Commands[0] = "\x1B" "c";
    file.m_FunctionKeys.m_Names[7] = "Status";
    file.m_FunctionKeys.m_Commands[7] = "STAT?\r";
    return file;
}

QByteArray FileBytes(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("<unreadable>");
}

void WriteBytes(const QString& path, const QByteArray& bytes)
{
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
    QCOMPARE(file.write(bytes), bytes.size());
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
    void init();
    void storesTheThreeBlocksBackToBack();
    void goldenFileLoadsAndStoresUnchanged();
    void storeCreatesAMissingFile();
    void rewriteKeepsTheLengthAndTheOldTail();
    void extraTrailingByteIsIgnored();
    void unopenableFileIsReported_data();
    void unopenableFileIsReported();
    void fileCutAtEveryOffsetIsDamaged();

private:
    std::unique_ptr<QTemporaryDir> m_pDir;
};

void tst_CTerminalFile::init()
{
    m_pDir = std::make_unique<QTemporaryDir>();
    QVERIFY(m_pDir->isValid());
}

void tst_CTerminalFile::storesTheThreeBlocksBackToBack()
{
    CTerminalFile file;
    file.m_FunctionKeys.AppendEmptyKeys();
    const QString path = m_pDir->filePath("default.drv");
    QVERIFY(file.Store(path).IsOk());
    QCOMPARE(FileBytes(path), Bytes("01 00 80 25 4E 00 08 00 01 00 02 00"
                                    "| 50 00 18 00 02 00 01 00 00 00 00 00 00 00 00 00 00 00 01 00"
                                    "| 00 00 00 00 08 00 00 00 00 00 00 00 00 00 08 00 00 00 00 00 00 00 00 00"));
}

void tst_CTerminalFile::goldenFileLoadsAndStoresUnchanged()
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

void tst_CTerminalFile::storeCreatesAMissingFile()
{
    const QString path = m_pDir->filePath("new.drv");
    CTerminalFile file;
    QVERIFY(!QFile::exists(path));
    QVERIFY(file.Store(path).IsOk());
    QCOMPARE(FileBytes(path).size(), 12 + 20 + 8);
}

void tst_CTerminalFile::rewriteKeepsTheLengthAndTheOldTail()
{
    const QString path = m_pDir->filePath("lab.drv");
    CTerminalFile longer = Vt100Terminal();
    for (int i = 0; i < 8; ++i)
        longer.m_FunctionKeys.m_Commands[i] = QByteArray(100, char('a' + i));
    QVERIFY(longer.Store(path).IsOk());
    const QByteArray old = FileBytes(path);

    CTerminalFile shorter;
    QVERIFY(shorter.Store(path).IsOk());
    const QByteArray now = FileBytes(path);
    const QByteArray written = Bytes("01 00 80 25 4E 00 08 00 01 00 02 00") + Stored(shorter.m_Terminal) +
                               Bytes("00 00 00 00 00 00 00 00");
    QCOMPARE(now.size(), old.size());
    QCOMPARE(now.left(written.size()), written);
    QCOMPARE(now.mid(written.size()), old.mid(written.size()));

    CTerminalFile read = Vt100Terminal();
    QVERIFY(read.Load(path).IsOk());
    CompareRecords(read, shorter);
}

void tst_CTerminalFile::extraTrailingByteIsIgnored()
{
    const QString path = m_pDir->filePath("extra.drv");
    CTerminalFile terminal = Vt100Terminal();
    QVERIFY(terminal.Store(path).IsOk());
    WriteBytes(path, FileBytes(path) + "\xA5");

    CTerminalFile read;
    const CFileResult result = read.Load(path);
    QVERIFY2(result.IsOk(), qPrintable(result.Message()));
    CompareRecords(read, terminal);
}

void tst_CTerminalFile::unopenableFileIsReported_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<bool>("storing");
    QTest::addColumn<QString>("message");
    QTest::newRow("missing file is not read") << "missing.drv" << false
                                              << "Cannot open %1: No such file or directory";
    QTest::newRow("file in a missing folder is not written") << "no/such/folder.drv" << true
                                                             << "Cannot open %1: No such file or directory";
    QTest::newRow("a folder is not written") << "" << true << "Cannot open %1: a folder, not a regular file";
    QTest::newRow("a device is not written") << "/dev/full" << true
                                             << "Cannot open %1: a character device, not a regular file";
}

void tst_CTerminalFile::unopenableFileIsReported()
{
    QFETCH(QString, name);
    QFETCH(bool, storing);
    QFETCH(QString, message);
    const QString path = name.isEmpty() ? m_pDir->path() : name.startsWith('/') ? name : m_pDir->filePath(name);
    CTerminalFile file = Vt100Terminal();
    const CFileResult result = storing ? file.Store(path) : file.Load(path);
    QCOMPARE(result.GetStatus(), CFileResult::Status::NotOpened);
    QCOMPARE(result.Message(), message.arg(path));
    CompareRecords(file, Vt100Terminal());
}

void tst_CTerminalFile::fileCutAtEveryOffsetIsDamaged()
{
    CTerminalFile terminal = Vt100Terminal();
    QByteArray whole;
    {
        QBuffer buffer(&whole);
        buffer.open(QIODevice::WriteOnly);
        QVERIFY(terminal.Store(buffer, "lab.drv").IsOk());
    }
    const qint64 commEnd = 12 + 5;
    const qint64 terminalEnd = commEnd + 20;
    for (qint64 cut = 0; cut < whole.size(); ++cut) {
        QByteArray part = whole.left(cut);
        QBuffer buffer(&part);
        buffer.open(QIODevice::ReadOnly);
        CTerminalFile read;
        const CFileResult result = read.Load(buffer, "lab.drv");
        QCOMPARE(result.GetStatus(), CFileResult::Status::Damaged);
        QVERIFY(result.GetOffset() >= 0 && result.GetOffset() <= cut);
        QVERIFY2(result.Message().startsWith(QStringLiteral("lab.drv: damaged at byte %1 (").arg(result.GetOffset())),
                 qPrintable(result.Message()));
        if (cut >= commEnd)
            QCOMPARE(Stored(read.m_Comm), Stored(terminal.m_Comm));
        if (cut >= terminalEnd)
            QCOMPARE(Stored(read.m_Terminal), Stored(terminal.m_Terminal));
        else
            QCOMPARE(read.m_FunctionKeys.m_Names, QByteArrayList());
    }
}

QTEST_GUILESS_MAIN(tst_CTerminalFile)
#include "tst_CTerminalFile.moc"
