#include "CDriverFile.h"
#include "CliRun.h"

namespace {

QString Example(const QString& name)
{
    return QStringLiteral(ORVALIS_SOURCE_DIR "/res/examples/") + name;
}

} // namespace

class tst_cli : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void showPrintsEveryRecord();
    void showBoundsALongField();
    void showRefusesBadFiles();
    void usageErrors();
    void examplesAreWhatTheGeneratorWrites();
    void setConnectorChangesOnlyTheConnector();
    void terminalDriverIsNoInstrumentDriver();
    void setNameRenamesDriverAndFileName();
};

void tst_cli::showPrintsEveryRecord()
{
    const QString vt100 = QStringLiteral(ORVALIS_SOURCE_DIR "/tests/data/VT100.drv");
    const QString printer = QStringLiteral(ORVALIS_SOURCE_DIR "/tests/data/v24print.drv");
    const struct
    {
        QString path;
        QStringList lines, absent;
    } rows[] = {
        {Example("Balance.tbb"),
         {": instrument driver", "  Name:                 \"Balance\"", "  Parity:               N",
          "  F1:                   \"Print\" sends \"P<CR><LF>\"", "  End of string:        \"<LF>\"",
          "  Input string 2:       \"~\"\n    TrimLeft()\n    ChangeSpaces(<HT>)\n"},
         {}},
        {vt100,
         {": terminal driver", "  Flow control:         Xon/Xoff", "  Emulation:            VT100"},
         {"\nScript\n"}},
        {printer,
         {": serial printer settings", "\nDriver\n", "\nCommunication\n", "\nTerminal\n", "\nScript\n"},
         {"\nFunction keys\n"}},
    };
    for (const auto& row : rows) {
        const CliRun run = RunCli({"show", row.path});
        QCOMPARE(run.err, QString());
        QCOMPARE(run.exitCode, 0);
        QVERIFY(run.out.startsWith(row.path + ": "));
        for (const QString& line : row.lines)
            QVERIFY2(run.out.contains(line),
                     qPrintable(QStringLiteral("missing \"%1\" in:\n%2").arg(line, run.out)));
        for (const QString& part : row.absent)
            QVERIFY2(!run.out.contains(part), qPrintable(run.out));
    }
}

void tst_cli::showBoundsALongField()
{
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("long.tbb"));
    // 4 KB is shown whole; one byte more is cut, with its length.
    for (const int length : {4096, 4097}) {
        const bool cut = length > 4096;
        CDriverFile records;
        records.m_Driver.m_strName = QByteArray(length, 'A');
        QVERIFY(records.Store(path).IsOk());
        const CliRun run = RunCli({"show", path});
        QCOMPARE(run.exitCode, 0);
        // The first 4 KB between quotes; a longer field goes on only as its length.
        const QString shown = QLatin1Char('"') + QString(4096, QLatin1Char('A')) + QLatin1Char('"');
        QVERIFY(run.out.contains(shown));
        QCOMPARE(run.out.contains(QStringLiteral("\u2026 (%1 bytes)").arg(length)), cut);
    }
}

void tst_cli::showRefusesBadFiles()
{
    QTemporaryDir dir;
    // The driver block (22 bytes) and half of the communication block.
    QVERIFY(WriteFile(dir.filePath("lab.tbb"), FileBytes(Example("Balance.tbb")).left(22 + 6)));
    const struct
    {
        QString name;
        int exitCode;
        QString error; // around the path
    } rows[] = {
        {"lab.tbb", 1, "%1: damaged at byte 28 (end of the file in a 16-bit word)\n"},
        {"notes.txt", 2, "%1: not a driver file (expected a .tbb, a .drv or v24print.drv)\n"},
    };
    for (const auto& row : rows) {
        const QString path = dir.filePath(row.name);
        const CliRun run = RunCli({"show", path});
        QCOMPARE(run.exitCode, row.exitCode);
        QCOMPARE(run.out, QString());
        QCOMPARE(run.err, row.error.arg(path));
    }
}

