#include "CDriverFile.h"
#include "PtyPair.h"

#include <QDateTime>
#include <QFile>
#include <QProcess>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QElapsedTimer>
#include <QTest>
#include <QtEndian>

#include <csignal>
#include <sys/stat.h>
#include <thread>

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

// orvalis-cli running on a line while the test plays the instrument.
class CCliProcess
{
public:
    explicit CCliProcess(const QStringList& arguments)
    {
        m_process.start(QStringLiteral(ORVALIS_CLI), arguments);
        m_process.waitForStarted();
    }
    ~CCliProcess()
    {
        if (m_process.state() != QProcess::NotRunning) {
            m_process.kill();
            m_process.waitForFinished();
        }
    }

    // Waits until standard error (or output) holds the text.
    bool WaitForError(const QString& text) { return WaitFor([&] { return m_err.contains(text); }); }
    bool WaitForOutput(const QByteArray& text) { return WaitFor([&] { return m_out.contains(text); }); }
    bool WaitForOutputEnd(const QByteArray& text, int timeoutMs)
    {
        return WaitFor([&] { return m_out.endsWith(text); }, timeoutMs);
    }
    void Interrupt() { ::kill(pid_t(m_process.processId()), SIGINT); }
    void Input(const QByteArray& bytes) { m_process.write(bytes); }
    void CloseInput() { m_process.closeWriteChannel(); }
    bool IsRunning() { return !m_process.waitForFinished(0) && m_process.state() == QProcess::Running; }
    // The exit code, -1 when it did not end in time or crashed.
    int Finish()
    {
        m_process.closeWriteChannel();
        if (m_process.state() != QProcess::NotRunning && !m_process.waitForFinished(10000))
            return -1;
        Collect();
        return m_process.exitStatus() == QProcess::NormalExit ? m_process.exitCode() : -1;
    }
    QByteArray Output() const { return m_out; }
    QString Error() const { return m_err; }

private:
    template <class Condition>
    bool WaitFor(Condition done, int timeoutMs = 10000)
    {
        QElapsedTimer timer;
        timer.start();
        while (!done() && timer.elapsed() < timeoutMs && m_process.state() == QProcess::Running) {
            m_process.waitForReadyRead(50);
            Collect();
        }
        Collect();
        return done();
    }
    void Collect()
    {
        m_out += m_process.readAllStandardOutput();
        m_err += QString::fromUtf8(m_process.readAllStandardError());
    }

    QProcess m_process;
    QByteArray m_out;
    QString m_err;
};

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
    void replayGoesOnAfterAnEmptyBlock();
    void replayReportsBadInput_data();
    void replayReportsBadInput();
    void captureShowsRecordsAndEndsOnCtrlC();
    void captureAnswersFromThePlaybackFile();
    void captureEndsWhenTheLineGoesAway_data();
    void captureEndsWhenTheLineGoesAway();
    void captureStampsEveryLineWithTheLocalTime();
    void captureKeepsUpWithAFlood_data();
    void captureKeepsUpWithAFlood();
    void captureReportsALineThatCannotOpen();
    void captureRefusesBadOptions_data();
    void captureRefusesBadOptions();
    void sendText_data();
    void sendText();
    void sendFileShowsProgress();
    void sendStopsOnALineThatTakesNothing();
    void sendAsksForTheSerialNumber();
    void sendStopsWithoutSerialNumber();
    void sendRefusesAKeyWithoutName();
    void sendUsageErrors_data();
    void sendUsageErrors();

private:
    QString Write(const QString& name, const QByteArray& bytes);
    QString Driver(const QString& name, bool registered, bool receiveCRLF);
    // Sends until the process ends; everything the instrument received.
    QByteArray Sent(CCliProcess& cli, CPtyPair& pty, int& exitCode);

    QTemporaryDir m_dir;
};

void tst_capture::initTestCase()
{
    QVERIFY(m_dir.isValid());
    qputenv("ORVALIS_HOME", m_dir.path().toLocal8Bit());
    QCOMPARE(::mkfifo(QFile::encodeName(m_dir.filePath(QStringLiteral("fifo"))).constData(), 0600), 0);
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
    driver.m_FunctionKeys.AppendEmptyKeys();
    driver.m_FunctionKeys.m_Names[0] = "Print";
    driver.m_FunctionKeys.m_Commands[0] = "P\r\n";
    driver.m_FunctionKeys.m_Names[1] = "Serial";
    driver.m_FunctionKeys.m_Commands[1] = "N^$S0x100^$S\r";
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
    QTest::newRow("text longer than a piece of the console is shown whole")
        << false << Framed({QByteArray(20000, 'x') + "\r", "\nB"}) << QByteArray(20000, 'x') + "\n\nB";
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
    QCOMPARE(run.exitCode, 1);
    QCOMPARE(run.out, QByteArray("AB\nCDE"));
    QVERIFY2(run.err.contains(QStringLiteral("is cut short (3 of 6 bytes)")), qPrintable(run.err));
}

