#pragma once

#include <QHash>
#include <QString>

// The program's version strings, compiled in from the build (Version.h):
// the eight standard keys "CompanyName", "FileDescription", "FileVersion",
// "InternalName", "LegalCopyright", "OriginalFilename", "ProductName",
// "ProductVersion".
class CModuleVersion
{
public:
    virtual ~CModuleVersion() = default;

    // Loads the strings of this program; a module name other than empty
    // (another program) has none here, and gives false.
    bool LoadVersionInfo(const QString& moduleName = QString());
    // The string of that key; empty when nothing is loaded or the key is absent.
    QString GetValue(const QString& key) const;

    static const char* const Keys[8];

private:
    QHash<QString, QString> m_values;
};
