#include "CInstrumentViewSettings.h"

#include "CPublishingSettings.h"

#include <QSettings>

namespace {

const QString TimeStamps = QStringLiteral("TimeStamps");
const QString TimeStampColumn = QStringLiteral("TimeStampColumn");
const QString HexBytes = QStringLiteral("HexBytes");
const QString CommandLine = QStringLiteral("CommandLine");
const QString CommandHistory = QStringLiteral("CommandHistory");
const QString Reconnect = QStringLiteral("ReconnectAutomatically");

} // namespace

void CInstrumentViewSettings::Load(const QSettings& settings, const QString& driverName)
{
    const QString section = CPublishingSettings::Section(driverName) + QLatin1Char('/');
    m_bTimeStamps = settings.value(section + TimeStamps, false).toBool();
    m_bTimeStampColumn = settings.value(section + TimeStampColumn, false).toBool();
    m_bHexBytes = settings.value(section + HexBytes, false).toBool();
    m_bCommandLine = settings.value(section + CommandLine, true).toBool();
    m_commandHistory = settings.value(section + CommandHistory).toStringList();
    m_bReconnect = settings.value(section + Reconnect, true).toBool();
}

void CInstrumentViewSettings::Save(QSettings& settings, const QString& driverName) const
{
    settings.beginGroup(CPublishingSettings::Section(driverName));
    settings.setValue(TimeStamps, m_bTimeStamps);
    settings.setValue(TimeStampColumn, m_bTimeStampColumn);
    settings.setValue(HexBytes, m_bHexBytes);
    settings.setValue(CommandLine, m_bCommandLine);
    settings.setValue(Reconnect, m_bReconnect);
    if (m_commandHistory.isEmpty())
        settings.remove(CommandHistory);
    else
        settings.setValue(CommandHistory, m_commandHistory);
    settings.endGroup();
}
