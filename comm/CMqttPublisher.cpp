#include "CMqttPublisher.h"

#include "CMqttJournal.h"

#include <QFile>
#include <QRandomGenerator>

#include <mosquitto.h>
#include <pthread.h>
#include <sys/resource.h>
#include <unistd.h>

#include <chrono>
#include <cstring>
#include <deque>
#include <mutex>

namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

// Messages sent and not yet acknowledged at a time.
constexpr std::size_t Window = 500;
constexpr int KeepAliveSeconds = 30;
constexpr milliseconds FirstRetry(500);
constexpr milliseconds LastRetry(5000);
constexpr milliseconds ConnectTimeout(10000);
constexpr milliseconds OfflineTimeout(1000);
// Messages in flight and no acknowledgement for this long: the connection
// is taken as stuck, dropped and made anew (the journal sends them again).
constexpr milliseconds AckTimeout(3000);
constexpr int PublisherNice = 5;
constexpr milliseconds ReleaseInterval(50);

void InitLibrary()
{
    static std::once_flag once;
    std::call_once(once, [] { mosquitto_lib_init(); });
}

QString ErrorText(int rc)
{
    if (rc == MOSQ_ERR_ERRNO)
        return QString::fromLocal8Bit(std::strerror(errno));
    return QString::fromUtf8(mosquitto_strerror(rc));
}

} // namespace

// The state of the publishing thread; lives and dies on that thread, and the
// libmosquitto callbacks run inside its mosquitto_loop calls.
class CMqttPublisher::Worker
{
public:
    Worker(CMqttPublisher& owner, const Options& options)
        : m_owner(owner)
        , m_options(options)
        , m_journal(options.maxQueued)
        , m_readings((options.topicPrefix + QStringLiteral("/readings")).toUtf8())
        , m_status((options.topicPrefix + QStringLiteral("/status")).toUtf8())
        , m_clientId(QStringLiteral("orvalis-%1").arg(QRandomGenerator::global()->generate64(), 16, 16, QLatin1Char('0')).toUtf8())
    {
    }

    ~Worker() { Destroy(); }

    void Run()
    {
        QString error;
        if (!m_journal.Open(m_options.journalPath, error)) {
            Q_EMIT m_owner.Failed(error);
            m_owner.SetState(State::Off, error);
            return;
        }
        {
            std::lock_guard lock(m_owner.m_mutex);
            m_owner.m_strJournalPath = m_journal.Path();
        }
        m_owner.SetState(State::Retrying, QStringLiteral("connecting to %1:%2")
                                              .arg(m_options.broker.m_strHost)
                                              .arg(m_options.broker.m_nPort));
        Clock::time_point drainEnd{};
        while (true) {
            const bool stopping = TakePending();
            if (stopping) {
                if (drainEnd == Clock::time_point{})
                    drainEnd = Clock::now() + milliseconds(m_owner.m_nDrainMs);
                if (m_journal.IsEmpty() || Clock::now() >= drainEnd)
                    break;
            }
            if (!m_pMosq) {
                if (Clock::now() >= m_nextAttempt)
                    Connect();
                else
                    WaitForWork(milliseconds(50));
                continue;
            }
            if (m_bConnected)
                SendWindow();
            const int rc = mosquitto_loop(m_pMosq, m_bConnected ? 10 : 50, 1);
            if (m_strLost.isEmpty() && rc != MOSQ_ERR_SUCCESS)
                m_strLost = Reason(rc);
            if (m_strLost.isEmpty() && !m_bConnected && Clock::now() - m_connectStart > ConnectTimeout)
                m_strLost = QStringLiteral("no answer from the broker");
            if (m_strLost.isEmpty() && m_bConnected && !m_inFlight.empty() && Clock::now() - m_lastAck > AckTimeout)
                m_strLost = QStringLiteral("no acknowledgement from the broker");
            if (!m_strLost.isEmpty())
                Retry(m_strLost);
            // Every release writes the head down: a few times a second is
            // enough (a crash in between sends those messages once more).
            if (stopping || Clock::now() - m_lastRelease >= ReleaseInterval)
                Release();
        }
        GoOffline();
        m_owner.SetState(State::Off, QString());
    }

private:
    // Moves the handed-over messages into the journal; true when asked to stop.
    bool TakePending()
    {
        QByteArrayList batch;
        qint64 droppedBefore = 0;
        bool stop = false;
        {
            std::lock_guard lock(m_owner.m_mutex);
            batch.swap(m_owner.m_pending);
            droppedBefore = std::exchange(m_owner.m_nPendingDropped, 0);
            stop = m_owner.m_bStop;
        }
        qint64 dropped = 0;
        QString error;
        if (!m_journal.Append(batch, dropped, error)) {
            // Kept in memory (bounded by Publish) until the disk takes them.
            std::lock_guard lock(m_owner.m_mutex);
            batch.append(m_owner.m_pending);
            m_owner.m_pending.swap(batch);
            if (!m_bJournalFailed)
                Q_EMIT m_owner.Failed(error);
            m_bJournalFailed = true;
            return stop;
        }
        m_bJournalFailed = false;
        FollowMoves();
        ReportDropped(droppedBefore + dropped);
        if (m_journal.IsEmpty())
            m_bDropReported = false;
        UpdateWaiting();
        return stop;
    }

