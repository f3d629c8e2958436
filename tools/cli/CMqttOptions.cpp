#include "CMqttOptions.h"

#include "CInstrumentSession.h"
#include "CPasswordKeyring.h"

#include <QCommandLineParser>
#include <QDir>
#include <QEventLoop>
#include <QFile>
#include <QFileInfo>
#include <QSettings>
#include <QStandardPaths>
#include <QTextStream>
#include <QTimer>

namespace {

// How long the end of a capture waits for the broker to take the rest.
constexpr int DrainMs = 3000;
// How long the start waits for the keyring (a desktop may ask to unlock it).
constexpr int KeyringMs = 5000;

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
    , m_user(QStringLiteral("user"), QString(), QStringLiteral("NAME"))
    , m_caFile(QStringLiteral("ca-file"), QString(), QStringLiteral("FILE"))
    , m_passwordFile(QStringLiteral("password-file"), QString(), QStringLiteral("FILE"))
{
    parser.addOptions({m_mqtt, m_topic, m_user, m_caFile, m_passwordFile});
}

const char* const CMqttOptions::Help =
    "  --mqtt URL               also publish every line shown to an MQTT broker\n"
    "                           (mqtt://host[:1883] or mqtts://host[:8883])\n"
    "  --topic PREFIX           topic prefix (default: the driver's, else\n"
    "                           orvalis/<host name>/<driver name>)\n"
    "  --user NAME              broker user name (default: the driver's)\n"
    "  --ca-file FILE           CA certificate of an mqtts:// broker (default: the\n"
    "                           driver's, else the system's certificates)\n"
    "  --password-file FILE     the broker password is the first line of FILE\n"
    "                           (keep it readable by you alone: chmod 600)\n"
    "  The password is never given on the command line. Without --password-file\n"
    "  it comes from the environment variable ORVALIS_MQTT_PASSWORD, else from\n"
    "  the desktop's keyring where the window keeps it, else from Orvalis.ini\n"
    "  (where the window stores it only when the desktop has no keyring).\n";

bool CMqttOptions::Check(QString& error)
{
    if (!m_parser.isSet(m_mqtt)) {
        for (const QCommandLineOption* option : {&m_topic, &m_user, &m_caFile, &m_passwordFile}) {
            if (m_parser.isSet(*option)) {
                error = QStringLiteral("--%1 needs --mqtt").arg(option->names().front());
                return false;
            }
        }
        return true;
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
    if (m_parser.isSet(m_caFile) && !QFileInfo(m_parser.value(m_caFile)).isReadable()) {
        error = QStringLiteral("--ca-file %1: cannot be read").arg(m_parser.value(m_caFile));
        return false;
    }
    if (!m_parser.isSet(m_passwordFile))
        return true;
    QFile file(m_parser.value(m_passwordFile));
    if (!file.open(QIODevice::ReadOnly)) {
        error = QStringLiteral("--password-file %1: %2").arg(file.fileName(), file.errorString());
        return false;
    }
    QByteArray line = file.readLine(64 * 1024);
    while (line.endsWith('\n') || line.endsWith('\r'))
        line.chop(1);
    m_strFilePassword = QString::fromUtf8(line);
    return true;
}

QString CMqttOptions::FindPassword(const QString& driverName)
{
    if (m_parser.isSet(m_passwordFile)) {
        m_settings.m_strPassword = m_strFilePassword;
        const QFile::Permissions others = QFile::ReadGroup | QFile::ReadOther;
        const bool shared = QFileInfo(m_parser.value(m_passwordFile)).permissions() & others;
        return QStringLiteral("from %1%2").arg(m_parser.value(m_passwordFile),
                                              shared ? QStringLiteral(" (which other users can read: chmod 600 it)")
                                                     : QString());
    }
    if (qEnvironmentVariableIsSet(PasswordVariable)) {
        m_settings.m_strPassword = qEnvironmentVariable(PasswordVariable);
        return QStringLiteral("from %1").arg(QLatin1String(PasswordVariable));
    }
    QEventLoop wait;
    QString source;
    CPasswordKeyring::Read(driverName, &m_context,
                           [&](CPasswordKeyring::Result result, const QString& password, const QString&) {
                               if (result == CPasswordKeyring::Result::Found) {
                                   m_settings.m_strPassword = password;
                                   source = QStringLiteral("from the keyring");
                               }
                               wait.quit();
                           });
    QTimer::singleShot(KeyringMs, &wait, &QEventLoop::quit);
    wait.exec();
    if (source.isEmpty() && !m_settings.m_strPassword.isEmpty())
        source = QStringLiteral("from Orvalis.ini");
    return source;
}

void CMqttOptions::Start(CInstrumentSession& session, const QString& driverName, QTextStream& err)
{
    if (!m_parser.isSet(m_mqtt))
        return;
    const QSettings profile(ProfilePath(), QSettings::IniFormat);
    m_settings.Load(profile, driverName);
    m_settings.m_strBroker = m_parser.value(m_mqtt);
    if (m_parser.isSet(m_topic))
        m_settings.m_strTopic = m_parser.value(m_topic);
    if (m_parser.isSet(m_user))
        m_settings.m_strUser = m_parser.value(m_user);
    if (m_parser.isSet(m_caFile))
        m_settings.m_strCaFile = m_parser.value(m_caFile);
    if (!m_settings.m_strUser.isEmpty()) {
        const QString source = FindPassword(driverName);
        if (source.isEmpty())
            err << "MQTT: no password for user " << m_settings.m_strUser << " (--password-file, "
                << PasswordVariable << " or the keyring)\n";
        else
            err << "MQTT: user " << m_settings.m_strUser << ", the password " << source << "\n";
    }
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
