#pragma once

// A raw pseudo-terminal pair for the benchmarks: the flood writes the master
// end (blocking), the program under test opens the slave path.

#include <QByteArray>
#include <QtGlobal>

#include <pty.h>
#include <thread>
#include <termios.h>
#include <unistd.h>

class CBenchPty
{
public:
    CBenchPty()
    {
        char name[128] = {};
        termios raw{};
        cfmakeraw(&raw);
        if (openpty(&master, &slave, name, &raw, nullptr) != 0)
            qFatal("openpty failed");
        path = name;
    }
    ~CBenchPty()
    {
        ::close(master);
        ::close(slave);
    }
    CBenchPty(const CBenchPty&) = delete;
    CBenchPty& operator=(const CBenchPty&) = delete;

    // The instrument floods the line from a thread of its own: the master
    // end takes the bytes as fast as the program reads them.
    static std::thread Flood(int master, const QByteArray& stream)
    {
        return std::thread([master, &stream] {
            for (qsizetype sent = 0; sent < stream.size();) {
                const ssize_t n = ::write(master, stream.constData() + sent,
                                          size_t(qMin<qsizetype>(4096, stream.size() - sent)));
                if (n > 0)
                    sent += n;
            }
        });
    }

    int master = -1;
    int slave = -1;
    QByteArray path;
};
