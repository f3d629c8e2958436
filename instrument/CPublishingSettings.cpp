#include "CPublishingSettings.h"

#include <QSettings>
#include <QStandardPaths>
#include <QSysInfo>

namespace {

const QString Broker = QStringLiteral("MqttBroker");
const QString CaFile = QStringLiteral("MqttCaFile");
const QString User = QStringLiteral("MqttUser");
const QString Password = QStringLiteral("MqttPassword");
const QString TopicKey = QStringLiteral("MqttTopic");

QString TopicLevel(QString text)
{
    for (QChar& c : text) {
        if (c == QLatin1Char('/') || c == QLatin1Char('+') || c == QLatin1Char('#') || c.unicode() < 32)
            c = QLatin1Char('_');
    }
    return text.isEmpty() ? QStringLiteral("_") : text;
}

} // namespace

QString CPublishingSettings::DefaultTopic(const QString& driverName)
{
    return QStringLiteral("orvalis/%1/%2").arg(TopicLevel(QSysInfo::machineHostName()), TopicLevel(driverName));
}

QString CPublishingSettings::Section(const QString& driverName)
{
    QString section = driverName;
    section.replace(QLatin1Char('/'), QLatin1Char('_')).replace(QLatin1Char('\\'), QLatin1Char('_'));
    return section.isEmpty() ? QStringLiteral("_") : section;
}

QString CPublishingSettings::JournalPath(const QString& driverName)
{
    return QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation)
        + QStringLiteral("/Orvalis/mqtt/%1.journal").arg(TopicLevel(driverName));
}

bool CPublishingSettings::CheckTopic(const QString& prefix, QString& error)
{
    if (prefix.isEmpty() || prefix.contains(QLatin1Char('+')) || prefix.contains(QLatin1Char('#'))
        || prefix.endsWith(QLatin1Char('/')) || prefix.toUtf8().size() > 60000) {
        error = QStringLiteral("Topic prefix \"%1\": must not be empty, end with \"/\" or hold \"+\" or \"#\"").arg(prefix);
        return false;
    }
    return true;
}

void CPublishingSettings::Load(const QSettings& settings, const QString& driverName)
{
    const QString section = Section(driverName) + QLatin1Char('/');
    m_strBroker = settings.value(section + Broker).toString();
    m_strCaFile = settings.value(section + CaFile).toString();
    m_strUser = settings.value(section + User).toString();
    m_strPassword = settings.value(section + Password).toString();
    m_strTopic = settings.value(section + TopicKey).toString();
}

void CPublishingSettings::Save(QSettings& settings, const QString& driverName, bool passwordInFile) const
{
    settings.beginGroup(Section(driverName));
    const auto put = [&](const QString& key, const QString& value) {
        if (value.isEmpty())
            settings.remove(key);
        else
            settings.setValue(key, value);
    };
    put(Broker, m_strBroker.trimmed());
    put(CaFile, m_strCaFile);
    put(User, m_strUser);
    put(Password, passwordInFile ? m_strPassword : QString());
    put(TopicKey, m_strTopic == DefaultTopic(driverName) ? QString() : m_strTopic);
    settings.endGroup();
}

QString CPublishingSettings::Topic(const QString& driverName) const
{
    return m_strTopic.isEmpty() ? DefaultTopic(driverName) : m_strTopic;
}

bool CPublishingSettings::MakeOptions(const QString& driverName, CMqttPublisher::Options& options, QString& error) const
{
    if (!CMqttBrokerUrl::Parse(m_strBroker, options.broker, error) || !CheckTopic(Topic(driverName), error))
        return false;
    options.caFile = m_strCaFile;
    options.user = m_strUser;
    options.password = m_strPassword;
    options.topicPrefix = Topic(driverName);
    options.journalPath = JournalPath(driverName);
    return true;
}
