#include "CliRun.h"
#include "Version.h"

#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

namespace {

QString Example(const QString& name)
{
    return QStringLiteral(ORVALIS_SOURCE_DIR "/res/examples/") + name;
}

QByteArray FileBytes(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

} // namespace

class tst_cli : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void showPrintsEveryRecord_data();
    void showPrintsEveryRecord();
    void showRefusesBadFiles_data();
    void showRefusesBadFiles();
    void usageErrors_data();
    void usageErrors();
    void examplesAreWhatTheGeneratorWrites();
    void setConnectorChangesOnlyTheConnector();
    void setConnectorErrors_data();
    void setConnectorErrors();
    void terminalDriverIsNoInstrumentDriver_data();
    void terminalDriverIsNoInstrumentDriver();
    void setNameRenamesDriverAndFileName();
    void programAnswersWithoutADisplay();
};

void tst_cli::showPrintsEveryRecord_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<QStringList>("lines");
    QTest::newRow("balance example")
        << Example("Balance.tbb")
        << QStringList{": instrument driver",
                       "  Name:                 \"Balance\"",
                       "  File name:            \"Balance.tbb\"",
                       "  Connector:            \"COM1\"",
                       "  Parity:               N",
                       "  Emulation:            ANSI",
                       "  F1:                   \"Print\" sends \"P<CR><LF>\"",
                       "  F8:                   \"\" sends \"\"",
                       "  End of string:        \"<LF>\"",
                       "  Input string 2:       \"~\"\n    TrimLeft()\n    ChangeSpaces(<HT>)\n"};
    QTest::newRow("meter example")
        << Example("Meter.tbb")
        << QStringList{"  Name:                 \"Meter\"",
                       "  Excel:                on",
                       "  Flow control:         Rts/Cts",
                       "  F2:                   \"Reset\" sends \"<ESC>R\"",
                       "  Input string 1:       \"<STX>...<ETX>\"\n    SkipCharacters(1)\n"
                       "    ChangeCharacters(<ETX>, <CR>)\n    TrimAll()\n"};
    QTest::newRow("terminal driver")
        << QStringLiteral(ORVALIS_SOURCE_DIR "/tests/data/VT100.drv")
        << QStringList{": terminal driver", "  Connector:            \"COM3\"", "  Flow control:         Xon/Xoff",
                       "  Emulation:            VT100", "  F8:                   \"Status\" sends \"STAT?<CR>\""};
    QTest::newRow("printer settings")
        << QStringLiteral(ORVALIS_SOURCE_DIR "/tests/data/v24print.drv")
        << QStringList{": serial printer settings", "\nDriver\n", "\nCommunication\n", "\nTerminal\n", "\nScript\n"};
}

void tst_cli::showPrintsEveryRecord()
{
    QFETCH(QString, path);
    QFETCH(QStringList, lines);
    const CliRun run = RunCli({"show", path});
    QCOMPARE(run.err, QString());
    QCOMPARE(run.exitCode, 0);
    QVERIFY(run.out.startsWith(path + ": "));
    for (const QString& line : lines)
        QVERIFY2(run.out.contains(line), qPrintable(QStringLiteral("missing \"%1\" in:\n%2").arg(line, run.out)));
    if (path.endsWith(".drv") && !path.endsWith("v24print.drv"))
        QVERIFY(!run.out.contains("\nScript\n"));
    if (path.endsWith("v24print.drv"))
        QVERIFY(!run.out.contains("\nFunction keys\n"));
}

void tst_cli::showRefusesBadFiles_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<int>("exitCode");
    QTest::addColumn<QString>("error"); // after the path
    // The driver block (22 bytes) and half of the communication block.
    QTest::newRow("truncated driver names the byte")
        << "lab.tbb" << 1 << ": damaged at byte 28 (end of the file in a 16-bit word)\n";
    QTest::newRow("missing file") << "missing.tbb" << 1 << ": No such file or directory\n";
    QTest::newRow("other file type") << "notes.txt" << 2
                                     << ": not a driver file (expected a .tbb, a .drv or v24print.drv)\n";
}

void tst_cli::showRefusesBadFiles()
{
    QFETCH(QString, name);
    QFETCH(int, exitCode);
    QFETCH(QString, error);
    QTemporaryDir dir;
    const QString path = dir.filePath(name);
    if (name == "lab.tbb") {
        QFile file(path);
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write(FileBytes(Example("Balance.tbb")).left(22 + 6));
    }
    const CliRun run = RunCli({"show", path});
    QCOMPARE(run.exitCode, exitCode);
    QCOMPARE(run.out, QString());
    const QString prefix = name == "missing.tbb" ? "Cannot open " : "";
    QCOMPARE(run.err, prefix + path + error);
}

