#include "COrvalisPaths.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QStandardPaths>

namespace {

QString ExecutableFolder()
{
    if (QCoreApplication::instance())
        return QCoreApplication::applicationDirPath();
    // Before (or without) an application object the kernel still knows.
    return QFileInfo(QStringLiteral("/proc/self/exe")).canonicalPath();
}

QString UserDataFolder()
{
    QString folder = QStandardPaths::writableLocation(QStandardPaths::AppDataLocation);
    if (folder.isEmpty())
        folder = QDir::homePath() + QStringLiteral("/.local/share/Orvalis");
    QDir().mkpath(folder);
    return folder;
}

} // namespace

QString COrvalisPaths::ProgramFolder()
{
    const QString home = qEnvironmentVariable("ORVALIS_HOME");
    if (!home.isEmpty())
        return QDir::cleanPath(home);
    const QString executable = ExecutableFolder();
    if (!executable.isEmpty() && QFileInfo(executable).isWritable())
        return executable;
    return UserDataFolder();
}

QString COrvalisPaths::InProgramFolder(const QString& name)
{
    return QDir(ProgramFolder()).filePath(name);
}
