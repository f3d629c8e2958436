#pragma once

#include "CMqttPublisher.h"
#include "CPublishingSettings.h"

#include <QCommandLineOption>
#include <QObject>
#include <QString>

class CInstrumentSession;
class QCommandLineParser;
class QTextStream;

// --mqtt URL [--topic PREFIX] of "capture": every line shown is also
// published to the broker (the driver's user name, password and CA file
// from Orvalis.ini, when the driver has them there). The link's state goes
// to standard error.
class CMqttOptions
{
public:
    explicit CMqttOptions(QCommandLineParser& parser);

    // After parsing; false with the message (starting with the option).
    bool Check(QString& error);
    // Starts publishing the session's lines when --mqtt was given.
    void Start(CInstrumentSession& session, const QString& driverName, QTextStream& err);
    // Sends the open line, waits a little for the broker to take what is
    // waiting, and says what is left in the journal.
    void Finish(CInstrumentSession& session, QTextStream& err);

private:
    QCommandLineParser& m_parser;
    QCommandLineOption m_mqtt;
    QCommandLineOption m_topic;
    CPublishingSettings m_settings;
    CMqttPublisher m_publisher;
    QObject m_context;
};
