// An instrument window publishing to MQTT at 10 000 readings a second: the
// desktop program (offscreen) on a pseudo-terminal, a private Mosquitto
// broker on a free local port and a subscriber. A writer thread sends 100
// lines every 10 ms. Measured: readings per second that reach the
// subscriber, how long after the last reading the last message arrived,
// and the longest time the window's event loop did not run (a 5 ms timer
// measuring its own lateness). Goals: every reading arrives, in order, and
// no stall over 50 ms.
//
// build/bench/bench_mqtt_window [SECONDS] [off]   ("off": no broker, the window alone)

#include "../tests/mqtt/MqttTestBroker.h"
#include "../tests/mqtt/MqttTestSubscriber.h"
#include "CBenchPty.h"
#include "CDriverFile.h"
#include "CMainFrame.h"
#include "COrvalisApp.h"
#include "COrvalisView.h"

#include <QApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLoggingCategory>
#include <QSettings>
#include <QTemporaryDir>
#include <QThread>
#include <QTimer>

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

} // namespace

int main(int argc, char* argv[])
{
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication application(argc, argv);
    QLoggingCategory::setFilterRules(QStringLiteral("*.debug=false\norvalis.*.info=false"));
    const int seconds = argc > 1 ? QByteArray(argv[1]).toInt() : 5;
    const int total = seconds * ReadingsPerSecond;
    QTemporaryDir home;
    qputenv("ORVALIS_HOME", home.path().toLocal8Bit());
    qputenv("XDG_DATA_HOME", QDir(home.path()).filePath(QStringLiteral("data")).toLocal8Bit());

    MqttTestBroker broker;
    if (!broker.Missing().isEmpty() || !broker.Start()) {
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
    {
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
    while (view->Publishing().Publisher().CurrentState() != CMqttPublisher::State::Connected && wait.elapsed() < 5000)
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
                const ssize_t n = ::write(pty.master, lines.constData() + sent, size_t(lines.size() - sent));
                if (n > 0)
                    sent += n;
            }
            const qint64 due = (tick + 1) * 10LL;
            if (pace.elapsed() < due)
                QThread::msleep(quint32(due - pace.elapsed()));
        }
        written = true;
    });

    qint64 longestStallMs = 0;
    qint64 lastSecond = -1;
    QElapsedTimer clock;
    QElapsedTimer sinceTick;
    QElapsedTimer sinceWritten;
    QEventLoop loop;
    QTimer ticker;
    ticker.setTimerType(Qt::PreciseTimer);
    ticker.setInterval(TimerIntervalMs);
    QObject::connect(&ticker, &QTimer::timeout, &loop, [&] {
        longestStallMs = qMax(longestStallMs, sinceTick.elapsed() - TimerIntervalMs);
        sinceTick.restart();
        if (written && !sinceWritten.isValid())
            sinceWritten.start();
        const qsizetype received = subscriber.Count();
        if (received >= total)
            loop.quit();
        if (qEnvironmentVariableIsSet("BENCH_TRACE") && clock.elapsed() / 1000 != lastSecond) {
            lastSecond = clock.elapsed() / 1000;
            std::fprintf(stderr, "%lld s: %lld bytes in, %lld waiting, %lld received, %s\n", lastSecond,
                         view->Pipeline().TotalBytes(), view->Publishing().Publisher().Waiting(), qint64(received),
                         qPrintable(view->Publishing().PaneText()));
        }
    });
    QTimer::singleShot(seconds * 1000 + 60000, &loop, &QEventLoop::quit);
    clock.start();
    sinceTick.start();
    ticker.start();
    loop.exec();
    const double elapsed = clock.nsecsElapsed() / 1e9;
    writer.join();

    const QList<QByteArray> payloads = subscriber.Payloads("bench/readings");
    bool inOrder = payloads.size() == total;
    for (int n = 0; inOrder && n < total; ++n) {
        const QString text = QJsonDocument::fromJson(payloads.at(n)).object().value(QStringLiteral("text")).toString();
        inOrder = text.toUtf8() + "\r\n" == Reading(n);
    }
    const qint64 lagMs = sinceWritten.isValid() ? sinceWritten.elapsed() : -1;
    std::printf("readings sent:         %d in %d s (%d a second)\n", total, seconds, ReadingsPerSecond);
    std::printf("readings received:     %lld, %s (%.0f a second over %.2f s)\n", qint64(payloads.size()),
                inOrder ? "all in order" : "NOT all in order", payloads.size() / elapsed, elapsed);
    std::printf("last one arrived:      %lld ms after the last was sent\n", lagMs);
    std::printf("longest window stall:  %lld ms (goal: at most %lld ms)\n", longestStallMs, GoalStallMs);
    const bool met = inOrder && longestStallMs <= GoalStallMs;
    std::printf("goals %s\n", met ? "met" : "NOT met");
    std::fflush(stdout);
    view->GetDocument().SetModifiedFlag(false);
    app.MainFrame()->close();
    return met ? 0 : 1;
}
