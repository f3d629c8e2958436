#pragma once

#include "CMqttBrokerUrl.h"

#include <QByteArrayList>
#include <QObject>
#include <QString>

#include <atomic>
#include <condition_variable>
#include <mutex>
#include <thread>

// Publishes messages to an MQTT broker on a thread of its own (libmosquitto),
// so the caller never waits for the network: Publish only hands the message
// over. Every message goes through a journal on disk first and leaves it
// when the broker has acknowledged it (QoS 1), so a broker that is away, a
// lost connection or a closed program loses nothing; a full journal drops
// its oldest messages. PREFIX/status is "online" while connected and,
// through the broker's last will, "offline" when the program vanishes
// (both retained).
class CMqttPublisher : public QObject
{
    Q_OBJECT

public:
    enum class State { Off, Retrying, Connected };
    Q_ENUM(State)

    // Messages the journal keeps while the broker is away.
    static constexpr qint64 DefaultMaxQueued = 100000;

    struct Options
    {
        CMqttBrokerUrl broker;
        QString caFile;      // mqtts:// only; empty: the system's certificates
        QString user;        // empty: anonymous
        QString password;
        QString topicPrefix; // readings go to PREFIX/readings
        QString journalPath;
        qint64 maxQueued = DefaultMaxQueued;
    };

    explicit CMqttPublisher(QObject* parent = nullptr);
    ~CMqttPublisher() override;

    // Starts the thread (a running one is stopped first).
    void Start(const Options& options);
    // Thread-safe; returns at once.
    void Publish(const QByteArray& payload);
    // Ends the thread in a bounded time: up to drainMs for the waiting
    // messages to go out, then "offline" and a clean disconnect. What did
    // not go out stays in the journal for the next start.
    void Stop(int drainMs = 0);

    State CurrentState() const { return m_state.load(); }
    // Messages handed over and not yet acknowledged by the broker.
    qint64 Waiting() const { return m_nWaiting.load(); }
    // The bound of the queue (Options::maxQueued of the last Start).
    qint64 MaxQueued() const;
    QString JournalPath() const;
    static QString StateText(State state);

Q_SIGNALS:
    // From the publishing thread (queued to the receiver's thread).
    void StateChanged(CMqttPublisher::State state, const QString& reason);
    // The queue was full and the oldest messages were dropped: once until
    // the queue has emptied again.
    void MessagesDropped(qint64 count);
    // The journal cannot be opened or written.
    void Failed(const QString& message);

private:
    class Worker;
    friend class Worker;

    void Run(Options options);
    void SetState(State state, const QString& reason);

    std::thread m_thread;
    mutable std::mutex m_mutex;
    std::condition_variable m_wake;
    QByteArrayList m_pending;    // handed over, not yet in the journal
    qint64 m_nPendingDropped = 0; // dropped before reaching the journal
    bool m_bStop = false;
    int m_nDrainMs = 0;
    qint64 m_nMaxQueued = DefaultMaxQueued;
    QString m_strJournalPath;
    std::atomic<State> m_state{State::Off};
    std::atomic<qint64> m_nWaiting{0};
};
