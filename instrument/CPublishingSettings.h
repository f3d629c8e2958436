#pragma once

#include "CMqttPublisher.h"

#include <QString>

class QSettings;

// Where a driver's readings are published, kept in Orvalis.ini in a section
// named after the driver (the driver file stays as it is). No broker: off.
// The password is in the file only where no keyring holds it.
class CPublishingSettings
{
public:
    // "orvalis/<host name>/<driver name>", without the characters a topic
    // may not carry.
    static QString DefaultTopic(const QString& driverName);
    // The section of a driver ("/" and "\" would nest or escape it).
    static QString Section(const QString& driverName);
    // The journal of a driver's messages in the user's data folder.
    static QString JournalPath(const QString& driverName);
    // False with the message when prefix cannot begin a topic.
    static bool CheckTopic(const QString& prefix, QString& error);

    void Load(const QSettings& settings, const QString& driverName);
    // The password only when passwordInFile; otherwise it is removed there.
    void Save(QSettings& settings, const QString& driverName, bool passwordInFile) const;

    bool IsOn() const { return !m_strBroker.trimmed().isEmpty(); }
    QString Topic(const QString& driverName) const;
    // The publisher's options; false with the message for a bad broker
    // address or topic.
    bool MakeOptions(const QString& driverName, CMqttPublisher::Options& options, QString& error) const;

    QString m_strBroker;
    QString m_strCaFile;
    QString m_strUser;
    QString m_strPassword;
    QString m_strTopic; // empty: the default topic
};
