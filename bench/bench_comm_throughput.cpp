// Receiving throughput of the channel: one end of a pseudo-terminal pair is
// flooded, the other is read through CComm by an owner that reads and
// acknowledges at once. Reference: a plain blocking read() loop on the same
// kind of pair in the same run. Goal: the channel reaches 80 % of it.
#include "CComm.h"
#include "CCommEvent.h"
#include "CCommParameter.h"

#include "CBenchPty.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QLoggingCategory>

#include <fcntl.h>
#include <pty.h>
#include <termios.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <ctime>
#include <thread>
#include <vector>

namespace {

constexpr qint64 BytesPerRun = 64ll * 1024 * 1024;
constexpr int Rounds = 5;
constexpr double GoalRatio = 0.80;

struct Figures
{
    double seconds = 0;
    double cpuSeconds = 0;
    qint64 bytes = 0;
    double MegabytesPerSecond() const { return bytes / 1e6 / seconds; }
    double CpuSecondsPerMegabyte() const { return cpuSeconds / (bytes / 1e6); }
};

double ProcessCpuSeconds()
{
    timespec now{};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
    return double(now.tv_sec) + double(now.tv_nsec) / 1e9;
}

// The instrument: writes BytesPerRun bytes into the master as fast as the
// line takes them.
std::thread Flood(int master)
{
    return std::thread([master] {
        std::vector<char> block(4096);
        for (size_t i = 0; i < block.size(); ++i)
            block[i] = char(i * 31);
        for (qint64 sent = 0; sent < BytesPerRun;) {
            const ssize_t n = ::write(master, block.data(), size_t(std::min<qint64>(qint64(block.size()), BytesPerRun - sent)));
            if (n > 0)
                sent += n;
        }
    });
}

Figures PlainReadLoop()
{
    CBenchPty pair;
    const int fd = ::open(pair.path.constData(), O_RDWR | O_NOCTTY | O_CLOEXEC);
    std::vector<char> buffer(65536);
    Figures figures;
    QElapsedTimer timer;
    const double cpuStart = ProcessCpuSeconds();
    timer.start();
    std::thread flood = Flood(pair.master);
    while (figures.bytes < BytesPerRun) {
        const ssize_t n = ::read(fd, buffer.data(), buffer.size());
        if (n > 0)
            figures.bytes += n;
    }
    figures.seconds = timer.nsecsElapsed() / 1e9;
    figures.cpuSeconds = ProcessCpuSeconds() - cpuStart;
    flood.join();
    ::close(fd);
    return figures;
}

// Reads on every data notification and acknowledges at once, as a window does.
class Owner : public QObject
{
public:
    bool event(QEvent* event) override
    {
        if (event->type() != CCommEvent::ComMessage())
            return QObject::event(event);
        const auto* message = static_cast<CCommEvent*>(event);
        if (channel->IsFrom(*message)) {
            if (message->lParam() & CCommEvent::DataReceived)
                bytes += channel->GetInput().size();
            ++notifications;
            channel->Acknowledge();
        }
        if (bytes >= BytesPerRun)
            QCoreApplication::quit();
        return true;
    }

    CComm* channel = nullptr;
    qint64 bytes = 0;
    qint64 notifications = 0;
};

Figures ThroughTheChannel(qint64* notifications)
{
    CBenchPty pair;
    Owner owner;
    CComm channel;
    owner.channel = &channel;
    channel.Create(&owner);
    CCommParameter line;
    line.m_strConnector = pair.path;
    line.m_nConnector = -1;
    line.m_nBaudRate = 115200;
    line.m_nFlowControl = 0;
    if (!channel.OpenPort(line))
        qFatal("cannot open %s: %s", pair.path.constData(), qPrintable(channel.GetLastError()));

    Figures figures;
    QElapsedTimer timer;
    const double cpuStart = ProcessCpuSeconds();
    timer.start();
    std::thread flood = Flood(pair.master);
    QCoreApplication::exec();
    figures.seconds = timer.nsecsElapsed() / 1e9;
    figures.cpuSeconds = ProcessCpuSeconds() - cpuStart;
    figures.bytes = owner.bytes;
    flood.join();
    channel.SetPortOpen(false);
    *notifications = owner.notifications;
    return figures;
}

void Print(const char* name, const Figures& figures)
{
    std::printf("%-22s %8.1f MB/s  %8.4f CPU s/MB  (%.0f MB in %.3f s)\n", name, figures.MegabytesPerSecond(),
                figures.CpuSecondsPerMegabyte(), figures.bytes / 1e6, figures.seconds);
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    QLoggingCategory::setFilterRules(QStringLiteral("orvalis.comm.debug=false"));

    // Alternating rounds; the best of each side counts, so that a busy moment
    // of the machine does not decide the ratio.
    Figures plain, viaChannel;
    qint64 notifications = 0;
    for (int round = 0; round < Rounds; ++round) {
        const Figures p = PlainReadLoop();
        qint64 n = 0;
        const Figures c = ThroughTheChannel(&n);
        if (round == 0 || p.MegabytesPerSecond() > plain.MegabytesPerSecond())
            plain = p;
        if (round == 0 || c.MegabytesPerSecond() > viaChannel.MegabytesPerSecond()) {
            viaChannel = c;
            notifications = n;
        }
    }
    std::printf("Receiving %lld MB per run from a pseudo-terminal, best of %d rounds\n", BytesPerRun / 1000000, Rounds);
    Print("plain read() loop", plain);
    Print("CComm notifications", viaChannel);
    const double ratio = viaChannel.MegabytesPerSecond() / plain.MegabytesPerSecond();
    std::printf("notifications: %lld (%.0f bytes each)\n", notifications, double(viaChannel.bytes) / double(std::max<qint64>(notifications, 1)));
    std::printf("ratio CComm / plain: %.2f (goal %.2f): %s\n", ratio, GoalRatio, ratio >= GoalRatio ? "met" : "NOT met");
    return 0;
}
