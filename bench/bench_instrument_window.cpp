// An instrument window under a flood: the desktop program (offscreen) is
// started on a driver whose connector is the slave end of a pseudo-terminal,
// and the master end is written as fast as the line takes it. Measured: the
// bytes per second that reach the window's text, the longest time the event
// loop did not run (a 5 ms timer measuring its own lateness), the memory
// (VmHWM, and VmRSS half-way and at the end), against a plain read() loop
// on the same pseudo-terminal in the same run. The machine is shared: both
// run Rounds times, alternating, and the best of each counts.
//
// build/bench/bench_instrument_window [MEGABYTES] [plain|script]

#include "BenchBalance.h"
#include "CBenchApplication.h"
#include "CBenchFlood.h"
#include "CDriverFile.h"
#include "CMainFrame.h"
#include "COrvalisApp.h"
#include "COrvalisView.h"
#include "CStallWatch.h"

#include <QApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QMdiArea>
#include <QMdiSubWindow>
#include <QTemporaryDir>

#include <pty.h>
#include <unistd.h>

#include <atomic>
#include <cstdio>
#include <thread>

namespace {

constexpr double GoalRatio = 0.25;
constexpr qint64 GoalStallMs = 50;
constexpr int TimerIntervalMs = 5;
constexpr int Rounds = 3;

struct WindowFigures
{
    double mbPerSecond = 0;
    qint64 longestStallMs = 0;
    qint64 rssHalfKb = 0;
    qint64 rssEndKb = 0;
    int lines = 0;
    qint64 characters = 0;
    bool complete = false;
};

CDriverFile Driver(const QByteArray& slave, bool script)
{
    CDriverFile records;
    records.m_Driver.m_strName = "Flood";
    records.m_Driver.m_strFileName = "flood.tbb";
    records.m_Comm.m_nConnector = -1;
    records.m_Comm.m_strConnector = slave;
    records.m_Comm.m_nFlowControl = 0;
    records.m_Terminal.m_bReceiveCRLF = 0;
    if (script) {
        records.m_Script.m_bRegistered = 1;
        records.m_Script.m_strEndOfString = "<LF>";
        records.m_Script.m_InputStrings = {"W"};
        records.m_Script.m_Sequences = {std::make_shared<CStringArray>(
            CStringArray{"SkipCharacters(1)", "TrimLeft()", "ChangeCharacters(., ,)"})};
    }
    return records;
}

WindowFigures WindowRun(const QString& home, const QByteArray& slave, int master, const QByteArray& stream, bool script)
{
    WindowFigures figures;
    CDriverFile records = Driver(slave, script);
    if (!records.Store(QDir(home).filePath(QStringLiteral("flood.tbb"))).IsOk())
        return figures;
    COrvalisApp app(QDir(home).filePath(QStringLiteral("Orvalis.ini")));
    app.InitInstance({QStringLiteral("/Dflood.tbb")});
    app.MainFrame()->resize(900, 650);
    auto* view = qobject_cast<COrvalisView*>(app.MainFrame()->ActiveView());
    if (!view || !view->m_comm.IsPortOpen()) {
        std::fprintf(stderr, "the window did not open %s\n", slave.constData());
        return figures;
    }
    app.MainFrame()->MdiArea()->currentSubWindow()->showMaximized();
    QApplication::processEvents();

    // Script mode shows fewer bytes than arrive; the count is what the line delivered.
    const qint64 expected = stream.size();
    QElapsedTimer clock;
    qint64 lastSecond = -1;
    CStallWatch watch(TimerIntervalMs);
    clock.start();
    std::thread writer = BenchFlood::Write(master, stream);
    watch.Run(120000, [&](qint64) {
        const qint64 total = view->Pipeline().TotalBytes();
        if (!figures.rssHalfKb && total >= expected / 2)
            figures.rssHalfKb = BenchFlood::StatusKilobytes("VmRSS:");
        if (qEnvironmentVariableIsSet("BENCH_TRACE") && clock.elapsed() / 1000 != lastSecond) {
            lastSecond = clock.elapsed() / 1000;
            std::fprintf(stderr, "%lld s: %lld bytes, %d lines\n", lastSecond, total, view->blockCount());
        }
        return total >= expected;
    });
    figures.longestStallMs = watch.LongestMs();
    view->Appender().Flush();
    const double seconds = clock.nsecsElapsed() / 1e9;
    writer.join();
    figures.complete = view->Pipeline().TotalBytes() >= expected;
    figures.mbPerSecond = view->Pipeline().TotalBytes() / 1e6 / seconds;
    figures.rssEndKb = BenchFlood::StatusKilobytes("VmRSS:");
    figures.lines = view->Appender().LineCount();
    figures.characters = view->document()->characterCount();
    // Nothing to keep: the window closes without asking.
    view->GetDocument().SetModifiedFlag(false);
    app.MainFrame()->close();
    return figures;
}

} // namespace

