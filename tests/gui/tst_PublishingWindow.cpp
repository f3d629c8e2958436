// The instrument window publishing to a private Mosquitto broker: every line
// shown arrives once and in order, the status pane follows the link, and the
// "Publishing" page keeps its settings in Orvalis.ini under the driver.

#include "../core/PtyPair.h"
#include "../mqtt/MqttTestBroker.h"
#include "../mqtt/MqttTestSubscriber.h"
#include "CCommGeneralPage.h"
#include "CDriverFile.h"
#include "CInstrumentSheet.h"
#include "CMainFrame.h"
#include "COrvalisApp.h"
#include "COrvalisView.h"
#include "CPublishingPage.h"
#include "ScriptedDialogs.h"

#include <QDir>
#include <QElapsedTimer>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLabel>
#include <QLineEdit>
#include <QSettings>
#include <QSignalSpy>
#include <QStatusBar>
#include <QTemporaryDir>
#include <QTest>

#include <memory>

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

class tst_PublishingWindow : public QObject
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
        m_home = std::make_unique<QTemporaryDir>();
        qputenv("ORVALIS_HOME", m_home->path().toLocal8Bit());
        qputenv("XDG_DATA_HOME", Home(QStringLiteral("data")).toLocal8Bit());
        m_pty = std::make_unique<CPtyPair>();
        QVERIFY(m_pty->IsOpen());
        m_pty->CloseSlave();
        m_dialogs = std::make_unique<CScriptedDialogs>();
    }

    void cleanup()
    {
        m_app.reset();
        m_dialogs.reset();
        m_pty.reset();
        m_home.reset();
    }

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
        const QJsonObject last = QJsonDocument::fromJson(subscriber.Payloads(Prefix + "/readings").last()).object();
        QCOMPARE(last.value(QStringLiteral("driver")).toString(), QStringLiteral("Lab"));
        QCOMPARE(last.value(QStringLiteral("cells")).toArray().at(0).toDouble(), 399.0);
        QTRY_VERIFY2(view->toPlainText().endsWith(expected.back() + QLatin1Char('\n')),
                     qPrintable(view->toPlainText().right(40)));
        QCOMPARE(subscriber.Last(Prefix + "/status"), QByteArray("online"));

        // Closing the program says goodbye.
        m_app.reset();
        QTRY_COMPARE_WITH_TIMEOUT(subscriber.Last(Prefix + "/status"), QByteArray("offline"), 5000);
        QCOMPARE(subscriber.Payloads(Prefix + "/readings").size(), 400);
    }

    void paneShowsRetryingThenConnected()
    {
        MqttTestBroker broker;
        if (!broker.Missing().isEmpty())
            QSKIP(qPrintable(broker.Missing()));
        COrvalisView* view = Start(broker.Url());
        QVERIFY(view);
        QTRY_COMPARE_WITH_TIMEOUT(Pane(), QStringLiteral("MQTT: retrying"), 5000);
        QTRY_VERIFY(PaneWidget()->toolTip().contains(QStringLiteral("127.0.0.1:%1").arg(broker.Port())));
        QVERIFY(m_pty->WriteMaster("kept while away\r\n"));
        QTRY_COMPARE(view->Publishing().Publisher().Waiting(), 1);

        QVERIFY(broker.Start());
        MqttTestSubscriber subscriber(broker.Port(), Prefix + "/readings", "orvalis-test-later");
        QTRY_COMPARE_WITH_TIMEOUT(Pane(), QStringLiteral("MQTT: connected"), 10000);
        QTRY_COMPARE_WITH_TIMEOUT(Texts(subscriber.Payloads(Prefix + "/readings")), QStringList{"kept while away"}, 5000);
    }

    void fullQueueIsToldOnceInTheStatusBar()
    {
        MqttTestBroker away; // never started: the readings wait
        COrvalisView* view = Start(QString());
        QVERIFY(view);
        CPublishingSettings settings;
        settings.m_strBroker = away.Url();
        QSignalSpy messages(&view->Publishing(), &CPublishingLink::Message);
        view->Publishing().Start(settings, QStringLiteral("Lab"), 5);
        for (int n = 0; n < 20; ++n)
            QVERIFY(m_pty->WriteMaster(QByteArray::number(n) + "\r\n"));
        QTRY_COMPARE(m_app->MainFrame()->GetPaneText(CFrameServices::PaneMessage),
                     QStringLiteral("MQTT: the queue for the broker is full (5 readings); the oldest are being dropped"));
        QTRY_VERIFY(view->toPlainText().endsWith(QStringLiteral("19\n")));
        QTest::qWait(100);
        QCOMPARE(messages.size(), 1);
    }

    void withoutBrokerThePaneSaysOff()
    {
        QVERIFY(Start(QString()));
        QCOMPARE(Pane(), QStringLiteral("MQTT: off"));
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
        QString placeholder;
        m_dialogs->m_onExec = [&](QDialog& dialog) -> int {
            auto* sheet = qobject_cast<CInstrumentSheet*>(&dialog);
            CPublishingPage* page = sheet->m_pPublishingPage;
            QElapsedTimer clock;
            clock.start();
            while (page->KeyringState() == CPublishingPage::Keyring::Asking && clock.elapsed() < 10000)
                QTest::qWait(20);
            note = page->m_pPasswordNote->text();
            placeholder = page->m_pTopic->placeholderText();
            page->m_pBroker->setText(broker.Url());
            page->m_pTopic->setText(QString::fromUtf8(Prefix));
            page->m_pUser->setText(QStringLiteral("lab"));
            page->m_pPassword->setText(QStringLiteral("s3cret"));
            if (qEnvironmentVariableIsSet("ORVALIS_SCREENSHOT_DIR")) {
                sheet->SetActivePage(sheet->GetPageCount() - 1);
                sheet->resize(520, 420);
                sheet->grab().save(qEnvironmentVariable("ORVALIS_SCREENSHOT_DIR") + QStringLiteral("/publishing-page.png"));
            }
            return int(QDialog::Accepted);
        };
        QVERIFY(m_app->MainFrame()->RouteCommand(32778));
        QVERIFY2(note.contains(QStringLiteral("plain text in Orvalis.ini")), qPrintable(note));
        QCOMPARE(placeholder, CPublishingSettings::DefaultTopic(QStringLiteral("Lab")));
        QTRY_COMPARE_WITH_TIMEOUT(Pane(), QStringLiteral("MQTT: connected"), 5000);
        const QSettings profile(Home(QStringLiteral("Orvalis.ini")), QSettings::IniFormat);
        QCOMPARE(profile.value(QStringLiteral("Lab/MqttBroker")).toString(), broker.Url());
        QCOMPARE(profile.value(QStringLiteral("Lab/MqttTopic")).toString(), QString::fromUtf8(Prefix));
        QCOMPARE(profile.value(QStringLiteral("Lab/MqttPassword")).toString(), QStringLiteral("s3cret"));
        // The driver file itself is not touched by these settings.
        QVERIFY(!ReadDriver().contains("mqtt"));
    }

    void pageRefusesABadBrokerOrTopic_data()
    {
        QTest::addColumn<QString>("broker");
        QTest::addColumn<QString>("topic");
        QTest::addColumn<QString>("message");
        QTest::newRow("scheme") << "http://host" << "" << "Broker \"http://host\": the address must begin with mqtt://";
        QTest::newRow("wildcard") << "mqtt://host" << "a/+/b" << "Topic prefix \"a/+/b\"";
        QTest::newRow("missing CA file") << "mqtts://host" << "" << "CA file /nonexistent/ca.pem: cannot be read";
    }
    void pageRefusesABadBrokerOrTopic()
    {
        QFETCH(QString, broker);
        QFETCH(QString, topic);
        QFETCH(QString, message);
        CPublishingPage page;
        page.m_pBroker->setText(broker);
        page.m_pTopic->setText(topic);
        page.m_pCaFile->setText(QStringLiteral("/nonexistent/ca.pem"));
        QVERIFY(!page.OnKillActive());
        QCOMPARE(m_dialogs->m_messages.size(), 1);
        QVERIFY2(m_dialogs->m_messages.front().startsWith(message), qPrintable(m_dialogs->m_messages.front()));
    }

    void addInstrumentKeepsPublishingUnderTheNewName()
    {
        m_app = std::make_unique<COrvalisApp>(Home(QStringLiteral("Orvalis.ini")));
        QVERIFY(m_app->InitInstance({}));
        m_dialogs->m_onExec = [](QDialog& dialog) {
            auto* sheet = qobject_cast<CInstrumentSheet*>(&dialog);
            QTest::keyClicks(sheet->m_pGeneralPage->m_pName, QStringLiteral("Scale 2"));
            sheet->m_pPublishingPage->m_pBroker->setText(QStringLiteral("mqtt://broker.lab:1884"));
            return int(QDialog::Accepted);
        };
        QVERIFY(m_app->MainFrame()->RouteCommand(32772));
        const QSettings profile(Home(QStringLiteral("Orvalis.ini")), QSettings::IniFormat);
        QCOMPARE(profile.value(QStringLiteral("Scale 2/MqttBroker")).toString(), QStringLiteral("mqtt://broker.lab:1884"));
        QVERIFY(!profile.contains(QStringLiteral("Scale 2/MqttTopic")));
    }

