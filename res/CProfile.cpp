#include "CProfile.h"

#include <QDir>
#include <QFileInfo>
#include <QStandardPaths>

QString CProfile::DefaultPath()
{
    const QString home = qEnvironmentVariable("ORVALIS_HOME");
    const QString folder = home.isEmpty()
                               ? QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation) +
                                     QStringLiteral("/Orvalis")
                               : home;
    return QDir(folder).filePath(QStringLiteral("Orvalis.ini"));
}

CProfile::CProfile(const QString& path)
    : m_settings(path, QSettings::IniFormat)
{
}

QString CProfile::GetProfileString(const QString& section, const QString& entry,
                                   const QString& defaultValue) const
{
    return m_settings.value(Key(section, entry), defaultValue).toString();
}

int CProfile::GetProfileInt(const QString& section, const QString& entry, int defaultValue) const
{
    bool bOk = false;
    const int value = m_settings.value(Key(section, entry)).toString().trimmed().toInt(&bOk);
    return bOk ? value : defaultValue;
}

void CProfile::WriteProfileString(const QString& section, const QString& entry, const QString& value)
{
    m_settings.setValue(Key(section, entry), value);
}

bool CProfile::Flush(QString* reason)
{
    QDir().mkpath(QFileInfo(m_settings.fileName()).absolutePath());
    m_settings.sync();
    if (m_settings.status() == QSettings::NoError)
        return true;
    if (reason)
        *reason = m_settings.status() == QSettings::AccessError ? QStringLiteral("cannot be written")
                                                                 : QStringLiteral("format error");
    return false;
}
