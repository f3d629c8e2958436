// orvalis-cli capture --mqtt as a user runs it: the instrument on a pty pair,
// a private Mosquitto broker and a subscriber in the test.

#include "CDriverFile.h"
#include "CPasswordKeyring.h"
#include "CliRun.h"
#include "KeyringTestServer.h"
#include "MqttTestBroker.h"
#include "MqttTestSubscriber.h"
#include "PtyPair.h"

namespace {

const QByteArray Prefix = "lab/bench-3/Balance";

} // namespace

class tst_MqttCapture : public QObject
{
    Q_OBJECT

    QTemporaryDir m_dir;

    QString Driver()
    {
        CDriverFile driver;
        driver.m_Driver.m_strName = "Balance";
        driver.m_Comm.m_strConnector = "None";
        driver.m_FunctionKeys.AppendEmptyKeys();
        const QString path = m_dir.filePath(QStringLiteral("Balance.tbb"));
        if (!driver.Store(path).IsOk())
            qFatal("cannot store the driver");
        return path;
    }

    // capture --mqtt on the line of pty, publishing to broker.
    QStringList Capture(const MqttTestBroker& broker, const CPtyPair& pty, const QStringList& more = {})
    {
        return QStringList{QStringLiteral("capture"), Driver(),
                           QStringLiteral("--port"),  pty.SlaveName(),
                           QStringLiteral("--mqtt"),  broker.Url(),
                           QStringLiteral("--topic"), QString::fromUtf8(Prefix)} +
               more;
    }

private Q_SLOTS:
    void initTestCase()
    {
        if (const QString missing = MqttTestBroker().Missing(); !missing.isEmpty())
            QSKIP(qPrintable(missing));
        QVERIFY(m_dir.isValid());
        qputenv("ORVALIS_HOME", m_dir.path().toLocal8Bit());
        qputenv("XDG_DATA_HOME", m_dir.filePath(QStringLiteral("data")).toLocal8Bit());
    }

    void passwordFromAFileOrTheEnvironmentLetsTheUserIn_data()
    {
        QTest::addColumn<QString>("how");
        QTest::addColumn<QString>("password");
        QTest::addColumn<QByteArray>("outcome");
        QTest::newRow("password file") << "file"
                                       << "s3cret word" << QByteArray("MQTT: connected");
        QTest::newRow("environment variable") << "environment"
                                              << "s3cret word" << QByteArray("MQTT: connected");
        QTest::newRow("desktop keyring") << "keyring"
                                         << "s3cret word" << QByteArray("MQTT: connected");
        QTest::newRow("wrong password is retried with the reason")
            << "file"
            << "guess" << QByteArray("MQTT: retrying: Connection Refused: not authorised");
    }
    void passwordFromAFileOrTheEnvironmentLetsTheUserIn()
    {
        QFETCH(QString, how);
        QFETCH(QString, password);
        QFETCH(QByteArray, outcome);
        MqttTestBroker broker;
        const QString refused = broker.RequirePassword(QStringLiteral("lab"), QStringLiteral("s3cret word"));
        if (!refused.isEmpty())
            QSKIP(qPrintable(refused));
        QVERIFY(broker.Start());
        // The user name from the driver's section, as the window keeps it.
        {
            QSettings profile(m_dir.filePath(QStringLiteral("Orvalis.ini")), QSettings::IniFormat);
            profile.setValue(QStringLiteral("Balance/MqttUser"), QStringLiteral("lab"));
        }
        QStringList more;
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(QStringLiteral("DBUS_SESSION_BUS_ADDRESS"),
                           QStringLiteral("unix:path=/nonexistent/bus"));
        std::optional<KeyringTestServer> keyring;
        if (how == "keyring") {
            if (const QString missing = KeyringTestServer::Missing(); !missing.isEmpty())
                QSKIP(qPrintable(missing));
            keyring.emplace();
            QVERIFY2(keyring->Start(), qPrintable(keyring->Why()));
            // The window's Publishing page stores the password this way.
            qputenv("DBUS_SESSION_BUS_ADDRESS", keyring->BusAddress().toUtf8());
            std::optional<bool> stored;
            QString why;
            CPasswordKeyring::Write(QStringLiteral("Balance"), password, this,
                                    [&](bool ok, const QString& reason) {
                                        stored = ok;
                                        why = reason;
                                    });
            QTRY_VERIFY_WITH_TIMEOUT(stored.has_value(), 10000);
            QVERIFY2(*stored, qPrintable(why));
            environment.insert(QStringLiteral("DBUS_SESSION_BUS_ADDRESS"), keyring->BusAddress());
        } else if (how == "file") {
            QFile file(m_dir.filePath(QStringLiteral("broker-password")));
            QVERIFY(file.open(QIODevice::WriteOnly));
            file.write(password.toUtf8() + "\n");
            file.setPermissions(QFile::ReadOwner | QFile::WriteOwner);
            more = {QStringLiteral("--password-file"), file.fileName()};
        } else {
            environment.insert(QStringLiteral("ORVALIS_MQTT_PASSWORD"), password);
        }
        CPtyPair pty;
        CCliProcess cli(Capture(broker, pty, more), environment);
        QVERIFY2(cli.WaitForError(QString::fromUtf8(outcome)), qPrintable(cli.Error()));
        const QString source = how == "file"      ? "the password from "
                               : how == "keyring" ? "the password from the keyring"
                                                  : "the password from ORVALIS_MQTT_PASSWORD";
        QVERIFY2(cli.Error().contains(source), qPrintable(cli.Error()));
        QVERIFY(!cli.Error().contains(password));
        cli.Interrupt();
        cli.Finish();
        QSettings(m_dir.filePath(QStringLiteral("Orvalis.ini")), QSettings::IniFormat)
            .remove(QStringLiteral("Balance"));
    }

