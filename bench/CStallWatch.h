#pragma once

// The window benchmarks' stall figure: a precise ticker on the window's event
// loop, and how much later than due each tick comes is how long the loop
// stalled.

#include <QElapsedTimer>
#include <QEventLoop>
#include <QTimer>

class CStallWatch
{
public:
    explicit CStallWatch(int intervalMs) : m_nIntervalMs(intervalMs) {}

    // Runs the event loop, calling tick(stallMs) on every tick, until tick
    // returns true or timeoutMs have passed.
    template <typename Tick> void Run(int timeoutMs, Tick tick)
    {
        QEventLoop loop;
        QElapsedTimer sinceTick;
        QTimer ticker;
        ticker.setTimerType(Qt::PreciseTimer);
        ticker.setInterval(m_nIntervalMs);
        QObject::connect(&ticker, &QTimer::timeout, &loop, [&] {
            const qint64 stallMs = sinceTick.elapsed() - m_nIntervalMs;
            sinceTick.restart();
            m_nLongestMs = qMax(m_nLongestMs, stallMs);
            if (tick(stallMs))
                loop.quit();
        });
        QTimer::singleShot(timeoutMs, &loop, &QEventLoop::quit);
        sinceTick.start();
        ticker.start();
        loop.exec();
    }

    qint64 LongestMs() const { return m_nLongestMs; }

private:
    int m_nIntervalMs;
    qint64 m_nLongestMs = 0;
};
