// An instrument window publishing to MQTT at 10 000 readings a second: the
// desktop program (offscreen) on a pseudo-terminal, a private Mosquitto
// broker on a free local port and a subscriber. A writer thread sends 100
// lines every 10 ms. Measured: readings per second that reach the
// subscriber, how long after the last reading the last message arrived,
// and the longest time the window's event loop did not run (a 5 ms timer
// measuring its own lateness). Goals: every reading arrives, in order, and
// no stall over 50 ms. Each stall is split, from the kernel's scheduler
// figures of the window's thread, into the time it ran (work of our own),
// the time it waited for a processor (a machine busy with other programs)
// and the rest (the thread slept or waited for a lock or the disk).
//
// build/bench/bench_mqtt_window [SECONDS] [off]   ("off": no broker, the window alone)

#include "../tests/mqtt/MqttTestBroker.h"
#include "../tests/mqtt/MqttTestSubscriber.h"
#include "CBenchApplication.h"
#include "CBenchPty.h"
#include "CDriverFile.h"
#include "CMainFrame.h"
#include "COrvalisApp.h"
#include "COrvalisView.h"
#include "CStallWatch.h"

#include <QApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSettings>
#include <QTemporaryDir>
#include <QThread>

#include <atomic>
#include <cstdio>
#include <thread>

namespace {

constexpr int ReadingsPerSecond = 10000;
constexpr int LinesPerTick = 100;
constexpr qint64 GoalStallMs = 50;
constexpr int TimerIntervalMs = 5;

QByteArray Reading(int n)
{
    return "W+" + QByteArray::number(n) + "\t" + QByteArray::number(n % 1000) + ".5\tg\r\n";
}

// The calling thread's time on a processor and in the run queue, in ns
// (/proc/thread-self/schedstat); zeros where the kernel keeps no such figures.
struct SchedTimes
{
    qint64 running = 0;
    qint64 queued = 0;

    static SchedTimes Now(std::FILE* file)
    {
        SchedTimes times;
        if (!file)
            return times;
        std::rewind(file);
        std::fflush(file);
        long long running = 0;
        long long queued = 0;
        if (std::fscanf(file, "%lld %lld", &running, &queued) == 2)
            times = {running, queued};
        return times;
    }
};

struct Stall
{
    qint64 ms = 0;
    qint64 runningMs = 0;
    qint64 queuedMs = 0;
};

} // namespace

