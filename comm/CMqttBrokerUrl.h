#pragma once

#include <QString>

// A broker address as the user writes it: "mqtt://host[:port]" (port 1883)
// or "mqtts://host[:port]" (TLS, port 8883). A bare "host[:port]" is taken as
// mqtt://.
class CMqttBrokerUrl
{
public:
    // False with the message quoting the text when it is no broker address.
    static bool Parse(const QString& text, CMqttBrokerUrl& url, QString& error);

    QString m_strHost;
    int m_nPort = 1883;
    bool m_bTls = false;
};
