#include "CModuleVersion.h"

#include "Version.h"

#include <QCoreApplication>
#include <QFileInfo>

const char* const CModuleVersion::Keys[8] = {"CompanyName",    "FileDescription",  "FileVersion", "InternalName",
                                             "LegalCopyright", "OriginalFilename", "ProductName", "ProductVersion"};

bool CModuleVersion::LoadVersionInfo(const QString& moduleName)
{
    m_values.clear();
    if (!moduleName.isEmpty())
        return false;
    const QString fileName = QFileInfo(QCoreApplication::applicationFilePath()).fileName();
    m_values = {
        {QStringLiteral("CompanyName"), QStringLiteral("The Orvalis developers")},
        {QStringLiteral("FileDescription"), QStringLiteral(ORVALIS_DESCRIPTION)},
        {QStringLiteral("FileVersion"), QStringLiteral(ORVALIS_VERSION)},
        {QStringLiteral("InternalName"), QStringLiteral("orvalis")},
        {QStringLiteral("LegalCopyright"), QStringLiteral(ORVALIS_LEGAL_NOTICE)},
        {QStringLiteral("OriginalFilename"), fileName},
        {QStringLiteral("ProductName"), QStringLiteral("Orvalis")},
        {QStringLiteral("ProductVersion"), QStringLiteral(ORVALIS_VERSION)},
    };
    return true;
}

QString CModuleVersion::GetValue(const QString& key) const
{
    return m_values.value(key);
}