int main(int argc, char* argv[])
{
    CBenchApplication application(argc, argv);
    const qsizetype megabytes = argc > 1 ? QByteArray(argv[1]).toLongLong() : 32;
    const bool script = argc > 2 && QByteArray(argv[2]) == "script";
    QTemporaryDir home;
    qputenv("ORVALIS_HOME", home.path().toLocal8Bit());

    int master = -1;
    int slaveFd = -1;
    char name[256] = {};
    if (openpty(&master, &slaveFd, name, nullptr, nullptr) != 0) {
        std::perror("openpty");
        return 1;
    }
    ::close(slaveFd);
    const QByteArray slave(name);
    const QByteArray stream = BalanceStream(megabytes * 1024 * 1024);

    double plain = 0;
    WindowFigures window;
    for (int round = 0; round < Rounds; ++round) {
        plain = qMax(plain, BenchFlood::PlainReadLoop(slave, master, stream));
        const WindowFigures figures = WindowRun(home.path(), slave, master, stream, script);
        // The fastest round counts; stalls and memory count at their worst.
        const WindowFigures best = figures.mbPerSecond > window.mbPerSecond ? figures : window;
        const qint64 stall = qMax(window.longestStallMs, figures.longestStallMs);
        const bool complete = (round == 0 || window.complete) && figures.complete;
        const qint64 rssHalf = qMax(window.rssHalfKb, figures.rssHalfKb);
        const qint64 rssEnd = qMax(window.rssEndKb, figures.rssEndKb);
        window = best;
        window.longestStallMs = stall;
        window.complete = complete;
        window.rssHalfKb = rssHalf;
        window.rssEndKb = rssEnd;
    }
    const qint64 hwm = BenchFlood::StatusKilobytes("VmHWM:");
    ::close(master);

    const double ratio = window.mbPerSecond / plain;
    const bool bounded = window.lines <= CTextAppender::DefaultMaxLines + 1
        && window.characters <= CTextAppender::MaxCharacters + CTextAppender::MaxLineLength
        && window.rssEndKb <= window.rssHalfKb * 11 / 10 + 8 * 1024;
    std::printf("flood: %lld MB of 12-byte lines, %s mode, offscreen window, best of %d rounds %s\n",
                qint64(stream.size() / 1000000), script ? "script" : "plain", Rounds,
                window.complete ? "" : "(INCOMPLETE: timed out)");
    std::printf("plain read() loop on the pty     %8.1f MB/s\n", plain);
    std::printf("instrument window                %8.1f MB/s   ratio %.2f  goal >= %.2f  %s\n", window.mbPerSecond,
                ratio, GoalRatio, ratio >= GoalRatio ? "met" : "NOT MET");
    std::printf("longest event-loop stall (worst)  %8lld ms     goal <= %lld ms      %s\n", window.longestStallMs,
                GoalStallMs, window.longestStallMs <= GoalStallMs ? "met" : "NOT MET");
    std::printf("text kept: %d lines, %lld characters (caps %d lines, %lld characters)\n", window.lines,
                window.characters, CTextAppender::DefaultMaxLines, qint64(CTextAppender::MaxCharacters));
    std::printf("memory: VmRSS %lld MB half-way, %lld MB at the end; VmHWM %lld MB   bounded: %s\n",
                window.rssHalfKb / 1024, window.rssEndKb / 1024, hwm / 1024, bounded ? "met" : "NOT MET");
    return 0;
}