void tst_capture::replayGoesOnAfterAnEmptyBlock()
{
    const QString driver = Driver(QStringLiteral("empty.tbb"), false, false);
    const CliRun run
        = RunCli({QStringLiteral("replay"), driver, Write(QStringLiteral("empty.bin"), Framed({"AB\n", "", "CD\n", ""}))});
    QCOMPARE(run.err, QString());
    QCOMPARE(run.exitCode, 0);
    QCOMPARE(run.out, QByteArray("AB\nCD\n"));
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
    // Opening a FIFO would wait for a writer for ever.
    const QString fifo = m_dir.filePath(QStringLiteral("fifo"));
    QTest::newRow("driver is a FIFO") << QStringList{QStringLiteral("replay"), fifo, QStringLiteral("y")} << 1
                                      << QStringLiteral("Cannot open %1: a FIFO, not a regular file").arg(fifo);
    QTest::newRow("recording is a FIFO")
        << QStringList{QStringLiteral("replay"), Driver(QStringLiteral("fifo.tbb"), false, false), fifo} << 1
        << QStringLiteral("Cannot open %1: a FIFO, not a regular file").arg(fifo);
}

void tst_capture::replayReportsBadInput()
{
    QFETCH(QStringList, arguments);
    const CliRun run = RunCli(arguments);
    QTEST(run.exitCode, "exitCode");
    QFETCH(QString, message);
    QVERIFY2(run.err.contains(message), qPrintable(run.err));
}

void tst_capture::captureShowsRecordsAndEndsOnCtrlC()
{
    CPtyPair pty;
    QVERIFY(pty.IsOpen());
    const QString driver = Driver(QStringLiteral("live.tbb"), true, true);
    const QString record = m_dir.filePath(QStringLiteral("live.rec"));
    const QString csv = m_dir.filePath(QStringLiteral("live.csv"));
    CCliProcess cli({QStringLiteral("capture"), driver, QStringLiteral("--port"), pty.SlaveName(),
                     QStringLiteral("--record"), record, QStringLiteral("--cells"), csv});
    QVERIFY2(cli.WaitForError(QStringLiteral("Ctrl-C ends")), qPrintable(cli.Error()));

    QVERIFY(pty.WriteMaster("  12.5 g\r\nE0"));
    QVERIFY(cli.WaitForOutput("12.5\tg\n"));
    QVERIFY(pty.WriteMaster("3\r\n   7.25 g\r\n"));
    QVERIFY(cli.WaitForOutput("7.25\tg\n"));
    // Each row is on disk as soon as it ends, while the capture still runs.
    QCOMPARE(FileBytes(csv), QByteArray("12.5,g\n*E03\n7.25,g\n"));
    cli.Interrupt();
    QCOMPARE(cli.Finish(), 0);
    QCOMPARE(cli.Output(), QByteArray("12.5\tg\n*E03\n7.25\tg\n"));
    QCOMPARE(FileBytes(csv), QByteArray("12.5,g\n*E03\n7.25,g\n"));
    QVERIFY(!QFile::exists(record + QStringLiteral(".part")));

    const CliRun replay = RunCli({QStringLiteral("replay"), driver, record});
    QCOMPARE(replay.exitCode, 0);
    QCOMPARE(replay.out, cli.Output());
}