int main(int argc, char* argv[])
{
    CBenchApplication application(argc, argv);
    const int seconds = argc > 1 ? QByteArray(argv[1]).toInt() : 5;
    const bool publishing = !(argc > 2 && QByteArray(argv[2]) == "off");
    const int total = seconds * ReadingsPerSecond;
    qint64 totalBytes = 0;
    for (int n = 0; n < total; ++n)
        totalBytes += Reading(n).size();
    QTemporaryDir home;
    qputenv("ORVALIS_HOME", home.path().toLocal8Bit());
    qputenv("XDG_DATA_HOME", QDir(home.path()).filePath(QStringLiteral("data")).toLocal8Bit());

    MqttTestBroker broker;
    if (publishing && (!broker.Missing().isEmpty() || !broker.Start())) {
        std::fprintf(stderr, "no broker: %s\n", qPrintable(broker.Missing()));
        return 1;
    }
    MqttTestSubscriber subscriber(broker.Port(), "bench/readings", "orvalis-bench");
    CBenchPty pty;
    CDriverFile records;
    records.m_Driver.m_strName = "Bench";
    records.m_Driver.m_strFileName = "bench.tbb";
    records.m_Comm.m_nConnector = -1;
    records.m_Comm.m_strConnector = pty.path;
    records.m_Comm.m_nFlowControl = 0;
    records.Store(QDir(home.path()).filePath(QStringLiteral("bench.tbb")));
    if (publishing) {
        QSettings profile(QDir(home.path()).filePath(QStringLiteral("Orvalis.ini")), QSettings::IniFormat);
        profile.setValue(QStringLiteral("Bench/MqttBroker"), broker.Url());
        profile.setValue(QStringLiteral("Bench/MqttTopic"), QStringLiteral("bench"));
    }
    COrvalisApp app(QDir(home.path()).filePath(QStringLiteral("Orvalis.ini")));
    app.InitInstance({QStringLiteral("/Dbench.tbb")});
    auto* view = qobject_cast<COrvalisView*>(app.MainFrame()->ActiveView());
    if (!view || !view->m_comm.IsPortOpen()) {
        std::fprintf(stderr, "the window did not open %s\n", pty.path.constData());
        return 1;
    }
    QElapsedTimer wait;
    wait.start();
    while (publishing && view->Publishing().Publisher().CurrentState() != CMqttPublisher::State::Connected
           && wait.elapsed() < 5000)
        QApplication::processEvents(QEventLoop::AllEvents, 20);

    std::atomic<bool> written{false};
    std::thread writer([&] {
        QElapsedTimer pace;
        pace.start();
        for (int n = 0, tick = 0; n < total; ++tick) {
            QByteArray lines;
            for (int i = 0; i < LinesPerTick && n < total; ++i, ++n)
                lines += Reading(n);
            for (qsizetype sent = 0; sent < lines.size();) {
                const ssize_t count = ::write(pty.master, lines.constData() + sent, size_t(lines.size() - sent));
                if (count > 0)
                    sent += count;
            }
            const qint64 due = (tick + 1) * 10LL;
            if (pace.elapsed() < due)
                QThread::msleep(quint32(due - pace.elapsed()));
        }
        written = true;
    });

    Stall longest;
    int stallsOverGoal = 0;
    std::FILE* sched = std::fopen("/proc/thread-self/schedstat", "r");
    SchedTimes lastTimes = SchedTimes::Now(sched);
    qint64 lastSecond = -1;
    QElapsedTimer clock;
    QElapsedTimer sinceWritten;
    CStallWatch watch(TimerIntervalMs);
    clock.start();
    watch.Run(seconds * 1000 + 60000, [&](qint64 stallMs) {
        const SchedTimes times = SchedTimes::Now(sched);
        if (stallMs > longest.ms)
            longest = {stallMs, (times.running - lastTimes.running) / 1000000, (times.queued - lastTimes.queued) / 1000000};
        if (stallMs > GoalStallMs) {
            ++stallsOverGoal;
            if (qEnvironmentVariableIsSet("BENCH_TRACE"))
                std::fprintf(stderr, "stall %lld ms: %lld ms running, %lld ms waiting for a processor\n", stallMs,
                             (times.running - lastTimes.running) / 1000000, (times.queued - lastTimes.queued) / 1000000);
        }
        lastTimes = times;
        if (written && !sinceWritten.isValid())
            sinceWritten.start();
        const qsizetype received = publishing ? subscriber.Count() : 0;
        const bool done = publishing ? received >= total : view->Pipeline().TotalBytes() >= totalBytes;
        if (qEnvironmentVariableIsSet("BENCH_TRACE") && clock.elapsed() / 1000 != lastSecond) {
            lastSecond = clock.elapsed() / 1000;
            std::fprintf(stderr, "%lld s: %lld bytes in, %lld waiting, %lld received, %s\n", lastSecond,
                         view->Pipeline().TotalBytes(), view->Publishing().Publisher().Waiting(), qint64(received),
                         qPrintable(view->Publishing().PaneText()));
        }
        return done;
    });
    const double elapsed = clock.nsecsElapsed() / 1e9;
    writer.join();

    if (sched)
        std::fclose(sched);
    const QList<QByteArray> payloads = subscriber.Payloads("bench/readings");
    bool inOrder = !publishing || payloads.size() == total;
    for (int n = 0; publishing && inOrder && n < total; ++n) {
        const QString text = QJsonDocument::fromJson(payloads.at(n)).object().value(QStringLiteral("text")).toString();
        inOrder = text.toUtf8() + "\r\n" == Reading(n);
    }
    const qint64 lagMs = sinceWritten.isValid() ? sinceWritten.elapsed() : -1;
    std::printf("readings sent:         %d in %d s (%d a second)\n", total, seconds, ReadingsPerSecond);
    if (publishing) {
        std::printf("readings received:     %lld, %s (%.0f a second over %.2f s)\n", qint64(payloads.size()),
                    inOrder ? "all in order" : "NOT all in order", payloads.size() / elapsed, elapsed);
        std::printf("last one arrived:      %lld ms after the last was sent\n", lagMs);
    } else {
        std::printf("not published:         the window alone shows %lld of %lld bytes in %.2f s\n",
                    view->Pipeline().TotalBytes(), totalBytes, elapsed);
    }
    std::printf("longest window stall:  %lld ms (goal: at most %lld ms): %lld ms running, %lld ms waiting for a "
                "processor, %lld ms asleep or blocked\n",
                longest.ms, GoalStallMs, longest.runningMs, longest.queuedMs,
                qMax<qint64>(0, longest.ms + TimerIntervalMs - longest.runningMs - longest.queuedMs));
    std::printf("stalls over the goal:  %d\n", stallsOverGoal);
    const bool met = inOrder && longest.ms <= GoalStallMs;
    std::printf("goals %s\n", met ? "met" : "NOT met");
    std::fflush(stdout);
    // The text still on its way into the window would ask to be saved.
    QElapsedTimer settle;
    settle.start();
    while (settle.elapsed() < 200)
        QApplication::processEvents(QEventLoop::AllEvents, 20);
    view->GetDocument().SetModifiedFlag(false);
    app.MainFrame()->close();
    return met ? 0 : 1;
}
