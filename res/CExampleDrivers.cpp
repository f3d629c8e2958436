#include "CExampleDrivers.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

QStringList CExampleDrivers::Resources()
{
    QStringList paths;
    for (const QString& name : QDir(QStringLiteral(":/examples")).entryList(QDir::Files, QDir::Name))
        paths.append(QStringLiteral(":/examples/") + name);
    return paths;
}

bool CExampleDrivers::HasDrivers(const QString& folder)
{
    return !QDir(folder).entryList({QStringLiteral("*.tbb"), QStringLiteral("*.drv")}, QDir::Files).isEmpty();
}

QStringList CExampleDrivers::CopyInto(const QString& folder, QString& error)
{
    QStringList written;
    for (const QString& resource : Resources()) {
        const QString target = QDir(folder).filePath(QFileInfo(resource).fileName());
        if (QFileInfo::exists(target))
            continue;
        QFile source(resource);
        if (!source.copy(target)) {
            error = QStringLiteral("Cannot copy the example %1: %2").arg(target, source.errorString());
            return written;
        }
        // A copy of a built-in file is read-only; the user's driver is not.
        QFile::setPermissions(target, QFile::ReadOwner | QFile::WriteOwner | QFile::ReadGroup | QFile::ReadOther);
        written.append(target);
    }
    return written;
}
