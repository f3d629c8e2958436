#pragma once

// A pseudo-terminal pair in raw mode for line tests: the program side opens
// or writes the slave end, the test plays the instrument on the master end.

#include <QByteArray>
#include <QElapsedTimer>
#include <QString>

#include <fcntl.h>
#include <poll.h>
#include <pty.h>
#include <termios.h>
#include <unistd.h>

class CPtyPair
{
public:
    CPtyPair()
    {
        char name[256] = {};
        if (openpty(&m_nMaster, &m_nSlave, name, nullptr, nullptr) != 0)
            return;
        m_strSlaveName = QString::fromLocal8Bit(name);
        termios settings{};
        tcgetattr(m_nSlave, &settings);
        cfmakeraw(&settings);
        tcsetattr(m_nSlave, TCSANOW, &settings);
        fcntl(m_nMaster, F_SETFL, fcntl(m_nMaster, F_GETFL) | O_NONBLOCK);
        // A program started by the test must not keep the instrument's end open.
        fcntl(m_nMaster, F_SETFD, FD_CLOEXEC);
        fcntl(m_nSlave, F_SETFD, FD_CLOEXEC);
    }
    ~CPtyPair()
    {
        CloseMaster();
        CloseSlave();
    }
    CPtyPair(const CPtyPair&) = delete;
    CPtyPair& operator=(const CPtyPair&) = delete;

    bool IsOpen() const { return m_nMaster >= 0 && m_nSlave >= 0; }
    int Master() const { return m_nMaster; }
    int Slave() const { return m_nSlave; }
    QString SlaveName() const { return m_strSlaveName; }

    void CloseMaster()
    {
        if (m_nMaster >= 0)
            ::close(m_nMaster);
        m_nMaster = -1;
    }
    void CloseSlave()
    {
        if (m_nSlave >= 0)
            ::close(m_nSlave);
        m_nSlave = -1;
    }

    // The instrument sends (within timeoutMs).
    bool WriteMaster(const QByteArray& bytes, int timeoutMs = 5000)
    {
        qsizetype done = 0;
        QElapsedTimer timer;
        timer.start();
        while (done < bytes.size() && timer.elapsed() < timeoutMs) {
            const ssize_t n = ::write(m_nMaster, bytes.constData() + done, size_t(bytes.size() - done));
            if (n > 0)
                done += n;
            else
                WaitFor(m_nMaster, POLLOUT, 50);
        }
        return done == bytes.size();
    }

    // The instrument receives: reads until count bytes came or the time is up.
    QByteArray ReadMaster(qsizetype count, int timeoutMs = 5000)
    {
        QByteArray bytes;
        QElapsedTimer timer;
        timer.start();
        while (bytes.size() < count && timer.elapsed() < timeoutMs) {
            char buffer[4096];
            const ssize_t n = ::read(m_nMaster, buffer, sizeof buffer);
            if (n > 0)
                bytes.append(buffer, n);
            else
                WaitFor(m_nMaster, POLLIN, 20);
        }
        return bytes;
    }

private:
    static void WaitFor(int fd, short events, int timeoutMs)
    {
        pollfd p{fd, events, 0};
        ::poll(&p, 1, timeoutMs);
    }

    int m_nMaster = -1;
    int m_nSlave = -1;
    QString m_strSlaveName;
};
