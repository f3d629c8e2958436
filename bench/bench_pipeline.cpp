// Throughput of the received-data pipeline: plain mode and script mode with
// a realistic driver (12-byte strings, a three-command sequence) from memory,
// and end to end: a pseudo-terminal flooded with the same stream, read
// through CComm by an owner that runs the pipeline on every notification, as
// the instrument window does. Reference of the end-to-end figures: a plain
// blocking read() loop on the same kind of pair in the same run.
// Goals: plain >= 200 MB/s and script >= 20 MB/s from memory; plain end to
// end >= 50 % of the read loop.
//
// Arguments for a profiler: "plain" or "script" runs only that part from
// memory; a second argument sets the megabytes of the stream.

#include "CByteSource.h"
#include "CComm.h"
#include "CCommByteSource.h"
#include "CCommEvent.h"
#include "CCommParameter.h"
#include "CDriverParameter.h"
#include "CReceivePipeline.h"
#include "CScript.h"
#include "CTerminalParameter.h"
#include "CTextSink.h"

#include "BenchBalance.h"
#include "CBenchPty.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QLoggingCategory>

#include <fcntl.h>
#include <pty.h>
#include <termios.h>
#include <unistd.h>

#include <cstdio>
#include <memory>
#include <thread>
#include <vector>

namespace {

constexpr qsizetype BlockSize = 4096;
constexpr qsizetype DefaultMegabytes = 16;
constexpr qsizetype LineMegabytes = 32;
// The machine is shared: the best of several runs is the figure.
constexpr int Repetitions = 7;
constexpr int LineRounds = 3;

// Hands out a stream in blocks of the size a line read delivers.
class CMemorySource : public CByteSource
{
public:
    explicit CMemorySource(const QByteArray& stream)
        : m_stream(stream)
    {
    }
    quint16 GetCommEvent() override { return EventReceive; }
    quint16 GetInBufferCount() override { return quint16(qMin(BlockSize, Remaining())); }
    QByteArray GetInput() override
    {
        const qsizetype n = qMin(BlockSize, Remaining());
        const QByteArray block = m_stream.mid(m_nPosition, n);
        m_nPosition += n;
        return block;
    }
    qsizetype Remaining() const { return m_stream.size() - m_nPosition; }

private:
    QByteArray m_stream;
    qsizetype m_nPosition = 0;
};

class CCountingSink : public CTextSink
{
public:
    void AppendBytes(const QByteArray& bytes) override { m_nBytes += bytes.size(); }
    void DeleteLastCharacter() override {}
    qint64 m_nBytes = 0;
};

// The driver of the balance, with its script on or off.
struct CBalanceDriver
{
    explicit CBalanceDriver(bool script)
    {
        SetBalanceScript(m_script, script);
        m_display.m_bReceiveCRLF = 0;
    }