void tst_cli::usageErrors_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<int>("exitCode");
    QTest::addColumn<QString>("expected");
    QTest::newRow("no command prints the usage") << QStringList{} << 2 << "usage: orvalis-cli COMMAND";
    QTest::newRow("unknown command is named") << QStringList{"shwo"} << 2 << "unknown command \"shwo\"";
    QTest::newRow("show without a file") << QStringList{"show"} << 2 << "usage: orvalis-cli show FILE";
    QTest::newRow("help lists show") << QStringList{"help"} << 0 << "  show FILE";
    QTest::newRow("help lists set-connector") << QStringList{"help"} << 0 << "  set-connector DRIVER CONNECTOR";
    QTest::newRow("--version prints the version") << QStringList{"--version"} << 0 << "orvalis-cli " ORVALIS_VERSION "\n";
}

void tst_cli::usageErrors()
{
    QFETCH(QStringList, arguments);
    QFETCH(int, exitCode);
    QFETCH(QString, expected);
    const CliRun run = RunCli(arguments);
    QCOMPARE(run.exitCode, exitCode);
    QVERIFY2((run.out + run.err).contains(expected), qPrintable(run.out + run.err));
    QVERIFY(!(run.out + run.err).contains("write-examples"));
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

void tst_cli::setConnectorErrors_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<int>("exitCode");
    QTest::addColumn<QString>("expected");
    QTest::newRow("a connector that is no name is quoted")
        << QStringList{"set-connector", "DRIVER", "COM0"} << 2 << "Bad connector \"COM0\"";
    QTest::newRow("a missing driver is named") << QStringList{"set-connector", "MISSING", "COM1"} << 1 << "Cannot open";
    QTest::newRow("without a connector")
        << QStringList{"set-connector", "DRIVER"} << 2 << "usage: orvalis-cli set-connector DRIVER CONNECTOR";
}

void tst_cli::setConnectorErrors()
{
    QFETCH(QStringList, arguments);
    QFETCH(int, exitCode);
    QFETCH(QString, expected);
    QTemporaryDir dir;
    const QString driver = dir.filePath(QStringLiteral("Balance.tbb"));
    QVERIFY(QFile::copy(Example(QStringLiteral("Balance.tbb")), driver));
    arguments.replaceInStrings(QStringLiteral("DRIVER"), driver);
    arguments.replaceInStrings(QStringLiteral("MISSING"), dir.filePath(QStringLiteral("missing.tbb")));
    const CliRun run = RunCli(arguments);
    QCOMPARE(run.exitCode, exitCode);
    QVERIFY2(run.err.contains(expected), qPrintable(run.err));
    // A refused change leaves the driver as it was.
    QCOMPARE(FileBytes(driver), FileBytes(Example(QStringLiteral("Balance.tbb"))));
}

void tst_cli::terminalDriverIsNoInstrumentDriver_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::newRow("set-connector") << QStringList{"set-connector", "DRIVER", "COM1"};
    QTest::newRow("set-name") << QStringList{"set-name", "DRIVER", "Lab"};
    QTest::newRow("replay") << QStringList{"replay", "DRIVER", "DRIVER"};
    QTest::newRow("send") << QStringList{"send", "DRIVER", "--port", "None", "--text", "x"};
}

void tst_cli::terminalDriverIsNoInstrumentDriver()
{
    QFETCH(QStringList, arguments);
    QTemporaryDir dir;
    const QString driver = dir.filePath(QStringLiteral("x.drv"));
    QVERIFY(QFile::copy(QStringLiteral(ORVALIS_SOURCE_DIR "/tests/data/VT100.drv"), driver));
    QFile::setPermissions(driver, QFile::ReadOwner | QFile::WriteOwner);
    const QByteArray before = FileBytes(driver);
    arguments.replaceInStrings(QStringLiteral("DRIVER"), driver);
    const CliRun run = RunCli(arguments);
    QCOMPARE(run.exitCode, 1);
    QVERIFY2(run.err.contains(driver + QStringLiteral(" is a terminal driver, not an instrument driver")),
             qPrintable(run.err));
    QVERIFY(!run.err.contains(QStringLiteral("damaged")));
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

void tst_cli::programAnswersWithoutADisplay()
{
#ifndef ORVALIS_PROGRAM
    QSKIP("the desktop program is not built");
#else
    // No display at all: the answers come before the window system is asked.
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    for (const char* name : {"DISPLAY", "WAYLAND_DISPLAY", "QT_QPA_PLATFORM"})
        environment.remove(QString::fromLatin1(name));
    QProcess program;
    program.setProcessEnvironment(environment);
    program.start(QStringLiteral(ORVALIS_PROGRAM), {QStringLiteral("--version")});
    QVERIFY(program.waitForFinished(10000));
    QCOMPARE(program.exitCode(), 0);
    QCOMPARE(program.readAllStandardOutput(), QByteArray("orvalis " ORVALIS_VERSION "\n"));

    program.start(QStringLiteral(ORVALIS_PROGRAM), {QStringLiteral("--help")});
    QVERIFY(program.waitForFinished(10000));
    QCOMPARE(program.exitCode(), 0);
    const QByteArray help = program.readAllStandardOutput();
    QVERIFY2(help.startsWith("usage: orvalis ") && help.contains("/D<driver>") && help.contains("--version"),
             help.constData());
#endif
}

QTEST_GUILESS_MAIN(tst_cli)
#include "tst_cli.moc"