private:
    QString Home(const QString& name) const { return QDir(m_home->path()).filePath(name); }
    QLabel* PaneWidget() const { return m_app->MainFrame()->statusBar()->findChild<QLabel*>(QStringLiteral("MqttPane")); }
    QString Pane() const
    {
        const QLabel* pane = PaneWidget();
        return pane ? pane->text() : QString();
    }
    QByteArray ReadDriver() const
    {
        QFile file(Home(QStringLiteral("lab.tbb")));
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }

    // The window on the pty, connected through the command line, with the
    // driver's broker set in the profile (none when broker is empty).
    COrvalisView* Start(const QString& broker)
    {
        CDriverFile records;
        records.m_Driver.m_strName = "Lab";
        records.m_Driver.m_strFileName = "lab.tbb";
        records.m_Comm.m_nConnector = -1;
        records.m_Comm.m_strConnector = m_pty->SlaveName().toLocal8Bit();
        records.m_Comm.m_nFlowControl = 0;
        records.m_Terminal.m_bReceiveCRLF = 0;
        records.m_FunctionKeys.AppendEmptyKeys();
        if (!records.Store(Home(QStringLiteral("lab.tbb"))).IsOk())
            return nullptr;
        if (!broker.isEmpty()) {
            QSettings profile(Home(QStringLiteral("Orvalis.ini")), QSettings::IniFormat);
            profile.setValue(QStringLiteral("Lab/MqttBroker"), broker);
            profile.setValue(QStringLiteral("Lab/MqttTopic"), QString::fromUtf8(Prefix));
        }
        m_app = std::make_unique<COrvalisApp>(Home(QStringLiteral("Orvalis.ini")));
        if (!m_app->InitInstance({QStringLiteral("/Dlab.tbb")}))
            return nullptr;
        return qobject_cast<COrvalisView*>(m_app->MainFrame()->ActiveView());
    }

    std::unique_ptr<QTemporaryDir> m_home;
    std::unique_ptr<CPtyPair> m_pty;
    std::unique_ptr<CScriptedDialogs> m_dialogs;
    std::unique_ptr<COrvalisApp> m_app;
};

QTEST_MAIN(tst_PublishingWindow)
#include "tst_PublishingWindow.moc"