    void ReportDropped(qint64 dropped)
    {
        if (dropped == 0)
            return;
        m_nDropped += dropped;
        if (m_bDropReported)
            return;
        m_bDropReported = true;
        Q_EMIT m_owner.MessagesDropped(m_nDropped);
    }

    void UpdateWaiting()
    {
        std::lock_guard lock(m_owner.m_mutex);
        m_owner.m_nWaiting = m_journal.Count() + m_owner.m_pending.size();
    }

    void WaitForWork(milliseconds timeout)
    {
        std::unique_lock lock(m_owner.m_mutex);
        m_owner.m_wake.wait_for(lock, timeout, [this] { return m_owner.m_bStop; });
    }

    void Connect()
    {
        InitLibrary();
        m_pMosq = mosquitto_new(m_clientId.constData(), true, this);
        if (!m_pMosq) {
            Retry(QStringLiteral("out of memory"));
            return;
        }
        mosquitto_int_option(m_pMosq, MOSQ_OPT_PROTOCOL_VERSION, MQTT_PROTOCOL_V311);
        // The window is ours (SendWindow); libmosquitto 2.0.11's own quota
        // can stop sending for good after a lost acknowledgement count.
        mosquitto_max_inflight_messages_set(m_pMosq, 0);
        mosquitto_connect_callback_set(m_pMosq, [](mosquitto*, void* self, int rc) {
            static_cast<Worker*>(self)->OnConnect(rc);
        });
        mosquitto_disconnect_callback_set(m_pMosq, [](mosquitto*, void* self, int) {
            // A refused connection or a failed handshake keeps its own reason.
            QString& lost = static_cast<Worker*>(self)->m_strLost;
            if (lost.isEmpty())
                lost = QStringLiteral("the broker closed the connection");
        });
        mosquitto_publish_callback_set(m_pMosq, [](mosquitto*, void* self, int mid) {
            static_cast<Worker*>(self)->OnPublished(mid);
        });
        const QByteArray offline("offline");
        int rc = mosquitto_will_set(m_pMosq, m_status.constData(), offline.size(), offline.constData(), 1, true);
        if (rc == MOSQ_ERR_SUCCESS && !m_options.user.isEmpty())
            rc = mosquitto_username_pw_set(m_pMosq, m_options.user.toUtf8().constData(),
                                           m_options.password.isEmpty() ? nullptr : m_options.password.toUtf8().constData());
        if (rc == MOSQ_ERR_SUCCESS && m_options.broker.m_bTls) {
            QString why;
            if (!SetTls(why)) {
                Retry(why);
                return;
            }
        }
        if (rc == MOSQ_ERR_SUCCESS)
            rc = mosquitto_connect_async(m_pMosq, m_options.broker.m_strHost.toUtf8().constData(),
                                         m_options.broker.m_nPort, KeepAliveSeconds);
        m_connectStart = Clock::now();
        m_strLost.clear();
        if (rc != MOSQ_ERR_SUCCESS)
            Retry(Reason(rc));
    }

    // Without a CA file the system's certificates vouch for the broker.
    bool SetTls(QString& why)
    {
        const QString& caFile = m_options.caFile;
        if (!caFile.isEmpty()) {
            QFile ca(caFile);
            if (!ca.open(QIODevice::ReadOnly)) {
                why = QStringLiteral("CA file %1: %2").arg(caFile, ca.errorString());
                return false;
            }
        }
        const QByteArray ca = QFile::encodeName(caFile);
        const int rc = mosquitto_tls_set(m_pMosq, ca.isEmpty() ? nullptr : ca.constData(),
                                         ca.isEmpty() ? "/etc/ssl/certs" : nullptr, nullptr, nullptr, nullptr);
        if (rc != MOSQ_ERR_SUCCESS)
            why = QStringLiteral("TLS with %1: %2").arg(caFile.isEmpty() ? QStringLiteral("/etc/ssl/certs") : caFile, ErrorText(rc));
        return rc == MOSQ_ERR_SUCCESS;
    }

