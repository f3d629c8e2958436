// The publisher against a real Mosquitto broker on a free local port, with a
// subscriber in the test: order, JSON, status, broker restart, the journal.

#include "CMqttJournal.h"
#include "CMqttPublisher.h"
#include "CPublishingSink.h"
#include "MqttTestBroker.h"
#include "MqttTestSubscriber.h"
#include "TestIncludes.h"

#include <QSet>

namespace {

const QByteArray Prefix = "orvalis/test/Balance";
const QByteArray Readings = Prefix + "/readings";
const QByteArray Status = Prefix + "/status";

QByteArray Line(int n)
{
    return "reading " + QByteArray::number(n) + "\t" + QByteArray::number(n * 0.5) + "\r\n";
}

// Drops repetitions of messages already seen (QoS 1 sends again what the
// broker may have had when the connection broke).
QList<QByteArray> FirstSeen(const QList<QByteArray>& texts)
{
    QList<QByteArray> order;
    QSet<QByteArray> seen;
    for (const QByteArray& text : texts) {
        if (!seen.contains(text)) {
            seen.insert(text);
            order.append(text);
        }
    }
    return order;
}

QList<QByteArray> Expected(int from, int to)
{
    QList<QByteArray> texts;
    for (int n = from; n < to; ++n)
        texts.append(Line(n).chopped(2));
    return texts;
}

} // namespace

class tst_MqttPublisher : public QObject
{
    Q_OBJECT

private:
    CMqttPublisher::Options Options(const MqttTestBroker& broker)
    {
        CMqttPublisher::Options options;
        QString error;
        CMqttBrokerUrl::Parse(broker.Url(), options.broker, error);
        options.topicPrefix = QString::fromUtf8(Prefix);
        options.journalPath = m_dir.filePath(QStringLiteral("Balance.journal"));
        return options;
    }

    QTemporaryDir m_dir;

private Q_SLOTS:
    void initTestCase()
    {
        if (const QString missing = MqttTestBroker().Missing(); !missing.isEmpty())
            QSKIP(qPrintable(missing));
    }

    void init() { QFile::remove(m_dir.filePath(QStringLiteral("Balance.journal"))); }

    void readingsArriveOnceInOrderAsJsonWithStatus()
    {
        MqttTestBroker broker;
        QVERIFY(broker.Start());
        MqttTestSubscriber subscriber(broker.Port(), Prefix + "/#");
        QTRY_VERIFY_WITH_TIMEOUT(subscriber.Subscribed(), 5000);

        CMqttPublisher publisher;
        publisher.Start(Options(broker));
        CPublishingSink sink(nullptr, [&](const QByteArray& json) { publisher.Publish(json); });
        constexpr int Count = 2000;
        for (int n = 0; n < Count; ++n)
            sink.AppendBytes(Line(n));
        QTRY_COMPARE_WITH_TIMEOUT(subscriber.Payloads(Readings).size(), Count, 10000);

        QCOMPARE(subscriber.Texts(Readings), Expected(0, Count));
        QCOMPARE(subscriber.Last(Status), QByteArray("online"));

        publisher.Stop();
        QTRY_COMPARE_WITH_TIMEOUT(subscriber.Last(Status), QByteArray("offline"), 5000);
        // Status messages are retained: a dashboard that comes later sees them.
        MqttTestSubscriber late(broker.Port(), Status, "orvalis-test-late");
        QTRY_COMPARE_WITH_TIMEOUT(late.Last(Status), QByteArray("offline"), 5000);
        QVERIFY(late.Messages().front().bRetained);
    }

