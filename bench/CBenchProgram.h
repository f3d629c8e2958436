#pragma once

// A program a benchmark starts and watches from outside, as a user would
// see it run: its open files, its CPU time and its peak memory through
// /proc, its end by a signal. Every wait is bounded.

#include <QByteArray>
#include <QByteArrayList>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QThread>

#include <algorithm>
#include <csignal>
#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

extern char** environ;

class CBenchProgram
{
public:
    // Starts arguments[0] (searched in PATH) with standard input from
    // /dev/null and its output into the given files; environment entries
    // ("NAME=value") replace or add to this process's own.
    CBenchProgram(const QByteArrayList& arguments, const QByteArrayList& environment,
                  const QByteArray& outputPath, const QByteArray& errorPath)
    {
        posix_spawn_file_actions_t files;
        posix_spawn_file_actions_init(&files);
        posix_spawn_file_actions_addopen(&files, 0, "/dev/null", O_RDONLY, 0);
        posix_spawn_file_actions_addopen(&files, 1, outputPath.constData(), O_WRONLY | O_CREAT | O_TRUNC,
                                         0644);
        posix_spawn_file_actions_addopen(&files, 2, errorPath.constData(), O_WRONLY | O_CREAT | O_TRUNC,
                                         0644);
        QByteArrayList environmentList = environment;
        for (char** entry = environ; *entry; ++entry) {
            const QByteArray name = QByteArray(*entry).split('=').constFirst() + '=';
            if (!std::any_of(environment.begin(), environment.end(),
                             [&](const QByteArray& set) { return set.startsWith(name); }))
                environmentList.append(*entry);
        }
        QByteArrayList argumentList = arguments;
        std::vector<char*> argv = Pointers(argumentList);
        std::vector<char*> envp = Pointers(environmentList);
        if (posix_spawnp(&m_pid, argv[0], &files, nullptr, argv.data(), envp.data()) != 0)
            m_pid = -1;
        posix_spawn_file_actions_destroy(&files);
        m_bRunning = m_pid > 0;
    }
    ~CBenchProgram() { Stop(SIGKILL); }
    CBenchProgram(const CBenchProgram&) = delete;
    CBenchProgram& operator=(const CBenchProgram&) = delete;

    // False once the program has ended (or never started).
    bool IsRunning()
    {
        if (m_bRunning && ::waitpid(m_pid, &m_nStatus, WNOHANG) == m_pid)
            m_bRunning = false;
        return m_bRunning;
    }
    QString HowItEnded() const
    {
        if (m_pid <= 0)
            return QStringLiteral("did not start");
        if (WIFSIGNALED(m_nStatus))
            return QStringLiteral("ended by signal %1").arg(WTERMSIG(m_nStatus));
        return QStringLiteral("ended with exit code %1").arg(WEXITSTATUS(m_nStatus));
    }

    // True once one of the program's file descriptors is open on path;
    // false when it ends or the time is up first.
    bool WaitUntilOpen(const QByteArray& path, int timeoutMs)
    {
        QElapsedTimer timer;
        timer.start();
        const QDir fds(QStringLiteral("/proc/%1/fd").arg(m_pid));
        while (IsRunning() && timer.elapsed() < timeoutMs) {
            for (const QFileInfo& fd : fds.entryInfoList(QDir::Files | QDir::System)) {
                if (fd.symLinkTarget().toLocal8Bit() == path)
                    return true;
            }
            QThread::msleep(10);
        }
        return false;
    }

    // True once its CPU time has stood still for idleMs (it waits for
    // input); false when it ends or the time is up first.
    bool WaitUntilIdle(int idleMs, int timeoutMs)
    {
        QElapsedTimer timer;
        timer.start();
        qint64 ticks = CpuTicks();
        qint64 lastGrowth = 0;
        while (IsRunning() && timer.elapsed() < timeoutMs) {
            QThread::msleep(10);
            const qint64 now = CpuTicks();
            if (now != ticks) {
                ticks = now;
                lastGrowth = timer.elapsed();
            } else if (timer.elapsed() - lastGrowth >= idleMs) {
                return true;
            }
        }
        return false;
    }

    // User and system time of all its threads, in clock ticks.
    qint64 CpuTicks() const
    {
        const QByteArray stat = ReadProc("stat");
        // The fields after the name in parentheses: state is field 3,
        // utime 14, stime 15.
        const QByteArrayList fields = stat.mid(stat.lastIndexOf(')') + 2).split(' ');
        return fields.value(11).toLongLong() + fields.value(12).toLongLong();
    }
    static double TicksPerSecond() { return double(sysconf(_SC_CLK_TCK)); }

    // VmHWM, the peak resident memory, in kilobytes.
    qint64 PeakKilobytes() const
    {
        for (const QByteArray& line : ReadProc("status").split('\n')) {
            if (line.startsWith("VmHWM:"))
                return line.mid(6).trimmed().split(' ').value(0).toLongLong();
        }
        return 0;
    }

    // Sends the signal and waits up to timeoutMs for the end; then kills.
    void Stop(int signal, int timeoutMs = 5000)
    {
        if (!IsRunning())
            return;
        ::kill(m_pid, signal);
        QElapsedTimer timer;
        timer.start();
        while (IsRunning() && timer.elapsed() < timeoutMs)
            QThread::msleep(10);
        if (!IsRunning())
            return;
        ::kill(m_pid, SIGKILL);
        ::waitpid(m_pid, &m_nStatus, 0);
        m_bRunning = false;
    }

private:
    static std::vector<char*> Pointers(QByteArrayList& list)
    {
        std::vector<char*> pointers;
        for (QByteArray& item : list)
            pointers.push_back(item.data());
        pointers.push_back(nullptr);
        return pointers;
    }
    QByteArray ReadProc(const char* name) const
    {
        QFile file(QStringLiteral("/proc/%1/%2").arg(m_pid).arg(QLatin1String(name)));
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }

    pid_t m_pid = -1;
    int m_nStatus = 0;
    bool m_bRunning = false;
};
