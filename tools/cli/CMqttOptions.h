#pragma once

#include "CMqttPublisher.h"
#include "CPublishingSettings.h"

#include <QCommandLineOption>
#include <QObject>
#include <QString>

class CInstrumentSession;
class QCommandLineParser;
class QTextStream;

// --mqtt URL [--topic PREFIX] [--user NAME] [--ca-file FILE]
// [--password-file FILE] of "capture": every line shown is also published to
// the broker. What is not given comes from the driver's section of
// Orvalis.ini, as the window keeps it. The password never stands on the
// command line: --password-file, else the environment variable
// ORVALIS_MQTT_PASSWORD, else the desktop's keyring (where the window put
// it), else Orvalis.ini (where the window had no keyring). The link's state
// goes to standard error.
class CMqttOptions
{
public:
    static constexpr const char* PasswordVariable = "ORVALIS_MQTT_PASSWORD";
    static const char* const Help;

    explicit CMqttOptions(QCommandLineParser& parser);

    // After parsing; false with the message (starting with the option).
    bool Check(QString& error);
    // Starts publishing the session's lines when --mqtt was given (asks the
    // keyring first, for a few seconds at most, when it has to).
    void Start(CInstrumentSession& session, const QString& driverName, QTextStream& err);
    // Sends the open line, waits a little for the broker to take what is
    // waiting, and says what is left in the journal.
    void Finish(CInstrumentSession& session, QTextStream& err);

private:
    // The password's source for the message, empty when there is none.
    QString FindPassword(const QString& driverName);

    QCommandLineParser& m_parser;
    QCommandLineOption m_mqtt;
    QCommandLineOption m_topic;
    QCommandLineOption m_user;
    QCommandLineOption m_caFile;
    QCommandLineOption m_passwordFile;
    QString m_strFilePassword;
    CPublishingSettings m_settings;
    CMqttPublisher m_publisher;
    QObject m_context;
};
