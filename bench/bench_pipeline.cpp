// Throughput of the received-data pipeline: plain mode and script mode with
// a realistic driver (12-byte strings, a three-command sequence) from memory.

#include "CByteSource.h"
#include "CDriverParameter.h"
#include "CReceivePipeline.h"
#include "CScript.h"
#include "CTerminalParameter.h"
#include "CTextSink.h"

#include <QCoreApplication>
#include <QElapsedTimer>

#include <cstdio>
#include <memory>

namespace {

constexpr qsizetype BlockSize = 4096;
constexpr qsizetype DefaultMegabytes = 16;
// The machine is shared: the best of several runs is the figure.
constexpr int Repetitions = 7;

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

// A balance sending weights: "W+0012.345" CR LF, 12 bytes a string.
QByteArray BalanceStream(qsizetype size)
{
    QByteArray stream;
    stream.reserve(size);
    for (int i = 0; stream.size() + 12 <= size; ++i)
        stream += "W+" + QByteArray::number(1000 + i % 9000).rightJustified(4, '0') + "."
            + QByteArray::number(i % 1000).rightJustified(3, '0') + "\r\n";
    return stream;
}

struct Result
{
    double mbPerSecond;
    qint64 shown;
};

Result RunOnce(const QByteArray& stream, bool script)
{
    CScript driverScript;
    driverScript.m_bRegistered = script ? 1 : 0;
    driverScript.m_strEndOfString = "<LF>";
    driverScript.m_InputStrings = {"W<CR><LF>"};
    driverScript.m_Sequences = {std::make_shared<CStringArray>(
        CStringArray{"SkipCharacters(1)", "TrimLeft()", "ChangeCharacters(., ,)"})};
    CTerminalParameter display;
    display.m_bReceiveCRLF = 0;
    CDriverParameter driver;
    CReceivePipeline pipeline(driverScript, display, driver);
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

Result Run(const QByteArray& stream, bool script)
{
    Result best{0, 0};
    for (int i = 0; i < Repetitions; ++i) {
        const Result result = RunOnce(stream, script);
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

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    // Arguments for a profiler: "plain" or "script" runs only that part; a
    // second argument sets the megabytes of the stream.
    const QString only = app.arguments().value(1);
    const qsizetype megabytes = app.arguments().value(2).toLongLong();
    const QByteArray stream = BalanceStream((megabytes > 0 ? megabytes : DefaultMegabytes) << 20);
    std::printf("stream: %lld bytes of 12-byte strings, blocks of %lld bytes, best of %d runs\n",
                static_cast<long long>(stream.size()), static_cast<long long>(BlockSize), Repetitions);

    const Result plain = only == QLatin1String("script") ? Result{} : Run(stream, false);
    const Result script = only == QLatin1String("plain") ? Result{} : Run(stream, true);
    std::printf("plain: %lld bytes shown; script: %lld bytes shown\n",
                static_cast<long long>(plain.shown), static_cast<long long>(script.shown));
    Report("plain mode from memory", plain.mbPerSecond, 200, "MB/s");
    Report("script mode from memory", script.mbPerSecond, 20, "MB/s");
    std::printf("script / plain ratio: %.3f\n", script.mbPerSecond / plain.mbPerSecond);
    return 0;
}