    // A failed TLS handshake mostly means a broker certificate the CA does
    // not vouch for (or a broker that does not speak TLS on that port).
    QString Reason(int rc) const
    {
        if (rc != MOSQ_ERR_TLS)
            return ErrorText(rc);
        return QStringLiteral("TLS handshake failed: is the broker's certificate signed by %1 and made out to %2?")
            .arg(m_options.caFile.isEmpty() ? QStringLiteral("a CA in /etc/ssl/certs") : m_options.caFile,
                 m_options.broker.m_strHost);
    }

    void OnConnect(int rc)
    {
        if (rc != 0) {
            m_strLost = QString::fromUtf8(mosquitto_connack_string(rc));
            return;
        }
        m_bConnected = true;
        m_lastAck = Clock::now();
        m_retry = FirstRetry;
        m_inFlight.clear();
        m_nCursor = m_journal.Head();
        const QByteArray online("online");
        mosquitto_publish(m_pMosq, nullptr, m_status.constData(), online.size(), online.constData(), 1, true);
        m_owner.SetState(State::Connected, QStringLiteral("%1:%2").arg(m_options.broker.m_strHost).arg(m_options.broker.m_nPort));
    }

    void SendWindow()
    {
        m_nCursor = qMax(m_nCursor, m_journal.Head());
        QByteArray message;
        qint64 next = 0;
        QString error;
        while (m_inFlight.size() < Window && m_journal.Read(m_nCursor, message, next, error)) {
            int mid = 0;
            const int rc = mosquitto_publish(m_pMosq, &mid, m_readings.constData(), int(message.size()),
                                             message.constData(), 1, false);
            if (rc != MOSQ_ERR_SUCCESS) {
                m_strLost = ErrorText(rc);
                return;
            }
            m_inFlight.push_back({mid, next, false});
            m_nCursor = next;
        }
        if (!error.isEmpty() && !m_bJournalFailed) {
            m_bJournalFailed = true;
            Q_EMIT m_owner.Failed(error);
        }
    }

    void OnPublished(int mid)
    {
        if (mid == m_nOfflineMid) {
            m_bOfflineAcked = true;
            return;
        }
        m_lastAck = Clock::now();
        for (auto& sent : m_inFlight) {
            if (sent.mid == mid) {
                sent.bAcked = true;
                break;
            }
        }
        while (!m_inFlight.empty() && m_inFlight.front().bAcked) {
            m_nAcked = m_inFlight.front().next;
            m_inFlight.pop_front();
        }
    }

    // The acknowledged messages leave the journal.
    void Release()
    {
        m_lastRelease = Clock::now();
        if (m_nAcked <= m_journal.Head())
            return;
        QString error;
        if (!m_journal.Release(m_nAcked, error) && !m_bJournalFailed) {
            m_bJournalFailed = true;
            Q_EMIT m_owner.Failed(error);
        }
        if (m_journal.IsEmpty())
            m_bDropReported = false;
        m_nAcked = 0;
        FollowMoves();
        UpdateWaiting();
    }

    // The journal was shortened: what is sent and in flight moved with it
    // (a message dropped while in flight ends up before the head, and its
    // acknowledgement releases nothing).
    void FollowMoves()
    {
        if (const qint64 moved = m_journal.Moved()) {
            m_nCursor -= moved;
            for (Sent& sent : m_inFlight)
                sent.next -= moved;
        }
        m_nCursor = qMax(m_nCursor, m_journal.Head());
    }

    // A fresh client per attempt: libmosquitto would otherwise send its own
    // copies of unacknowledged messages again, next to the journal's.
    void Retry(const QString& reason)
    {
        Release(); // what the broker took before the loss is not sent again
        Destroy();
        m_nextAttempt = Clock::now() + m_retry;
        m_owner.SetState(State::Retrying, QStringLiteral("%1 (%2:%3), next try in %4 s")
                                              .arg(reason, m_options.broker.m_strHost)
                                              .arg(m_options.broker.m_nPort)
                                              .arg(m_retry.count() / 1000.0));
        m_retry = qMin(m_retry * 2, LastRetry);
    }