void tst_capture::captureAnswersFromThePlaybackFile()
{
    CPtyPair pty;
    QVERIFY(pty.IsOpen());
    Write(QStringLiteral("answers.txt"), "D10\nFIRST\n^$S7^$S\n");
    const QString driver = Driver(QStringLiteral("answer.tbb"), false, false);
    CCliProcess cli({QStringLiteral("capture"), driver, QStringLiteral("--port"), pty.SlaveName(),
                     QStringLiteral("--playback"), QStringLiteral("answers.txt"), QStringLiteral("--serial"),
                     QStringLiteral("42"), QStringLiteral("--key"), QStringLiteral("1")});
    QVERIFY2(cli.WaitForError(QStringLiteral("Ctrl-C ends")), qPrintable(cli.Error()));
    QCOMPARE(pty.ReadMaster(3), QByteArray("P\r\n"));

    QVERIFY(pty.WriteMaster("ready\n"));
    QCOMPARE(pty.ReadMaster(6), QByteArray("FIRST\r"));
    QVERIFY(pty.WriteMaster("next\n"));
    const QByteArray record("S309000000070000002AC5\r");
    QCOMPARE(pty.ReadMaster(record.size()), record);
    QVERIFY(pty.WriteMaster("end\n"));
    QCOMPARE(pty.ReadMaster(1), QByteArray("\r"));
    QVERIFY(cli.WaitForOutput("end\n"));
    cli.Interrupt();
    QCOMPARE(cli.Finish(), 0);
    QCOMPARE(cli.Output(), QByteArray("ready\nnext\nend\n"));
}

void tst_capture::captureEndsWhenTheLineGoesAway_data()
{
    QTest::addColumn<bool>("reconnect");
    QTest::newRow("ends") << false;
    QTest::newRow("with --reconnect waits and goes on") << true;
}

void tst_capture::captureEndsWhenTheLineGoesAway()
{
    QFETCH(bool, reconnect);
    CPtyPair pty;
    QVERIFY(pty.IsOpen());
    pty.CloseSlave();
    // A link re-pointed at a new pseudo-terminal is a device coming back.
    const QString link = m_dir.filePath(QStringLiteral("gone-tty"));
    QFile::remove(link);
    QVERIFY(QFile::link(pty.SlaveName(), link));
    QStringList arguments{QStringLiteral("capture"), Driver(QStringLiteral("gone.tbb"), false, false),
                          QStringLiteral("--port"), link};
    if (reconnect)
        arguments << QStringLiteral("--reconnect");
    CCliProcess cli(arguments);
    QVERIFY2(cli.WaitForError(QStringLiteral("Ctrl-C ends")), qPrintable(cli.Error()));
    QVERIFY(pty.WriteMaster("last words\nhalf"));
    QVERIFY(cli.WaitForOutput("last words\n"));
    pty.CloseMaster();
    // The device is gone, its node with it (a stale link could meet another
    // test's pty that took the same number).
    QVERIFY(QFile::remove(link));
    if (!reconnect) {
        QCOMPARE(cli.Finish(), 1);
        QVERIFY2(cli.Error().contains(QStringLiteral("orvalis-cli capture: the line went away: Connection to ")),
                 qPrintable(cli.Error()));
        return;
    }
    QVERIFY2(cli.WaitForError(QStringLiteral(" - Waiting for %1\u2026\n").arg(link)), qPrintable(cli.Error()));
    CPtyPair again;
    again.CloseSlave();
    QVERIFY(QFile::link(again.SlaveName(), link));
    QVERIFY2(cli.WaitForError(QStringLiteral("orvalis-cli capture: Reconnected to %1 at ").arg(link)),
             qPrintable(cli.Error()));
    QVERIFY(again.WriteMaster(" and the rest\n"));
    QVERIFY(cli.WaitForOutput("half and the rest\n"));
    cli.Interrupt();
    QCOMPARE(cli.Finish(), 0);
    QCOMPARE(cli.Output(), QByteArray("last words\nhalf and the rest\n"));
}