    // SIGKILL: what was in flight is sent again, what comes meanwhile waits.
    void brokerKilledMidStreamLosesNothing()
    {
        MqttTestBroker broker;
        QVERIFY(broker.Start());
        MqttTestSubscriber subscriber(broker.Port(), Readings, "orvalis-test-restart");
        QTRY_VERIFY_WITH_TIMEOUT(subscriber.Subscribed(), 5000);
        // The subscriber's session goes into the broker's file, so that a
        // killed broker still keeps what comes for it after the restart.
        broker.Stop();
        QTRY_VERIFY_WITH_TIMEOUT(!subscriber.Subscribed(), 5000);
        QVERIFY(broker.Start());
        QTRY_VERIFY_WITH_TIMEOUT(subscriber.Subscribed(), 5000);

        CMqttPublisher publisher;
        publisher.Start(Options(broker));
        QTRY_VERIFY_WITH_TIMEOUT(publisher.CurrentState() == CMqttPublisher::State::Connected, 5000);
        CPublishingSink sink(nullptr, [&](const QByteArray& json) { publisher.Publish(json); });
        // Readings keep coming while the broker goes away and comes back.
        int next = 0;
        const auto feed = [&](int until) {
            for (; next < until; ++next) {
                sink.AppendBytes(Line(next));
                if (next % 50 == 0)
                    QTest::qWait(5);
            }
        };
        feed(1500);
        // Killed, a broker loses what it acknowledged but had not yet passed
        // on; that is the broker's loss, so the subscriber catches up first.
        QTRY_COMPARE_WITH_TIMEOUT(FirstSeen(subscriber.Texts(Readings)).size(), 1500, 15000);
        // Frozen, it takes readings without acknowledging them: they are in
        // flight when it is killed, and must be sent again.
        broker.Freeze();
        feed(2000);
        broker.Stop(true);
        feed(2500);
        QTRY_VERIFY_WITH_TIMEOUT(publisher.CurrentState() == CMqttPublisher::State::Retrying, 5000);
        feed(3000);
        QVERIFY(publisher.Waiting() > 0);
        QVERIFY(broker.Start());
        feed(4000);
        QTRY_VERIFY_WITH_TIMEOUT(publisher.CurrentState() == CMqttPublisher::State::Connected, 10000);
        QTRY_COMPARE_WITH_TIMEOUT(publisher.Waiting(), 0, 15000);
        QTRY_COMPARE_WITH_TIMEOUT(FirstSeen(subscriber.Texts(Readings)).size(), 4000, 15000);
        QCOMPARE(FirstSeen(subscriber.Texts(Readings)), Expected(0, 4000));
    }

    void journalKeepsWhatTheBrokerHasNotTakenAcrossARestartOfTheProgram()
    {
        MqttTestBroker broker; // not started yet: nobody listens on its port
        {
            CMqttPublisher publisher;
            publisher.Start(Options(broker));
            for (int n = 0; n < 100; ++n)
                publisher.Publish(Line(n).chopped(2));
            QTRY_VERIFY_WITH_TIMEOUT(publisher.CurrentState() == CMqttPublisher::State::Retrying, 5000);
            QTRY_COMPARE_WITH_TIMEOUT(
                QFileInfo(m_dir.filePath(QStringLiteral("Balance.journal"))).size() > 1000, true, 5000);
        }
        QVERIFY(broker.Start());
        MqttTestSubscriber subscriber(broker.Port(), Readings, "orvalis-test-journal");
        QTRY_VERIFY_WITH_TIMEOUT(subscriber.Subscribed(), 5000);
        CMqttPublisher publisher;
        publisher.Start(Options(broker));
        QTRY_COMPARE_WITH_TIMEOUT(subscriber.Payloads(Readings).size(), 100, 10000);
        QCOMPARE(subscriber.Payloads(Readings), Expected(0, 100));
    }

    void mqttsWithAnotherCaIsRefusedAndRetried()
    {
        MqttTestBroker broker;
        MqttTestBroker stranger; // only for its CA
        QString why = broker.TlsUnavailable();
        if (why.isEmpty())
            why = stranger.EnableTls();
        if (!why.isEmpty())
            QSKIP(qPrintable(why));
        QVERIFY(broker.Start());
        CMqttPublisher::Options options = Options(broker);
        options.caFile = stranger.CaFile();
        CMqttPublisher publisher;
        QSignalSpy states(&publisher, &CMqttPublisher::StateChanged);
        publisher.Start(options);
        publisher.Publish("kept");
        QTRY_VERIFY_WITH_TIMEOUT(states.size() >= 2, 10000);
        QVERIFY(publisher.CurrentState() == CMqttPublisher::State::Retrying);
        const QString reason = states.last().at(1).toString();
        QVERIFY2(reason.contains(QStringLiteral("TLS"), Qt::CaseInsensitive), qPrintable(reason));
    }
};

QTEST_MAIN(tst_MqttPublisher)
#include "tst_MqttPublisher.moc"