    void GoOffline()
    {
        Release();
        if (!m_pMosq || !m_bConnected)
            return;
        const QByteArray offline("offline");
        int mid = 0;
        if (mosquitto_publish(m_pMosq, &mid, m_status.constData(), offline.size(), offline.constData(), 1, true)
            == MOSQ_ERR_SUCCESS)
            m_nOfflineMid = mid;
        const auto end = Clock::now() + OfflineTimeout;
        while (Clock::now() < end && m_strLost.isEmpty() && !m_bOfflineAcked
               && mosquitto_loop(m_pMosq, 20, 1) == MOSQ_ERR_SUCCESS) {
        }
        Release();
        mosquitto_disconnect(m_pMosq);
        mosquitto_loop(m_pMosq, 20, 1);
        Destroy();
    }

    void Destroy()
    {
        if (m_pMosq)
            mosquitto_destroy(m_pMosq);
        m_pMosq = nullptr;
        m_bConnected = false;
        m_inFlight.clear();
        m_nAcked = 0;
    }

    struct Sent
    {
        int mid;
        qint64 next; // journal offset after the message
        bool bAcked;
    };

    CMqttPublisher& m_owner;
    const Options m_options;
    CMqttJournal m_journal;
    const QByteArray m_readings;
    const QByteArray m_status;
    const QByteArray m_clientId;
    mosquitto* m_pMosq = nullptr;
    bool m_bConnected = false;
    QString m_strLost;
    Clock::time_point m_connectStart{};
    Clock::time_point m_nextAttempt{};
    Clock::time_point m_lastAck{};
    Clock::time_point m_lastRelease{};
    milliseconds m_retry = FirstRetry;
    std::deque<Sent> m_inFlight;
    qint64 m_nCursor = 0;
    qint64 m_nAcked = 0;
    int m_nOfflineMid = -1;
    bool m_bOfflineAcked = false;
    qint64 m_nDropped = 0;
    bool m_bDropReported = false;
    bool m_bJournalFailed = false;
};

CMqttPublisher::CMqttPublisher(QObject* parent)
    : QObject(parent)
{
    qRegisterMetaType<CMqttPublisher::State>();
}

CMqttPublisher::~CMqttPublisher()
{
    Stop();
}

void CMqttPublisher::Start(const Options& options)
{
    Stop();
    {
        std::lock_guard lock(m_mutex);
        m_bStop = false;
        m_nDrainMs = 0;
        m_nMaxQueued = options.maxQueued;
        m_strJournalPath.clear();
    }
    m_state = State::Retrying;
    m_thread = std::thread(&CMqttPublisher::Run, this, options);
}

qint64 CMqttPublisher::MaxQueued() const
{
    std::lock_guard lock(m_mutex);
    return m_nMaxQueued;
}

void CMqttPublisher::Run(Options options)
{
    // The window's thread goes first on a busy machine: readings may wait
    // in the journal a moment longer, the window must not.
    pthread_setname_np(pthread_self(), "orvalis-mqtt");
    setpriority(PRIO_PROCESS, id_t(gettid()), PublisherNice);
    Worker worker(*this, options);
    worker.Run();
}

void CMqttPublisher::Publish(const QByteArray& payload)
{
    std::lock_guard lock(m_mutex);
    m_pending.append(payload);
    // The thread empties this list all the time; it only grows while the
    // disk refuses the journal, and then no further than the queue's limit.
    if (m_pending.size() > m_nMaxQueued) {
        m_pending.removeFirst();
        ++m_nPendingDropped;
    }
    ++m_nWaiting;
}

void CMqttPublisher::Stop(int drainMs)
{
    if (!m_thread.joinable())
        return;
    {
        std::lock_guard lock(m_mutex);
        m_bStop = true;
        m_nDrainMs = drainMs;
    }
    m_wake.notify_all();
    m_thread.join();
}

QString CMqttPublisher::JournalPath() const
{
    std::lock_guard lock(m_mutex);
    return m_strJournalPath;
}

void CMqttPublisher::SetState(State state, const QString& reason)
{
    m_state = state;
    Q_EMIT StateChanged(state, reason);
}

QString CMqttPublisher::StateText(State state)
{
    switch (state) {
    case State::Connected:
        return QStringLiteral("connected");
    case State::Retrying:
        return QStringLiteral("retrying");
    case State::Off:
        break;
    }
    return QStringLiteral("off");
}