void tst_capture::captureStampsEveryLineWithTheLocalTime()
{
    CPtyPair pty;
    QVERIFY(pty.IsOpen());
    CCliProcess cli({QStringLiteral("capture"), Driver(QStringLiteral("stamps.tbb"), false, false),
                     QStringLiteral("--port"), pty.SlaveName(), QStringLiteral("--timestamps")});
    QVERIFY2(cli.WaitForError(QStringLiteral("Ctrl-C ends")), qPrintable(cli.Error()));
    const QDateTime before = QDateTime::currentDateTime().addMSecs(-1);
    QVERIFY(pty.WriteMaster("first\n"));
    QVERIFY(cli.WaitForOutput("first\n"));
    QTest::qWait(20);
    QVERIFY(pty.WriteMaster("second\nthird\n"));
    QVERIFY(cli.WaitForOutput("third\n"));
    const QDateTime after = QDateTime::currentDateTime().addMSecs(1);
    cli.Interrupt();
    QCOMPARE(cli.Finish(), 0);

    const QList<QByteArray> lines = cli.Output().split('\n');
    QCOMPARE(lines.size(), 4);
    QVERIFY(lines.last().isEmpty());
    const QRegularExpression format(QStringLiteral("^(\\d{4}-\\d\\d-\\d\\d \\d\\d:\\d\\d:\\d\\d\\.\\d{3}) (\\w+)$"));
    QDateTime previous = before;
    const QStringList words{QStringLiteral("first"), QStringLiteral("second"), QStringLiteral("third")};
    for (int i = 0; i < 3; ++i) {
        const QRegularExpressionMatch match = format.match(QString::fromLatin1(lines[i]));
        QVERIFY2(match.hasMatch(), lines[i].constData());
        QCOMPARE(match.captured(2), words[i]);
        const QDateTime stamp = QDateTime::fromString(match.captured(1), QStringLiteral("yyyy-MM-dd HH:mm:ss.zzz"));
        QVERIFY2(stamp >= previous && stamp <= after, lines[i].constData());
        previous = stamp;
    }
}

void tst_capture::captureKeepsUpWithAFlood_data()
{
    QTest::addColumn<int>("piece");
    QTest::addColumn<int>("pauseUs");

    QTest::newRow("in one go") << (1 << 30) << 0;
    QTest::newRow("small pieces with pauses") << 3000 << 500;
}

// Far more than one processing pass reads, sent while the tool prints:
// every reading shown once, in order, and none after the last.
void tst_capture::captureKeepsUpWithAFlood()
{
    QFETCH(int, piece);
    QFETCH(int, pauseUs);
    CPtyPair pty;
    QVERIFY(pty.IsOpen());
    QByteArray readings;
    for (int i = 0; readings.size() < 1200 * 1024; ++i)
        readings += QByteArray::number(i).rightJustified(7, '0') + "    12.345 g\n";
    CCliProcess cli({QStringLiteral("capture"), Driver(QStringLiteral("flood.tbb"), false, false),
                     QStringLiteral("--port"), pty.SlaveName()});
    QVERIFY2(cli.WaitForError(QStringLiteral("Ctrl-C ends")), qPrintable(cli.Error()));

    std::thread instrument([&] {
        for (qsizetype at = 0; at < readings.size(); at += piece) {
            if (!pty.WriteMaster(readings.mid(at, piece)))
                return;
            std::this_thread::sleep_for(std::chrono::microseconds(pauseUs));
        }
    });
    const bool all = cli.WaitForOutputEnd(readings.right(20), 30000);
    instrument.join();
    QVERIFY2(all, qPrintable(QStringLiteral("%1 of %2 bytes shown").arg(cli.Output().size()).arg(readings.size())));
    cli.Interrupt();
    QCOMPARE(cli.Finish(), 0);
    QVERIFY(cli.Output() == readings);
}

void tst_capture::captureReportsALineThatCannotOpen()
{
    const CliRun run = RunCli({QStringLiteral("capture"), Driver(QStringLiteral("none.tbb"), false, false),
                               QStringLiteral("--port"), QStringLiteral("/dev/nonexistent-line")});
    QCOMPARE(run.exitCode, 1);
    // Said once, not again as a log line.
    QCOMPARE(run.err.count(QStringLiteral("Cannot open /dev/nonexistent-line: No such file or directory")), 1);
}

void tst_capture::captureRefusesBadOptions_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<int>("exitCode");
    QTest::addColumn<QString>("message");

    QTest::newRow("no driver") << QStringList{} << 2 << QStringLiteral("usage: orvalis-cli capture DRIVER");
    QTest::newRow("function key 0") << QStringList{QStringLiteral("x.tbb"), QStringLiteral("--key"), QStringLiteral("0")}
                                    << 2 << QStringLiteral("--key \"0\": a function key is 1 to 8");
    QTest::newRow("serial number that is no number")
        << QStringList{QStringLiteral("x.tbb"), QStringLiteral("--serial"), QStringLiteral("abc")} << 2
        << QStringLiteral("--serial \"abc\": Please enter an integer.");
    QTest::newRow("missing driver") << QStringList{QStringLiteral("/nonexistent/x.tbb")} << 1
                                    << QStringLiteral("Cannot open /nonexistent/x.tbb: No such file or directory");
    QTest::newRow("missing playback file")
        << QStringList{QStringLiteral("@driver"), QStringLiteral("--port"), QStringLiteral("@pty"),
                       QStringLiteral("--playback"), QStringLiteral("missing.txt")}
        << 1 << QStringLiteral("Cannot open playback file ");
}

