#pragma once

// A raw pseudo-terminal pair for the benchmarks: the flood writes the master
// end (blocking), the program under test opens the slave path.

#include <QByteArray>
#include <QtGlobal>

#include <fcntl.h>
#include <pty.h>
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
        // A program a benchmark starts opens the line itself.
        fcntl(master, F_SETFD, FD_CLOEXEC);
        fcntl(slave, F_SETFD, FD_CLOEXEC);
        path = name;
    }
    ~CBenchPty()
    {
        ::close(master);
        ::close(slave);
    }
    CBenchPty(const CBenchPty&) = delete;
    CBenchPty& operator=(const CBenchPty&) = delete;

    int master = -1;
    int slave = -1;
    QByteArray path;
};
