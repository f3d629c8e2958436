#include "CMqttOptions.h"

#include "CInstrumentSession.h"

#include <QCommandLineParser>
#include <QDir>
#include <QSettings>
#include <QStandardPaths>
#include <QTextStream>

namespace {

// How long the end of a capture waits for the broker to take the rest.
constexpr int DrainMs = 3000;

// The program's Orvalis.ini, where the window keeps a driver's broker.
QString ProfilePath()
{
    const QString home = qEnvironmentVariable("ORVALIS_HOME");
    if (!home.isEmpty())
        return QDir(home).filePath(QStringLiteral("Orvalis.ini"));
    return QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation) + QStringLiteral("/Orvalis/Orvalis.ini");
}

} // namespace

CMqttOptions::CMqttOptions(QCommandLineParser& parser)
    : m_parser(parser)
    , m_mqtt(QStringLiteral("mqtt"), QString(), QStringLiteral("URL"))
    , m_topic(QStringLiteral("topic"), QString(), QStringLiteral("PREFIX"))
{
    parser.addOptions({m_mqtt, m_topic});
}

bool CMqttOptions::Check(QString& error)
{
    if (!m_parser.isSet(m_mqtt)) {
        if (!m_parser.isSet(m_topic))
            return true;
        error = QStringLiteral("--topic needs --mqtt");
        return false;
    }
    CMqttBrokerUrl url;
    if (!CMqttBrokerUrl::Parse(m_parser.value(m_mqtt), url, error)) {
        error = QStringLiteral("--mqtt: ") + error;
        return false;
    }
    if (m_parser.isSet(m_topic) && !CPublishingSettings::CheckTopic(m_parser.value(m_topic), error)) {
        error = QStringLiteral("--topic: ") + error;
        return false;
    }
    return true;
}

void CMqttOptions::Start(CInstrumentSession& session, const QString& driverName, QTextStream& err)
{
    if (!m_parser.isSet(m_mqtt))
        return;
    const QSettings profile(ProfilePath(), QSettings::IniFormat);
    m_settings.Load(profile, driverName);
    m_settings.m_strBroker = m_parser.value(m_mqtt);
    m_settings.m_strTopic = m_parser.value(m_topic);
    CMqttPublisher::Options options;
    QString error;
    m_settings.MakeOptions(driverName, options, error); // checked in Check
    QObject::connect(&m_publisher, &CMqttPublisher::StateChanged, &m_context,
                     [&err](CMqttPublisher::State state, const QString& reason) {
                         err << "MQTT: " << CMqttPublisher::StateText(state);
                         if (!reason.isEmpty())
                             err << ": " << reason;
                         err << "\n";
                         err.flush();
                     });
    QObject::connect(&m_publisher, &CMqttPublisher::MessagesDropped, &m_context, [&err](qint64 count) {
        err << "MQTT: the queue for the broker is full; the oldest " << count << " readings were dropped\n";
        err.flush();
    });
    QObject::connect(&m_publisher, &CMqttPublisher::Failed, &m_context, [&err](const QString& message) {
        err << "MQTT: " << message << "\n";
        err.flush();
    });
    err << "Publishing to " << options.broker.m_strHost << ":" << options.broker.m_nPort << " on "
        << options.topicPrefix << "/readings\n";
    m_publisher.Start(options);
    session.PublishTo([this](const QByteArray& json) { m_publisher.Publish(json); }, driverName);
}

void CMqttOptions::Finish(CInstrumentSession& session, QTextStream& err)
{
    if (!m_parser.isSet(m_mqtt))
        return;
    session.FlushPublishing();
    m_publisher.Stop(DrainMs);
    QObject::disconnect(&m_publisher, nullptr, &m_context, nullptr);
    if (const qint64 waiting = m_publisher.Waiting())
        err << "MQTT: " << waiting << " readings wait in " << QDir::toNativeSeparators(m_publisher.JournalPath())
            << " and go out with the next capture of this driver\n";
}