    // Over TLS; a killed program leaves the broker's last will: the status
    // turns offline without a goodbye.
    void mqttsWithACaFileArrivesAndAKilledProgramIsOffline()
    {
        MqttTestBroker broker;
        if (const QString why = broker.TlsUnavailable(); !why.isEmpty())
            QSKIP(qPrintable(why));
        QVERIFY(broker.Start());
        MqttTestSubscriber subscriber(broker.Port(), Prefix + "/#", "orvalis-test-capture-tls",
                                      broker.CaFile());
        QTRY_VERIFY_WITH_TIMEOUT(subscriber.Subscribed(), 5000);
        CPtyPair pty;
        CCliProcess cli(Capture(broker, pty, {QStringLiteral("--ca-file"), broker.CaFile()}));
        QVERIFY2(cli.WaitForError(QStringLiteral("MQTT: connected")), qPrintable(cli.Error()));
        QVERIFY(pty.WriteMaster("over TLS\r\n"));
        QTRY_COMPARE_WITH_TIMEOUT(subscriber.Texts(Prefix + "/readings"), QList<QByteArray>{"over TLS"},
                                  10000);
        QCOMPARE(subscriber.Last(Prefix + "/status"), QByteArray("online"));
        cli.Kill();
        QCOMPARE(cli.Finish(), -1);
        QTRY_COMPARE_WITH_TIMEOUT(subscriber.Last(Prefix + "/status"), QByteArray("offline"), 10000);
    }

    void badBrokerAddressIsAUsageError()
    {
        const QList<QPair<QStringList, QString>> rows{
            {{"--mqtt", "mqtt://:1883"}, "no host"},
            {{"--topic", "a"}, "--topic needs --mqtt"},
            {{"--mqtt", "mqtt://x", "--password-file", "/nonexistent/p"}, "--password-file /nonexistent/p:"},
        };
        for (const auto& [options, message] : rows) {
            const CliRun run = RunCli(QStringList{QStringLiteral("capture"), Driver()} + options);
            QCOMPARE(run.exitCode, 2);
            QVERIFY2(run.err.contains(message), qPrintable(run.err));
        }
    }
};

QTEST_MAIN(tst_MqttCapture)
#include "tst_MqttCapture.moc"
