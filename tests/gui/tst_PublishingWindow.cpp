// The instrument window publishing to a private Mosquitto broker: every line
// shown arrives once and in order, the status pane follows the link, and the
// "Publishing" page keeps its settings in Orvalis.ini under the driver.

#include "../mqtt/MqttTestBroker.h"
#include "../mqtt/MqttTestSubscriber.h"
#include "CInstrumentSheet.h"
#include "CPublishingPage.h"
#include "InstrumentWindowFixture.h"

#include <QJsonDocument>
#include <QJsonObject>

namespace {

const QByteArray Prefix = "lab/Lab";

QStringList Texts(const QList<QByteArray>& payloads)
{
    QStringList texts;
    for (const QByteArray& payload : payloads)
        texts.append(QJsonDocument::fromJson(payload).object().value(QStringLiteral("text")).toString());
    return texts;
}

} // namespace

class tst_PublishingWindow : public QObject, public CInstrumentWindowFixture
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        // No keyring here, whatever the machine has: the page must say so.
        qputenv("DBUS_SESSION_BUS_ADDRESS", "unix:path=/nonexistent/orvalis-test-bus");
    }

    void init()
    {
        InitFixture();
        qputenv("XDG_DATA_HOME", Home(QStringLiteral("data")).toLocal8Bit());
    }

    void cleanup() { CleanupFixture(); }

    void everyLineShownArrivesOnceInOrder()
    {
        MqttTestBroker broker;
        if (!broker.Missing().isEmpty())
            QSKIP(qPrintable(broker.Missing()));
        QVERIFY(broker.Start());
        MqttTestSubscriber subscriber(broker.Port(), Prefix + "/#", "orvalis-test-window");
        QTRY_VERIFY_WITH_TIMEOUT(subscriber.Subscribed(), 5000);
        COrvalisView* view = Start(broker.Url());
        QVERIFY(view);
        QTRY_COMPARE_WITH_TIMEOUT(Pane(), QStringLiteral("MQTT: connected"), 5000);

        QStringList expected;
        for (int n = 0; n < 400; ++n) {
            expected.append(QStringLiteral("%1\t%2 g").arg(n).arg(n * 0.25));
            QVERIFY(m_pty->WriteMaster(expected.back().toLatin1() + "\r\n"));
        }
        QTRY_COMPARE_WITH_TIMEOUT(subscriber.Payloads(Prefix + "/readings").size(), 400, 15000);
        QCOMPARE(Texts(subscriber.Payloads(Prefix + "/readings")), expected);
        QTRY_VERIFY2(view->toPlainText().endsWith(expected.back() + QLatin1Char('\n')),
                     qPrintable(view->toPlainText().right(40)));
        QCOMPARE(subscriber.Last(Prefix + "/status"), QByteArray("online"));

        // Closing the program says goodbye.
        m_app.reset();
        QTRY_COMPARE_WITH_TIMEOUT(subscriber.Last(Prefix + "/status"), QByteArray("offline"), 5000);
        QCOMPARE(subscriber.Payloads(Prefix + "/readings").size(), 400);
    }

    void withoutBrokerPaneSaysOffFullQueueTold()
    {
        MqttTestBroker away; // never started: the readings wait
        COrvalisView* view = Start(QString());
        QVERIFY(view);
        QCOMPARE(Pane(), QStringLiteral("MQTT: off"));
        CPublishingSettings settings;
        settings.m_strBroker = away.Url();
        view->Publishing().Start(settings, QStringLiteral("Lab"), 5);
        for (int n = 0; n < 20; ++n)
            QVERIFY(m_pty->WriteMaster(QByteArray::number(n) + "\r\n"));
        QTRY_COMPARE(
            Frame()->GetPaneText(CFrameServices::PaneMessage),
            QStringLiteral(
                "MQTT: the queue for the broker is full (5 readings); the oldest are being dropped"));
        QTRY_VERIFY(view->toPlainText().endsWith(QStringLiteral("19\n")));
    }

    void optionsPageWritesTheProfileAndRestartsPublishing()
    {
        MqttTestBroker broker;
        if (!broker.Missing().isEmpty())
            QSKIP(qPrintable(broker.Missing()));
        QVERIFY(broker.Start());
        COrvalisView* view = Start(QString());
        QVERIFY(view);
        QString note;
        m_dialogs->m_onExec = [&](QDialog& dialog) -> int {
            auto* sheet = qobject_cast<CInstrumentSheet*>(&dialog);
            CPublishingPage* page = sheet->m_pPublishingPage;
            QElapsedTimer clock;
            clock.start();
            while (page->KeyringState() == CPublishingPage::Keyring::Asking && clock.elapsed() < 10000)
                QTest::qWait(20);
            note = page->m_pPasswordNote->text();
            page->m_pBroker->setText(broker.Url());
            page->m_pTopic->setText(QString::fromUtf8(Prefix));
            page->m_pUser->setText(QStringLiteral("lab"));
            page->m_pPassword->setText(QStringLiteral("s3cret"));
            return int(QDialog::Accepted);
        };
        QVERIFY(Frame()->RouteCommand(32778));
        QVERIFY2(note.contains(QStringLiteral("plain text in Orvalis.ini")), qPrintable(note));
        QTRY_COMPARE_WITH_TIMEOUT(Pane(), QStringLiteral("MQTT: connected"), 5000);
        const QSettings profile(Home(QStringLiteral("Orvalis.ini")), QSettings::IniFormat);
        QCOMPARE(profile.value(QStringLiteral("Lab/MqttBroker")).toString(), broker.Url());
        QCOMPARE(profile.value(QStringLiteral("Lab/MqttPassword")).toString(), QStringLiteral("s3cret"));
        // The driver file itself is not touched by these settings.
        QVERIFY(!ReadFile(Home(QStringLiteral("lab.tbb"))).contains("mqtt"));
    }

    void pageRefusesABadBrokerOrTopic()
    {
        const struct
        {
            QString broker;
            QString topic;
            QString message;
        } rows[] = {
            {"http://host", "", "Broker \"http://host\": the address must begin with mqtt://"},
            {"mqtt://host", "a/+/b", "Topic prefix \"a/+/b\""},
            {"mqtts://host", "", "CA file /nonexistent/ca.pem: cannot be read"},
        };
        for (const auto& row : rows) {
            m_dialogs->m_messages.clear();
            CPublishingPage page;
            page.m_pBroker->setText(row.broker);
            page.m_pTopic->setText(row.topic);
            page.m_pCaFile->setText(QStringLiteral("/nonexistent/ca.pem"));
            QVERIFY(!page.OnKillActive());
            QCOMPARE(m_dialogs->m_messages.size(), 1);
            QVERIFY2(m_dialogs->m_messages.front().startsWith(row.message),
                     qPrintable(m_dialogs->m_messages.front()));
        }
    }

private:
    QLabel* PaneWidget() const
    {
        return Frame()->statusBar()->findChild<QLabel*>(QStringLiteral("MqttPane"));
    }
    QString Pane() const
    {
        const QLabel* pane = PaneWidget();
        return pane ? pane->text() : QString();
    }
    // The window on the pty with the driver's broker in the profile (none
    // when broker is empty).
    COrvalisView* Start(const QString& broker)
    {
        const QByteArray profile = "[Lab]\nMqttBroker=" + broker.toUtf8() + "\nMqttTopic=" + Prefix + "\n";
        return CInstrumentWindowFixture::Start(PlainDriver(m_pty->SlaveName()),
                                               broker.isEmpty() ? QByteArray() : profile);
    }
};

QTEST_MAIN(tst_PublishingWindow)
#include "tst_PublishingWindow.moc"
