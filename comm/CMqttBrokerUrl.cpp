#include "CMqttBrokerUrl.h"

#include <QUrl>

bool CMqttBrokerUrl::Parse(const QString& text, CMqttBrokerUrl& url, QString& error)
{
    const QString trimmed = text.trimmed();
    const QUrl parsed(trimmed.contains(QStringLiteral("://")) ? trimmed : QStringLiteral("mqtt://") + trimmed,
                      QUrl::StrictMode);
    const QString scheme = parsed.scheme().toLower();
    const auto fail = [&](const QString& reason) {
        error = QStringLiteral("Broker \"%1\": %2").arg(text, reason);
        return false;
    };
    if (!parsed.isValid())
        return fail(parsed.errorString());
    if (scheme != QLatin1String("mqtt") && scheme != QLatin1String("mqtts"))
        return fail(QStringLiteral("the address must begin with mqtt:// or mqtts://"));
    if (parsed.host().isEmpty())
        return fail(QStringLiteral("no host name"));
    if (!parsed.path().isEmpty() && parsed.path() != QLatin1String("/"))
        return fail(QStringLiteral("a broker address has no path (the topic is set apart)"));
    if (!parsed.userInfo().isEmpty())
        return fail(QStringLiteral("put the user name and password in their own fields"));
    url.m_bTls = scheme == QLatin1String("mqtts");
    url.m_strHost = parsed.host();
    url.m_nPort = parsed.port(url.m_bTls ? 8883 : 1883);
    if (url.m_nPort <= 0)
        return fail(QStringLiteral("port %1 is not a port").arg(url.m_nPort));
    return true;
}
