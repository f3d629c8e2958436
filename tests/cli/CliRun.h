#pragma once

// Runs the built orvalis-cli (or another program) as a user would and
// collects what it printed.

#include "TestIncludes.h"

#include <QtEndian>

struct CliRun
{
    int exitCode = -1;
    QString out;
    QString err;
};

// A capture file of "capture --record": a header line, then each block
// after its length.
inline QByteArray Framed(const QByteArrayList& blocks)
{
    QByteArray bytes("ORVALIS-CAPTURE 1\n");
    for (const QByteArray& block : blocks) {
        char length[4];
        qToLittleEndian(quint32(block.size()), length);
        bytes += QByteArray(length, 4) + block;
    }
    return bytes;
}

inline bool WriteFile(const QString& path, const QByteArray& bytes)
{
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size();
}

// The whole file, or nothing when it cannot be read.
inline QByteArray FileBytes(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

inline CliRun RunProgram(const QString& program, const QStringList& arguments,
                         const QProcessEnvironment& environment = QProcessEnvironment::systemEnvironment())
{
    QProcess process;
    process.setProcessEnvironment(environment);
    process.start(program, arguments);
    // Nothing to read: a question on standard input ends at once.
    process.closeWriteChannel();
    CliRun run;
    if (!process.waitForFinished(10000)) {
        process.kill();
        process.waitForFinished();
        run.err = program + QStringLiteral(" did not finish");
        return run;
    }
    run.exitCode = process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1;
    run.out = QString::fromUtf8(process.readAllStandardOutput());
    run.err = QString::fromUtf8(process.readAllStandardError());
    return run;
}

inline CliRun RunCli(const QStringList& arguments)
{
    return RunProgram(QStringLiteral(ORVALIS_CLI), arguments);
}

// orvalis-cli running on a line while the test plays the instrument.
class CCliProcess
{
public:
    explicit CCliProcess(const QStringList& arguments,
                         const QProcessEnvironment& environment = QProcessEnvironment::systemEnvironment())
    {
        m_process.setProcessEnvironment(environment);
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
    bool WaitForError(const QString& text)
    {
        return WaitFor([&] { return m_err.contains(text); });
    }
    bool WaitForOutput(const QByteArray& text)
    {
        return WaitFor([&] { return m_out.contains(text); });
    }
    bool WaitForOutputEnd(const QByteArray& text, int timeoutMs)
    {
        return WaitFor([&] { return m_out.endsWith(text); }, timeoutMs);
    }
    void Interrupt() { ::kill(pid_t(m_process.processId()), SIGINT); }
    void Kill() { m_process.kill(); }
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
    template <class Condition> bool WaitFor(Condition done, int timeoutMs = 10000)
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