void tst_cli::usageErrors()
{
    QTemporaryDir dir;
    const QString driver = dir.filePath(QStringLiteral("Balance.tbb"));
    QVERIFY(QFile::copy(Example(QStringLiteral("Balance.tbb")), driver));
    const struct
    {
        QStringList arguments;
        int exitCode;
        QString expected;
    } rows[] = {
        {{}, 2, "usage: orvalis-cli COMMAND"},
        {{"shwo"}, 2, "unknown command \"shwo\""},
        {{"help"}, 0, "  set-connector DRIVER CONNECTOR"},
        // A refused change leaves the driver as it was.
        {{"set-connector", driver, "COM0"}, 2, "Bad connector \"COM0\""},
    };
    for (const auto& row : rows) {
        const CliRun run = RunCli(row.arguments);
        QCOMPARE(run.exitCode, row.exitCode);
        QVERIFY2((run.out + run.err).contains(row.expected), qPrintable(run.out + run.err));
    }
    QCOMPARE(FileBytes(driver), FileBytes(Example(QStringLiteral("Balance.tbb"))));
}

void tst_cli::examplesAreWhatTheGeneratorWrites()
{
    QTemporaryDir dir;
    const CliRun run = RunCli({"write-examples", dir.path()});
    QCOMPARE(run.exitCode, 0);
    for (const QString name : {"Balance.tbb", "Meter.tbb"}) {
        const QByteArray generated = FileBytes(dir.filePath(name));
        QVERIFY(!generated.isEmpty());
        QCOMPARE(FileBytes(Example(name)), generated);
    }
}

void tst_cli::setConnectorChangesOnlyTheConnector()
{
    QTemporaryDir dir;
    const QString driver = dir.filePath(QStringLiteral("Balance.tbb"));
    QVERIFY(QFile::copy(Example(QStringLiteral("Balance.tbb")), driver));
    const QString link = dir.filePath(QStringLiteral("balance-sim-tty"));
    const CliRun run = RunCli({"set-connector", driver, link});
    QCOMPARE(run.exitCode, 0);
    QVERIFY2(run.out.contains(link), qPrintable(run.out));
    // Without the first line, which names the file shown.
    const QStringList before =
        RunCli({"show", Example(QStringLiteral("Balance.tbb"))}).out.split(QLatin1Char('\n')).mid(1);
    const QStringList after = RunCli({"show", driver}).out.split(QLatin1Char('\n')).mid(1);
    QCOMPARE(after.size(), before.size());
    int changed = 0;
    for (int i = 0; i < before.size(); ++i) {
        if (before.at(i) == after.at(i))
            continue;
        ++changed;
        QCOMPARE(after.at(i), QStringLiteral("  Connector:            \"%1\"").arg(link));
    }
    QCOMPARE(changed, 1);
}

void tst_cli::terminalDriverIsNoInstrumentDriver()
{
    QTemporaryDir dir;
    const QString driver = dir.filePath(QStringLiteral("x.drv"));
    QVERIFY(QFile::copy(QStringLiteral(ORVALIS_SOURCE_DIR "/tests/data/VT100.drv"), driver));
    QFile::setPermissions(driver, QFile::ReadOwner | QFile::WriteOwner);
    const QByteArray before = FileBytes(driver);
    const CliRun run = RunCli({"set-connector", driver, "COM1"});
    QCOMPARE(run.exitCode, 1);
    QVERIFY2(run.err.contains(driver + QStringLiteral(" is a terminal driver, not an instrument driver")),
             qPrintable(run.err));
    QCOMPARE(FileBytes(driver), before);
}

void tst_cli::setNameRenamesDriverAndFileName()
{
    // The demo's copy of the example carries its own name, so Modify
    // Instrument saves it under that name.
    QTemporaryDir dir;
    const QString driver = dir.filePath(QStringLiteral("Balance-sim.tbb"));
    QVERIFY(QFile::copy(Example(QStringLiteral("Balance.tbb")), driver));
    QFile::setPermissions(driver, QFile::ReadOwner | QFile::WriteOwner);
    const CliRun run = RunCli({"set-name", driver, "Balance-sim"});
    QCOMPARE(run.exitCode, 0);
    const QString shown = RunCli({"show", driver}).out;
    QVERIFY2(shown.contains(QStringLiteral("\"Balance-sim\"")), qPrintable(shown));
    QVERIFY2(shown.contains(QStringLiteral("\"Balance-sim.tbb\"")), qPrintable(shown));
    QCOMPARE(RunCli({"set-name", driver, ""}).exitCode, 2);
}

QTEST_GUILESS_MAIN(tst_cli)
#include "tst_cli.moc"
