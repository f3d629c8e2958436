#pragma once

// Runs the built orvalis-cli as a user would and collects what it printed.

#include <QProcess>
#include <QString>
#include <QStringList>

struct CliRun
{
    int exitCode = -1;
    QString out;
    QString err;
};

inline CliRun RunCli(const QStringList& arguments)
{
    QProcess process;
    process.start(QStringLiteral(ORVALIS_CLI), arguments);
    // Nothing to read: a question on standard input ends at once.
    process.closeWriteChannel();
    CliRun run;
    if (!process.waitForFinished(10000)) {
        process.kill();
        process.waitForFinished();
        run.err = QStringLiteral("orvalis-cli did not finish");
        return run;
    }
    run.exitCode = process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1;
    run.out = QString::fromUtf8(process.readAllStandardOutput());
    run.err = QString::fromUtf8(process.readAllStandardError());
    return run;
}
