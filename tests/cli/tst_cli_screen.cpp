// "orvalis-cli screen DRIVER.drv FILE" through its real process: the final
// screen of each emulation, the driver's CR -> CR/LF receiving, its screen
// size, capture files, and the refusals.

#include "CTerminalFile.h"
#include "CliRun.h"

#include <QFile>
#include <QtEndian>
#include <QTemporaryDir>
#include <QTest>

namespace {

bool WriteFile(const QString& path, const QByteArray& bytes)
{
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size();
}

QString Lines(QStringList first, int rows)
{
    while (first.size() < rows)
        first.append(QString());
    return first.join(QLatin1Char('\n')) + QLatin1Char('\n');
}

} // namespace

class tst_cli_screen : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void printsTheFinalScreen_data()
    {
        QTest::addColumn<int>("emulation");
        QTest::addColumn<int>("receiveCRLF");
        QTest::addColumn<int>("rows");
        QTest::addColumn<QByteArray>("bytes");
        QTest::addColumn<QStringList>("shown");
        QTest::newRow("VT52 addressing on a 12-row screen")
            << 3 << 0 << 12 << QByteArray("menu\x1bY\x2a\x24" "ok\x1bH\x1bK" "MENU") << QStringList{"MENU", "", "", "", "", "", "", "", "", "", "    ok"};
        QTest::newRow("VT100 full-screen program")
            << 4 << 0 << 10 << QByteArray("junk\x1b[2J\x1b[1;1Htop - 10:00\x1b[3;5H\x1b[7mPID\x1b[m") << QStringList{"top - 10:00", "", "    PID"};
        QTest::newRow("TTY with CR -> CR/LF receiving") << 1 << 1 << 10 << QByteArray("A\rB") << QStringList{"A", "B"};
        QTest::newRow("TTY without it") << 1 << 0 << 10 << QByteArray("A\rB") << QStringList{"B"};
        QTest::newRow("None names the line ends") << 0 << 1 << 10 << QByteArray("1.5 g\r") << QStringList{"1.5 g<CR><LF>"};
    }

    void printsTheFinalScreen()
    {
        QFETCH(int, emulation);
        QFETCH(int, receiveCRLF);
        QFETCH(int, rows);
        QFETCH(QByteArray, bytes);
        QFETCH(QStringList, shown);
        QTemporaryDir dir;
        CTerminalFile driver;
        driver.m_Terminal.m_nEmulation = emulation;
        driver.m_Terminal.m_bReceiveCRLF = receiveCRLF;
        driver.m_Terminal.m_nRows = rows;
        driver.m_Terminal.m_nColumns = 40;
        QVERIFY(driver.Store(dir.filePath("term.drv")).IsOk());
        QVERIFY(WriteFile(dir.filePath("bytes.bin"), bytes));
        const CliRun run = RunCli({"screen", dir.filePath("term.drv"), dir.filePath("bytes.bin")});
        QCOMPARE(run.err, QString());
        QCOMPARE(run.exitCode, 0);
        QCOMPARE(run.out, Lines(shown, rows));
    }

    void readsCaptureFiles()
    {
        // A capture of "capture --record": header line, then length-prefixed
        // blocks; a CR at the end of one block gains its LF all the same.
        QTemporaryDir dir;
        CTerminalFile driver;
        driver.m_Terminal.m_nEmulation = 1;
        QVERIFY(driver.Store(dir.filePath("tty.drv")).IsOk());
        QByteArray capture = "ORVALIS-CAPTURE 1\n";
        for (const QByteArray& block : {QByteArray("first\r"), QByteArray("second")}) {
            char length[4];
            qToLittleEndian(quint32(block.size()), length);
            capture += QByteArray(length, 4) + block;
        }
        QVERIFY(WriteFile(dir.filePath("line.cap"), capture));
        const CliRun run = RunCli({"screen", dir.filePath("tty.drv"), dir.filePath("line.cap")});
        QCOMPARE(run.exitCode, 0);
        QCOMPARE(run.out, Lines({"first", "second"}, 24));

        // A capture cut short: what it holds is shown, and the run fails.
        QVERIFY(WriteFile(dir.filePath("cut.cap"), capture.left(capture.size() - 3)));
        const CliRun cut = RunCli({"screen", dir.filePath("tty.drv"), dir.filePath("cut.cap")});
        QCOMPARE(cut.exitCode, 1);
        QCOMPARE(cut.out, Lines({"first", "sec"}, 24));
        QVERIFY2(cut.err.contains(QStringLiteral("is cut short")), qPrintable(cut.err));
    }

    void refusals_data()
    {
        QTest::addColumn<QStringList>("arguments");
        QTest::addColumn<int>("exitCode");
        QTest::addColumn<QString>("error");
        QTest::newRow("missing driver is named")
            << QStringList{"screen", "DIR/missing.drv", "DIR/bytes.bin"} << 1
            << "Cannot open DIR/missing.drv: No such file or directory\n";
        QTest::newRow("damaged driver names the byte")
            << QStringList{"screen", "DIR/short.drv", "DIR/bytes.bin"} << 1 << "DIR/short.drv: damaged at byte";
        QTest::newRow("missing byte file is named")
            << QStringList{"screen", "DIR/term.drv", "DIR/missing.bin"} << 1
            << "Cannot open DIR/missing.bin: No such file or directory\n";
        QTest::newRow("one argument only") << QStringList{"screen", "DIR/term.drv"} << 2
                                           << "usage: orvalis-cli screen DRIVER.drv FILE\n";
    }

    void refusals()
    {
        QFETCH(QStringList, arguments);
        QFETCH(int, exitCode);
        QFETCH(QString, error);
        QTemporaryDir dir;
        CTerminalFile driver;
        QVERIFY(driver.Store(dir.filePath("term.drv")).IsOk());
        QFile full(dir.filePath("term.drv"));
        QVERIFY(full.open(QIODevice::ReadOnly));
        QVERIFY(WriteFile(dir.filePath("short.drv"), full.readAll().left(30)));
        QVERIFY(WriteFile(dir.filePath("bytes.bin"), "text"));
        arguments.replaceInStrings(QStringLiteral("DIR"), dir.path());
        error.replace(QStringLiteral("DIR"), dir.path());
        const CliRun run = RunCli(arguments);
        QCOMPARE(run.exitCode, exitCode);
        QCOMPARE(run.out, QString());
        QVERIFY2(run.err.startsWith(error), qPrintable(run.err));
    }
};

QTEST_GUILESS_MAIN(tst_cli_screen)
#include "tst_cli_screen.moc"
