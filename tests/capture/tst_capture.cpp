#include "CDriverFile.h"
#include "CliRun.h"
#include "PtyPair.h"

class tst_capture : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void replayShowsWhatTheWindowShows();
    void refusesBadInput();
    void captureShowsRecordsAndEndsOnCtrlC();
    void captureAnswersFromThePlaybackFileWithTimeStamps();
    void captureEndsWhenTheLineGoesAway_data();
    void captureEndsWhenTheLineGoesAway();
    void captureKeepsUpWithAFlood();
    void send();

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
    if (!WriteFile(m_dir.filePath(name), bytes))
        qFatal("cannot write %s", qPrintable(name));
    return m_dir.filePath(name);
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
    driver.m_Script.m_Sequences = {
        std::make_shared<CStringArray>(CStringArray{"InsertCharacter(0, *)"}),
        std::make_shared<CStringArray>(CStringArray{"TrimLeft()", "ChangeSpaces(<HT>)"})};
    const QString path = m_dir.filePath(name);
    if (!driver.Store(path).IsOk())
        qFatal("cannot store the driver");
    return path;
}

void tst_capture::replayShowsWhatTheWindowShows()
{
    QByteArray cut = Framed({"AB\n", "CDEFGH"});
    cut.chop(3);
    const struct
    {
        const char* name;
        bool registered, receiveCRLF;
        QByteArray capture, shown;
        int exitCode;
        QString error;
    } rows[] = {
        {"script mode, one block", true, true, Framed({"  12.5 g\r\nE03\r\n"}), "12.5\tg\n*E03\n", 0, {}},
        {"plain mode, CR LF and a lone CR are one line end each",
         false,
         true,
         Framed({"A\r\nB", "\rC\xB0"}),
         "A\n\nB\nC\xC2\xB0",
         0,
         {}},
        {"a file without the header is raw bytes", true, true, "  7 g\r\n", "7\tg\n", 0, {}},
        {"empty blocks are skipped", false, false, Framed({"AB\n", "", "CD\n", ""}), "AB\nCD\n", 0, {}},
        {"a cut block gives its bytes and fails", false, false, cut, "AB\nCDE", 1,
         QStringLiteral("is cut short (3 of 6 bytes)")},
    };
    for (const auto& row : rows) {
        const QString driver = Driver(QStringLiteral("balance.tbb"), row.registered, row.receiveCRLF);
        const CliRun run =
            RunCli({QStringLiteral("replay"), driver, Write(QStringLiteral("c.bin"), row.capture)});
        QVERIFY2(row.error.isEmpty() ? run.err.isEmpty() : run.err.contains(row.error),
                 qPrintable(QStringLiteral("%1: %2").arg(QLatin1String(row.name), run.err)));
        QVERIFY2(run.exitCode == row.exitCode, row.name);
        QVERIFY2(run.out.toUtf8() == row.shown, row.name);
    }
}

// Every refusal is said once, on standard error, with the exit code 2 for
// a wrong command line and 1 for what cannot be read or opened.
void tst_capture::refusesBadInput()
{
    CPtyPair pty;
    QVERIFY(pty.IsOpen());
    const QString fifo = m_dir.filePath(QStringLiteral("fifo"));
    const QString fifoError = QStringLiteral("Cannot open %1: a FIFO, not a regular file").arg(fifo);
    const QString driver = Driver(QStringLiteral("bad.tbb"), false, false);
    const QString missing = QStringLiteral("Cannot open /nonexistent/x.tbb: No such file or directory");
    const struct
    {
        QStringList arguments;
        int exitCode;
        QString message;
    } rows[] = {
        {{"replay"}, 2, "usage: orvalis-cli replay DRIVER FILE"},
        {{"replay", "/nonexistent/x.tbb", "y"}, 1, missing},
        // Opening a FIFO would wait for a writer for ever.
        {{"replay", fifo, "y"}, 1, fifoError},
        {{"replay", driver, fifo}, 1, fifoError},
        {{"capture", driver, "--port", pty.SlaveName(), "--playback", "missing.txt"},
         1,
         "Cannot open playback file "},
        {{"send", driver, "--key", "1", "--text", "x"}, 2, "usage: orvalis-cli send DRIVER"},
    };
    for (const auto& row : rows) {
        const CliRun run = RunCli(row.arguments);
        const QString what = row.arguments.join(QLatin1Char(' ')) + QStringLiteral(": ") + run.err;
        QVERIFY2(run.exitCode == row.exitCode, qPrintable(what));
        QVERIFY2(run.err.count(row.message) == 1, qPrintable(what));
    }
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
    QVERIFY(!QFile::exists(record + QStringLiteral(".part")));

    // The replay of the recording shows and writes the same.
    const QString replayed = m_dir.filePath(QStringLiteral("replay.csv"));
    const CliRun replay =
        RunCli({QStringLiteral("replay"), driver, record, QStringLiteral("--cells"), replayed});
    QCOMPARE(replay.exitCode, 0);
    QCOMPARE(replay.out.toUtf8(), cli.Output());
    QCOMPARE(FileBytes(replayed), FileBytes(csv));
}

