// "orvalis-cli screen DRIVER.drv FILE" through its real process: the final
// screen with the driver's emulation, CR -> CR/LF receiving and screen size,
// capture files, and the usage refusal.

#include "CTerminalFile.h"
#include "CliRun.h"

namespace {

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
    // The emulations' rules are the screen model's tests; here one screen of
    // each kind of setting the driver passes on.
    void printsTheFinalScreen()
    {
        const struct
        {
            int emulation, receiveCRLF, rows;
            QByteArray bytes;
            QStringList shown;
        } cases[] = {
            // A VT100 full-screen program on a 12-row screen.
            {4,
             0,
             12,
             "junk\x1b[2J\x1b[1;1Htop - 10:00\x1b[3;5H\x1b[7mPID\x1b[m",
             {"top - 10:00", "", "    PID"}},
            // TTY with CR -> CR/LF receiving.
            {1, 1, 10, "A\rB", {"A", "B"}},
        };
        QTemporaryDir dir;
        for (const auto& row : cases) {
            CTerminalFile driver;
            driver.m_Terminal.m_nEmulation = row.emulation;
            driver.m_Terminal.m_bReceiveCRLF = row.receiveCRLF;
            driver.m_Terminal.m_nRows = row.rows;
            driver.m_Terminal.m_nColumns = 40;
            QVERIFY(driver.Store(dir.filePath("term.drv")).IsOk());
            QVERIFY(WriteFile(dir.filePath("bytes.bin"), row.bytes));
            const CliRun run = RunCli({"screen", dir.filePath("term.drv"), dir.filePath("bytes.bin")});
            QCOMPARE(run.err, QString());
            QCOMPARE(run.exitCode, 0);
            QCOMPARE(run.out, Lines(row.shown, row.rows));
        }
    }

    void readsCaptureFiles()
    {
        // A capture of "capture --record": header line, then length-prefixed
        // blocks; a CR at the end of one block gains its LF all the same.
        QTemporaryDir dir;
        CTerminalFile driver;
        driver.m_Terminal.m_nEmulation = 1;
        QVERIFY(driver.Store(dir.filePath("tty.drv")).IsOk());
        QVERIFY(WriteFile(dir.filePath("line.cap"), Framed({"first\r", "second"})));
        const CliRun run = RunCli({"screen", dir.filePath("tty.drv"), dir.filePath("line.cap")});
        QCOMPARE(run.exitCode, 0);
        QCOMPARE(run.out, Lines({"first", "second"}, 24));
    }

    // Missing and damaged files are refused as by the other commands (tst_capture, tst_cli).
    void refusesAMissingFileArgument()
    {
        const CliRun run = RunCli({"screen", "term.drv"});
        QCOMPARE(run.exitCode, 2);
        QCOMPARE(run.out, QString());
        QVERIFY2(run.err.startsWith("usage: orvalis-cli screen DRIVER.drv FILE\n"), qPrintable(run.err));
    }
};

QTEST_GUILESS_MAIN(tst_cli_screen)
#include "tst_cli_screen.moc"