void tst_capture::captureRefusesBadOptions()
{
    QFETCH(QStringList, arguments);
    CPtyPair pty;
    QVERIFY(pty.IsOpen());
    arguments.replaceInStrings(QStringLiteral("@driver"), Driver(QStringLiteral("bad.tbb"), false, false));
    arguments.replaceInStrings(QStringLiteral("@pty"), pty.SlaveName());
    const CliRun run = RunCli(QStringList{QStringLiteral("capture")} + arguments);
    QTEST(run.exitCode, "exitCode");
    QFETCH(QString, message);
    QVERIFY2(run.err.contains(message), qPrintable(run.err));
}

QByteArray tst_capture::Sent(CCliProcess& cli, CPtyPair& pty, int& exitCode)
{
    QByteArray sent;
    QElapsedTimer timer;
    timer.start();
    // Reads while the program runs, as an instrument would.
    while (cli.IsRunning() && timer.elapsed() < 10000)
        sent += pty.ReadMaster(1 << 20, 20);
    exitCode = cli.Finish();
    sent += pty.ReadMaster(1 << 20, 100);
    return sent;
}

void tst_capture::sendText_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QByteArray>("sent");

    const QByteArray record42 = "S309000001000000002ACB";
    QTest::newRow("command text in the control-code notation is decoded")
        << QStringList{QStringLiteral("--text"), QStringLiteral("P<CR><LF>")} << QByteArray("P\r\n");
    QTest::newRow("function key command goes out as stored")
        << QStringList{QStringLiteral("--key"), QStringLiteral("1")} << QByteArray("P\r\n");
    QTest::newRow("serial number from the option")
        << QStringList{QStringLiteral("--key"), QStringLiteral("2"), QStringLiteral("--serial"), QStringLiteral("42")}
        << "N" + record42 + "\r";
    QTest::newRow("playback macro drops the text before it")
        << QStringList{QStringLiteral("--text"), QStringLiteral("X^$Enothing.txt^$EY")} << QByteArray("Y");
    QTest::newRow("file macro sends the file between the texts")
        << QStringList{QStringLiteral("--text"), QStringLiteral("<STX>^$Fpayload.txt^$F<ETX>")}
        << QByteArray("\x02payload\x03");
}

void tst_capture::sendText()
{
    QFETCH(QStringList, arguments);
    Write(QStringLiteral("payload.txt"), "payload");
    CPtyPair pty;
    QVERIFY(pty.IsOpen());
    CCliProcess cli(QStringList{QStringLiteral("send"), Driver(QStringLiteral("send.tbb"), false, false),
                                QStringLiteral("--port"), pty.SlaveName()}
                    + arguments);
    int exitCode = -1;
    const QByteArray sent = Sent(cli, pty, exitCode);
    QCOMPARE(exitCode, 0);
    QTEST(sent, "sent");
}

void tst_capture::sendFileShowsProgress()
{
    QByteArray content(5000, '\0');
    for (int i = 0; i < content.size(); ++i)
        content[i] = char(i % 251);
    const QString path = Write(QStringLiteral("data.bin"), content);
    CPtyPair pty;
    QVERIFY(pty.IsOpen());
    CCliProcess cli({QStringLiteral("send"), Driver(QStringLiteral("file.tbb"), false, false),
                     QStringLiteral("--port"), pty.SlaveName(), QStringLiteral("--file"), path});
    int exitCode = -1;
    const QByteArray sent = Sent(cli, pty, exitCode);
    QCOMPARE(exitCode, 0);
    QCOMPARE(sent, content);
    const QString progress = QStringLiteral("Sending file %1: ").arg(path);
    for (const char* position : {"40% 00:00:0", "81% 00:00:0", "100% 00:00:0"})
        QVERIFY2(cli.Error().contains(progress + QLatin1String(position)), qPrintable(cli.Error()));
}