    CScript m_script;
    CTerminalParameter m_display;
    CDriverParameter m_driver;
};

struct Result
{
    double mbPerSecond = 0;
    qint64 shown = 0;
};

Result FromMemory(const QByteArray& stream, bool script)
{
    CBalanceDriver balance(script);
    CReceivePipeline pipeline(balance.m_script, balance.m_display, balance.m_driver);
    CMemorySource source(stream);
    CCountingSink sink;
    pipeline.SetByteSource(&source);
    pipeline.SetTextSink(&sink);

    QElapsedTimer timer;
    timer.start();
    while (source.Remaining() > 0)
        pipeline.OnCommEvent();
    const double seconds = double(timer.nsecsElapsed()) / 1e9;
    return {double(stream.size()) / (1 << 20) / seconds, sink.m_nBytes};
}

// The instrument: writes the stream into the master as fast as the line takes it.
std::thread Flood(int master, const QByteArray& stream)
{
    return std::thread([master, &stream] {
        for (qsizetype sent = 0; sent < stream.size();) {
            const ssize_t n = ::write(master, stream.constData() + sent, size_t(qMin(BlockSize, stream.size() - sent)));
            if (n > 0)
                sent += n;
        }
    });
}

Result PlainReadLoop(const QByteArray& stream)
{
    CBenchPty pair;
    const int fd = ::open(pair.path.constData(), O_RDWR | O_NOCTTY | O_CLOEXEC);
    std::vector<char> buffer(65536);
    qint64 bytes = 0;
    QElapsedTimer timer;
    timer.start();
    std::thread flood = Flood(pair.master, stream);
    while (bytes < stream.size()) {
        const ssize_t n = ::read(fd, buffer.data(), buffer.size());
        if (n > 0)
            bytes += n;
    }
    const double seconds = double(timer.nsecsElapsed()) / 1e9;
    flood.join();
    ::close(fd);
    return {double(bytes) / (1 << 20) / seconds, bytes};
}

// Runs a processing pass on every notification and acknowledges it, as the
// instrument window does.
class COwner : public QObject
{
public:
    COwner(CComm& comm, CReceivePipeline& pipeline, qint64 expected)
        : m_comm(comm)
        , m_pipeline(pipeline)
        , m_nExpected(expected)
    {
    }
    bool event(QEvent* e) override
    {
        if (e->type() != CCommEvent::ComMessage())
            return QObject::event(e);
        const auto* message = static_cast<CCommEvent*>(e);
        if (m_comm.IsFrom(*message)) {
            if (message->lParam() & CCommEvent::DataReceived)
                m_pipeline.OnCommEvent();
            m_comm.Acknowledge();
        }
        if (m_pipeline.TotalBytes() >= m_nExpected)
            QCoreApplication::quit();
        return true;
    }

private:
    CComm& m_comm;
    CReceivePipeline& m_pipeline;
    qint64 m_nExpected;
};

Result EndToEnd(const QByteArray& stream, bool script)
{
    CBenchPty pair;
    CBalanceDriver balance(script);
    CReceivePipeline pipeline(balance.m_script, balance.m_display, balance.m_driver);
    CComm comm;
    CCommByteSource source(comm);
    CCountingSink sink;
    pipeline.SetByteSource(&source);
    pipeline.SetTextSink(&sink);
    COwner owner(comm, pipeline, stream.size());
    comm.Create(&owner);
    CCommParameter line;
    line.m_strConnector = pair.path;
    line.m_nConnector = -1;
    line.m_nBaudRate = 115200;
    line.m_nFlowControl = 0;
    if (!comm.OpenPort(line))
        qFatal("cannot open %s: %s", pair.path.constData(), qPrintable(comm.GetLastError()));

    QElapsedTimer timer;
    timer.start();
    std::thread flood = Flood(pair.master, stream);
    QCoreApplication::exec();
    const double seconds = double(timer.nsecsElapsed()) / 1e9;
    flood.join();
    comm.SetPortOpen(false);
    return {double(pipeline.TotalBytes()) / (1 << 20) / seconds, sink.m_nBytes};
}

template <class Run>
Result Best(int rounds, Run run, Result best = {})
{
    for (int i = 0; i < rounds; ++i) {
        const Result result = run();
        if (result.mbPerSecond > best.mbPerSecond)
            best = result;
    }
    return best;
}

void Report(const char* name, double value, double goal, const char* unit)
{
    std::printf("%-34s %9.1f %-5s goal >= %6.1f %-5s %s\n", name, value, unit, goal, unit,
                value >= goal ? "met" : "NOT MET");
}

void Figure(const char* name, double value)
{
    std::printf("%-34s %9.1f MB/s\n", name, value);
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    QLoggingCategory::setFilterRules(QStringLiteral("orvalis.*.debug=false"));
    const QString only = app.arguments().value(1);
    const qsizetype megabytes = app.arguments().value(2).toLongLong();
    const QByteArray stream = BalanceStream((megabytes > 0 ? megabytes : DefaultMegabytes) << 20);
    std::printf("from memory: %lld bytes of 12-byte strings in blocks of %lld bytes, best of %d runs\n",
                static_cast<long long>(stream.size()), static_cast<long long>(BlockSize), Repetitions);
    const bool plainOnly = only == QLatin1String("plain");
    const bool scriptOnly = only == QLatin1String("script");
    const Result plain = scriptOnly ? Result{} : Best(Repetitions, [&] { return FromMemory(stream, false); });
    const Result script = plainOnly ? Result{} : Best(Repetitions, [&] { return FromMemory(stream, true); });
    Report("plain mode from memory", plain.mbPerSecond, 200, "MB/s");
    Report("script mode from memory", script.mbPerSecond, 20, "MB/s");
    if (plainOnly || scriptOnly)
        return 0;

    const QByteArray lineStream = BalanceStream(LineMegabytes << 20);
    std::printf("\nend to end: %lld bytes through a pseudo-terminal, best of %d rounds\n",
                static_cast<long long>(lineStream.size()), LineRounds);
    // Rounds alternate between the three, so a busy moment of the machine
    // does not decide the ratio.
    Result readLoop, plainLine, scriptLine;
    for (int round = 0; round < LineRounds; ++round) {
        readLoop = Best(1, [&] { return PlainReadLoop(lineStream); }, readLoop);
        plainLine = Best(1, [&] { return EndToEnd(lineStream, false); }, plainLine);
        scriptLine = Best(1, [&] { return EndToEnd(lineStream, true); }, scriptLine);
    }
    Figure("plain read() loop", readLoop.mbPerSecond);
    Figure("CComm + pipeline, plain mode", plainLine.mbPerSecond);
    Figure("CComm + pipeline, script mode", scriptLine.mbPerSecond);
    Report("plain end to end / read loop", 100 * plainLine.mbPerSecond / readLoop.mbPerSecond, 50, "%");
    std::printf("%-34s %9.1f %%\n", "script end to end / read loop", 100 * scriptLine.mbPerSecond / readLoop.mbPerSecond);
    return 0;
}
