#pragma once

#include <QSettings>
#include <QString>

// The program's private settings file "Orvalis.ini", section "Settings":
// "Window", "LastUsedDriver", "LastTerminalDriver" (written at exit) and the
// switches "DebugConnection", "Progress", "TotalBytesDlg" (only read).
class CProfile
{
public:
    // ORVALIS_HOME/Orvalis.ini when ORVALIS_HOME is set, else Orvalis.ini in
    // the user's configuration folder (~/.config/Orvalis/Orvalis.ini).
    static QString DefaultPath();

    explicit CProfile(const QString& path);

    QString Path() const { return m_settings.fileName(); }
    static inline const QString Settings = QStringLiteral("Settings");

    QString GetProfileString(const QString& section, const QString& entry,
                             const QString& defaultValue = QString()) const;
    // A value that is not an integer reads as defaultValue.
    int GetProfileInt(const QString& section, const QString& entry, int defaultValue = 0) const;
    void WriteProfileString(const QString& section, const QString& entry, const QString& value);
    // Writes the file now; false (with the reason) when it cannot be written.
    bool Flush(QString* reason = nullptr);

private:
    static QString Key(const QString& section, const QString& entry) { return section + QLatin1Char('/') + entry; }

    mutable QSettings m_settings;
};