// The instrument never reads: the pty's buffer fills and every byte waits
// for room. Ctrl-C must still end the program within a second.
void tst_capture::sendStopsOnALineThatTakesNothing()
{
    const QString path = Write(QStringLiteral("big.bin"), QByteArray(1 << 20, 'x'));
    CPtyPair pty;
    QVERIFY(pty.IsOpen());
    CCliProcess cli({QStringLiteral("send"), Driver(QStringLiteral("stall.tbb"), false, false),
                     QStringLiteral("--port"), pty.SlaveName(), QStringLiteral("--file"), path});
    QVERIFY2(cli.WaitForError(QStringLiteral("Sending file")), qPrintable(cli.Error()));
    QTest::qWait(300);
    QElapsedTimer timer;
    timer.start();
    cli.Interrupt();
    QCOMPARE(cli.Finish(), 1);
    QVERIFY2(cli.Error().contains(QStringLiteral("orvalis-cli send: stopped")), qPrintable(cli.Error()));
    QVERIFY2(timer.elapsed() < 1000, qPrintable(QString::number(timer.elapsed())));
}

void tst_capture::sendAsksForTheSerialNumber()
{
    CPtyPair pty;
    QVERIFY(pty.IsOpen());
    CCliProcess cli({QStringLiteral("send"), Driver(QStringLiteral("ask.tbb"), false, false),
                     QStringLiteral("--port"), pty.SlaveName(), QStringLiteral("--key"), QStringLiteral("2")});
    cli.Input("abc\n10000\n42\n");
    int exitCode = -1;
    const QByteArray sent = Sent(cli, pty, exitCode);
    QCOMPARE(exitCode, 0);
    QCOMPARE(sent, QByteArray("NS309000001000000002ACB\r"));
    QVERIFY2(cli.Error().contains(QStringLiteral("Serial #: Please enter an integer.\n")), qPrintable(cli.Error()));
    QVERIFY2(cli.Error().contains(QStringLiteral("Please enter an integer between 0 and 9999.")),
             qPrintable(cli.Error()));
}

void tst_capture::sendStopsWithoutSerialNumber()
{
    CPtyPair pty;
    QVERIFY(pty.IsOpen());
    CCliProcess cli({QStringLiteral("send"), Driver(QStringLiteral("eof.tbb"), false, false),
                     QStringLiteral("--port"), pty.SlaveName(), QStringLiteral("--key"), QStringLiteral("2")});
    cli.CloseInput();
    int exitCode = -1;
    const QByteArray sent = Sent(cli, pty, exitCode);
    QCOMPARE(exitCode, 1);
    QCOMPARE(sent, QByteArray("N"));
    QVERIFY2(cli.Error().contains(QStringLiteral("No serial number: the rest of the command is not sent")),
             qPrintable(cli.Error()));
}

void tst_capture::sendRefusesAKeyWithoutName()
{
    CPtyPair pty;
    QVERIFY(pty.IsOpen());
    CCliProcess cli({QStringLiteral("send"), Driver(QStringLiteral("f5.tbb"), false, false),
                     QStringLiteral("--port"), pty.SlaveName(), QStringLiteral("--key"), QStringLiteral("5")});
    int exitCode = -1;
    QCOMPARE(Sent(cli, pty, exitCode), QByteArray());
    QCOMPARE(exitCode, 1);
    QVERIFY2(cli.Error().contains(QStringLiteral("F5 has no name in this driver; nothing sent")),
             qPrintable(cli.Error()));
}

void tst_capture::sendUsageErrors_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QString>("message");

    QTest::newRow("nothing to send") << QStringList{} << QStringLiteral("usage: orvalis-cli send DRIVER");
    QTest::newRow("two things to send")
        << QStringList{QStringLiteral("--key"), QStringLiteral("1"), QStringLiteral("--text"), QStringLiteral("x")}
        << QStringLiteral("usage: orvalis-cli send DRIVER");
    QTest::newRow("function key outside 1..8") << QStringList{QStringLiteral("--key"), QStringLiteral("9")}
                                               << QStringLiteral("--key \"9\": a function key is 1 to 8");
    QTest::newRow("serial number outside 0..9999")
        << QStringList{QStringLiteral("--text"), QStringLiteral("x"), QStringLiteral("--serial"), QStringLiteral("10000")}
        << QStringLiteral("--serial \"10000\": Please enter an integer between 0 and 9999.");
}

void tst_capture::sendUsageErrors()
{
    QFETCH(QStringList, arguments);
    const CliRun run = RunCli(QStringList{QStringLiteral("send"), Driver(QStringLiteral("usage.tbb"), false, false)}
                              + arguments);
    QCOMPARE(run.exitCode, 2);
    QFETCH(QString, message);
    QVERIFY2(run.err.contains(message), qPrintable(run.err));
}

QTEST_GUILESS_MAIN(tst_capture)
#include "tst_capture.moc"
