#pragma once

// Keys typed into a program that runs on Qt's VNC platform, for a window
// that opens only through a menu and a file dialog: the benchmark plays the
// user at the keyboard (the offscreen platform takes no input). Only key
// events are sent; nothing is read after the greeting. Every wait is
// bounded.

#include <QByteArray>
#include <QElapsedTimer>
#include <QString>
#include <QThread>
#include <QtEndian>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstring>

class CBenchVncKeys
{
public:
    static constexpr quint32 AltL = 0xffe9;
    static constexpr quint32 Return = 0xff0d;

    CBenchVncKeys() = default;
    ~CBenchVncKeys()
    {
        if (m_fd >= 0)
            ::close(m_fd);
    }
    CBenchVncKeys(const CBenchVncKeys&) = delete;
    CBenchVncKeys& operator=(const CBenchVncKeys&) = delete;

    // A port no one listens on now, for the program to serve on.
    static quint16 FreePort()
    {
        const int fd = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
        sockaddr_in address = Loopback(0);
        socklen_t length = sizeof address;
        quint16 port = 0;
        if (::bind(fd, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0 &&
            ::getsockname(fd, reinterpret_cast<sockaddr*>(&address), &length) == 0)
            port = ntohs(address.sin_port);
        ::close(fd);
        return port;
    }

    // Connects, retrying while the program starts, and greets the server;
    // false with the reason.
    bool Connect(quint16 port, int timeoutMs, QString& error)
    {
        QElapsedTimer timer;
        timer.start();
        while (m_fd < 0 && timer.elapsed() < timeoutMs) {
            m_fd = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
            const sockaddr_in address = Loopback(port);
            if (::connect(m_fd, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
                ::close(m_fd);
                m_fd = -1;
                QThread::msleep(50);
            }
        }
        if (m_fd < 0) {
            error = QStringLiteral("no VNC server on port %1").arg(port);
            return false;
        }
        // Qt's server speaks RFB 3.3: the version, the security type it
        // chose ("None"), the shared session, and the server's description
        // (size, pixel format, name).
        char version[12];
        char security[4];
        char init[24];
        const bool greeted = Read(version, sizeof version, timer, timeoutMs) &&
                             QByteArray(version, sizeof version) == "RFB 003.003\n" &&
                             Write(version, sizeof version) && Read(security, 4, timer, timeoutMs) &&
                             qFromBigEndian<quint32>(security) == 1 && Write("\x01", 1) &&
                             Read(init, sizeof init, timer, timeoutMs) &&
                             Skip(qFromBigEndian<quint32>(init + 20), timer, timeoutMs);
        if (!greeted)
            error = QStringLiteral("the VNC server on port %1 did not answer as expected").arg(port);
        return greeted;
    }

    void Key(quint32 keysym, bool down)
    {
        char event[8] = {4, char(down ? 1 : 0), 0, 0};
        qToBigEndian(keysym, event + 4);
        Write(event, sizeof event);
    }
    void Tap(quint32 keysym)
    {
        Key(keysym, true);
        Key(keysym, false);
    }
    // Printable ASCII: the key symbols are the characters themselves.
    void Type(const QByteArray& text)
    {
        for (const char c : text)
            Tap(quint32(static_cast<unsigned char>(c)));
    }

private:
    static sockaddr_in Loopback(quint16 port)
    {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_port = htons(port);
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        return address;
    }
    bool Write(const char* data, size_t size)
    {
        return ::send(m_fd, data, size, MSG_NOSIGNAL) == ssize_t(size);
    }
    bool Read(char* data, qsizetype size, const QElapsedTimer& timer, int timeoutMs)
    {
        for (qsizetype got = 0; got < size;) {
            pollfd in{m_fd, POLLIN, 0};
            const int left = int(qMax<qint64>(timeoutMs - timer.elapsed(), 0));
            if (::poll(&in, 1, left) <= 0)
                return false;
            const ssize_t n = ::recv(m_fd, data + got, size_t(size - got), 0);
            if (n <= 0)
                return false;
            got += n;
        }
        return true;
    }
    bool Skip(qsizetype size, const QElapsedTimer& timer, int timeoutMs)
    {
        // A name or a list of this size is not from Qt's server.
        if (size > 65536)
            return false;
        QByteArray ignored(size, Qt::Uninitialized);
        return Read(ignored.data(), size, timer, timeoutMs);
    }

    int m_fd = -1;
};
