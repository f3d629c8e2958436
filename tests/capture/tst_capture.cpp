#include "CDriverFile.h"

#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>
#include <QtEndian>

namespace {

struct CliRun
{
    int exitCode = -1;
    QByteArray out;
    QString err;
};

CliRun RunCli(const QStringList& arguments, const QByteArray& input = QByteArray())
{
    QProcess process;
    process.start(QStringLiteral(ORVALIS_CLI), arguments);
    process.write(input);
    process.closeWriteChannel();
    CliRun run;
    if (!process.waitForFinished(10000)) {
        process.kill();
        process.waitForFinished();
        run.err = QStringLiteral("orvalis-cli did not finish");
        return run;
    }
    run.exitCode = process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1;
    run.out = process.readAllStandardOutput();
    run.err = QString::fromUtf8(process.readAllStandardError());
    return run;
}

QByteArray Framed(const QByteArrayList& blocks)
{
    QByteArray bytes("ORVALIS-CAPTURE 1\n");
    for (const QByteArray& block : blocks) {
        char length[4];
        qToLittleEndian(quint32(block.size()), length);
        bytes += QByteArray(length, 4) + block;
    }
    return bytes;
}

QByteArray FileBytes(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("<missing>");
}

} // namespace

class tst_capture : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void replayShowsWhatTheWindowShows_data();
    void replayShowsWhatTheWindowShows();
    void replayWritesCellsAsCsv();
    void replayUsesTheBytesOfACutBlock();
    void replayReportsBadInput_data();
    void replayReportsBadInput();

private:
    QString Write(const QString& name, const QByteArray& bytes);
    QString Driver(const QString& name, bool registered, bool receiveCRLF);

    QTemporaryDir m_dir;
};

void tst_capture::initTestCase()
{
    QVERIFY(m_dir.isValid());
    qputenv("ORVALIS_HOME", m_dir.path().toLocal8Bit());
}

QString tst_capture::Write(const QString& name, const QByteArray& bytes)
{
    QFile file(m_dir.filePath(name));
    if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size())
        qFatal("cannot write %s", qPrintable(file.fileName()));
    return file.fileName();
}

// A balance: strings end at LF; "~" takes them all, trims and puts a TAB
// between value and unit; strings starting with "E" are errors.
QString tst_capture::Driver(const QString& name, bool registered, bool receiveCRLF)
{
    CDriverFile driver;
    driver.m_Driver.m_strName = "Balance";
    driver.m_Comm.m_strConnector = "None";
    driver.m_Terminal.m_bReceiveCRLF = receiveCRLF;
    driver.m_Script.m_bRegistered = registered;
    driver.m_Script.m_strEndOfString = "<LF>";
    driver.m_Script.m_InputStrings = {"E", "~"};
    driver.m_Script.m_Sequences = {std::make_shared<CStringArray>(CStringArray{"InsertCharacter(0, *)"}),
                                   std::make_shared<CStringArray>(CStringArray{"TrimLeft()", "ChangeSpaces(<HT>)"})};
    const QString path = m_dir.filePath(name);
    if (!driver.Store(path).IsOk())
        qFatal("cannot store the driver");
    return path;
}

void tst_capture::replayShowsWhatTheWindowShows_data()
{
    QTest::addColumn<bool>("registered");
    QTest::addColumn<QByteArray>("capture");
    QTest::addColumn<QByteArray>("shown");

    QTest::newRow("script mode, one block")
        << true << Framed({"  12.5 g\r\nE03\r\n"}) << QByteArray("12.5\tg\n*E03\n");
    QTest::newRow("script mode keeps the block boundaries of the line")
        << true << Framed({"  1 g\r\n  2", " g\r\n"}) << QByteArray("1\tg\n2\tg\n");
    QTest::newRow("plain mode, CR LF and a lone CR are one line end each")
        << false << Framed({"A\r\nB", "\rC\xB0"}) << QByteArray("A\n\nB\nC\xC2\xB0");
    QTest::newRow("a file without the header is raw bytes")
        << true << QByteArray("  7 g\r\n") << QByteArray("7\tg\n");
    QTest::newRow("an empty file shows nothing") << true << QByteArray() << QByteArray();
}

void tst_capture::replayShowsWhatTheWindowShows()
{
    QFETCH(bool, registered);
    QFETCH(QByteArray, capture);

    const QString driver = Driver(QStringLiteral("balance.tbb"), registered, true);
    const CliRun run = RunCli({QStringLiteral("replay"), driver, Write(QStringLiteral("c.bin"), capture)});
    QCOMPARE(run.err, QString());
    QCOMPARE(run.exitCode, 0);
    QTEST(run.out, "shown");
}

void tst_capture::replayWritesCellsAsCsv()
{
    const QString driver = Driver(QStringLiteral("cells.tbb"), true, false);
    const QString csv = m_dir.filePath(QStringLiteral("cells.csv"));
    const QString capture = Write(QStringLiteral("cells.bin"), Framed({"  12.5 g\r\n 3,5 \"kg\"\r\n", "E1\r\n"}));
    const CliRun run = RunCli({QStringLiteral("replay"), driver, capture, QStringLiteral("--cells"), csv});
    QCOMPARE(run.exitCode, 0);
    QCOMPARE(FileBytes(csv), QByteArray("12.5,g\n\"3,5\",\"\"\"kg\"\"\"\n*E1\n"));
}

void tst_capture::replayUsesTheBytesOfACutBlock()
{
    const QString driver = Driver(QStringLiteral("cut.tbb"), false, false);
    QByteArray capture = Framed({"AB\n", "CDEFGH"});
    capture.chop(3);
    const CliRun run = RunCli({QStringLiteral("replay"), driver, Write(QStringLiteral("cut.bin"), capture)});
    QCOMPARE(run.exitCode, 0);
    QCOMPARE(run.out, QByteArray("AB\nCDE"));
    QVERIFY2(run.err.contains(QStringLiteral("is cut short (3 of 6 bytes)")), qPrintable(run.err));
}

void tst_capture::replayReportsBadInput_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<int>("exitCode");
    QTest::addColumn<QString>("message");

    QTest::newRow("missing arguments") << QStringList{QStringLiteral("replay")} << 2
                                       << QStringLiteral("usage: orvalis-cli replay DRIVER FILE");
    QTest::newRow("unknown option")
        << QStringList{QStringLiteral("replay"), QStringLiteral("a"), QStringLiteral("b"), QStringLiteral("--nope")}
        << 2 << QStringLiteral("Unknown option 'nope'");
    QTest::newRow("missing driver")
        << QStringList{QStringLiteral("replay"), QStringLiteral("/nonexistent/x.tbb"), QStringLiteral("y")} << 1
        << QStringLiteral("Cannot open /nonexistent/x.tbb: No such file or directory");
}

void tst_capture::replayReportsBadInput()
{
    QFETCH(QStringList, arguments);
    const CliRun run = RunCli(arguments);
    QTEST(run.exitCode, "exitCode");
    QFETCH(QString, message);
    QVERIFY2(run.err.contains(message), qPrintable(run.err));
}

QTEST_GUILESS_MAIN(tst_capture)
#include "tst_capture.moc"
