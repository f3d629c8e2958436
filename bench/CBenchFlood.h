#pragma once

// What the window benchmarks share: the flood written into the master end of
// a pseudo-terminal, the plain read() loop it is measured against, and the
// memory figures of the process.

#include <QByteArray>
#include <QElapsedTimer>
#include <QFile>

#include <fcntl.h>
#include <termios.h>
#include <unistd.h>

#include <thread>

namespace BenchFlood {

// Writes the stream into the master end as fast as the line takes it.
inline std::thread Write(int master, const QByteArray& stream)
{
    return std::thread([master, &stream] {
        for (qsizetype sent = 0; sent < stream.size();) {
            const ssize_t n =
                ::write(master, stream.constData() + sent, size_t(qMin<qsizetype>(4096, stream.size() - sent)));
            if (n > 0)
                sent += n;
        }
    });
}

// A value of /proc/self/status in kilobytes ("VmRSS:", "VmHWM:"); -1 when
// it cannot be read.
inline qint64 StatusKilobytes(const char* key)
{
    QFile status(QStringLiteral("/proc/self/status"));
    if (!status.open(QIODevice::ReadOnly))
        return -1;
    for (const QByteArray& line : status.readAll().split('\n')) {
        if (line.startsWith(key))
            return line.mid(qstrlen(key)).trimmed().split(' ').value(0).toLongLong();
    }
    return -1;
}

// MB/s of a plain read() loop on the slave end while the stream floods it.
inline double PlainReadLoop(const QByteArray& slavePath, int master, const QByteArray& stream)
{
    const int fd = ::open(slavePath.constData(), O_RDWR | O_NOCTTY);
    termios raw{};
    tcgetattr(fd, &raw);
    cfmakeraw(&raw);
    tcsetattr(fd, TCSANOW, &raw);
    QElapsedTimer timer;
    timer.start();
    std::thread writer = Write(master, stream);
    char buffer[32768];
    qsizetype received = 0;
    while (received < stream.size()) {
        const ssize_t n = ::read(fd, buffer, sizeof buffer);
        if (n > 0)
            received += n;
    }
    const double seconds = timer.nsecsElapsed() / 1e9;
    writer.join();
    ::close(fd);
    return stream.size() / 1e6 / seconds;
}

} // namespace BenchFlood