// Each line shown with the time it arrived at.
void tst_capture::captureAnswersFromThePlaybackFileWithTimeStamps()
{
    CPtyPair pty;
    QVERIFY(pty.IsOpen());
    Write(QStringLiteral("answers.txt"), "D10\nFIRST\n^$S7^$S\n");
    const QString driver = Driver(QStringLiteral("answer.tbb"), false, false);
    CCliProcess cli({QStringLiteral("capture"), driver, QStringLiteral("--port"), pty.SlaveName(),
                     QStringLiteral("--playback"), QStringLiteral("answers.txt"), QStringLiteral("--serial"),
                     QStringLiteral("42"), QStringLiteral("--key"), QStringLiteral("1"),
                     QStringLiteral("--timestamps")});
    QVERIFY2(cli.WaitForError(QStringLiteral("Ctrl-C ends")), qPrintable(cli.Error()));
    QCOMPARE(pty.ReadMaster(3), QByteArray("P\r\n"));

    QVERIFY(pty.WriteMaster("ready\n"));
    QCOMPARE(pty.ReadMaster(6), QByteArray("FIRST\r"));
    QVERIFY(pty.WriteMaster("next\n"));
    const QByteArray record("S309000000070000002AC5\r");
    QCOMPARE(pty.ReadMaster(record.size()), record);
    QVERIFY(pty.WriteMaster("end\n"));
    QCOMPARE(pty.ReadMaster(1), QByteArray("\r"));
    QVERIFY(cli.WaitForOutput(" end\n"));
    cli.Interrupt();
    QCOMPARE(cli.Finish(), 0);

    const QString stamp = QStringLiteral("\\d{4}-\\d\\d-\\d\\d \\d\\d:\\d\\d:\\d\\d\\.\\d{3} ");
    const QRegularExpression format(QStringLiteral("^%1ready\n%1next\n%1end\n$").arg(stamp));
    QVERIFY2(format.match(QString::fromLatin1(cli.Output())).hasMatch(), cli.Output().constData());
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
        QVERIFY2(
            cli.Error().contains(QStringLiteral("orvalis-cli capture: the line went away: Connection to ")),
            qPrintable(cli.Error()));
        return;
    }
    QVERIFY2(cli.WaitForError(QStringLiteral(" - Waiting for %1\u2026\n").arg(link)),
             qPrintable(cli.Error()));
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

// Far more than one processing pass reads, sent in one go while the tool
// prints: every reading shown once, in order, and none after the last.
void tst_capture::captureKeepsUpWithAFlood()
{
    CPtyPair pty;
    QVERIFY(pty.IsOpen());
    QByteArray readings;
    for (int i = 0; readings.size() < 1200 * 1024; ++i)
        readings += QByteArray::number(i).rightJustified(7, '0') + "    12.345 g\n";
    CCliProcess cli({QStringLiteral("capture"), Driver(QStringLiteral("flood.tbb"), false, false),
                     QStringLiteral("--port"), pty.SlaveName()});
    QVERIFY2(cli.WaitForError(QStringLiteral("Ctrl-C ends")), qPrintable(cli.Error()));

    std::thread instrument([&] { pty.WriteMaster(readings); });
    const bool all = cli.WaitForOutputEnd(readings.right(20), 30000);
    instrument.join();
    QVERIFY2(all, qPrintable(
                      QStringLiteral("%1 of %2 bytes shown").arg(cli.Output().size()).arg(readings.size())));
    cli.Interrupt();
    QCOMPARE(cli.Finish(), 0);
    QVERIFY(cli.Output() == readings);
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

void tst_capture::send()
{
    Write(QStringLiteral("payload.txt"), "payload");
    const QString driver = Driver(QStringLiteral("send.tbb"), false, false);
    const QByteArray record42 = "S309000001000000002ACB";
    const struct
    {
        QStringList arguments;
        QByteArray input; // standard input, then its end
        int exitCode;
        QByteArray sent;
        QStringList messages;
    } rows[] = {
        // The command text in the control-code notation is decoded.
        {{"--text", "P<CR><LF>"}, "", 0, "P\r\n", {}},
        // A function key's command goes out as stored.
        {{"--key", "1"}, "", 0, "P\r\n", {}},
        // A file macro sends the file between the texts.
        {{"--text", "<STX>^$Fpayload.txt^$F<ETX>"}, "", 0, "\x02payload\x03", {}},
        // The serial number asked for until it is one.
        {{"--key", "2"},
         "abc\n10000\n42\n",
         0,
         "N" + record42 + "\r",
         {"Serial #: Please enter an integer.\n", "Please enter an integer between 0 and 9999."}},
        {{"--key", "2"}, "", 1, "N", {"No serial number: the rest of the command is not sent"}},
        {{"--key", "5"}, "", 1, "", {"F5 has no name in this driver; nothing sent"}},
    };
    for (const auto& row : rows) {
        CPtyPair pty;
        QVERIFY(pty.IsOpen());
        CCliProcess cli(
            QStringList{QStringLiteral("send"), driver, QStringLiteral("--port"), pty.SlaveName()} +
            row.arguments);
        cli.Input(row.input);
        cli.CloseInput();
        int exitCode = -1;
        const QByteArray sent = Sent(cli, pty, exitCode);
        const QString what = row.arguments.join(QLatin1Char(' ')) + QStringLiteral(": ") + cli.Error();
        QVERIFY2(exitCode == row.exitCode, qPrintable(what));
        QVERIFY2(sent == row.sent, qPrintable(what + QString::fromLatin1(sent)));
        for (const QString& message : row.messages)
            QVERIFY2(cli.Error().contains(message), qPrintable(what));
    }
}

QTEST_GUILESS_MAIN(tst_capture)
#include "tst_capture.moc"
