#pragma once

#include <QString>
#include <QStringList>

class QSettings;

// What an instrument window shows besides the text, kept per driver in
// Orvalis.ini in the driver's section (the driver file stays as it is):
// time stamps (off by default, so the text is what the instrument sent) and
// the time stamp column of the spreadsheet rows (off),
// the hex pane (off), the command line (on), the command line's history and
// whether a lost line is opened again when its device comes back (on).
class CInstrumentViewSettings
{
public:
    void Load(const QSettings& settings, const QString& driverName);
    void Save(QSettings& settings, const QString& driverName) const;

    bool m_bTimeStamps = false;
    bool m_bTimeStampColumn = false;
    bool m_bHexBytes = false;
    bool m_bCommandLine = true;
    bool m_bReconnect = true;
    QStringList m_commandHistory;
};
