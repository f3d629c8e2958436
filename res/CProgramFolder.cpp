#include "CProgramFolder.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QStandardPaths>

QString CProgramFolder::Resolve(const QString& home, const QString& exeFolder, bool bExeFolderWritable,
                                const QString& dataFolder)
{
    if (!home.isEmpty())
        return QDir::cleanPath(home);
    if (bExeFolderWritable)
        return QDir::cleanPath(exeFolder);
    return QDir::cleanPath(dataFolder);
}

QString CProgramFolder::Path()
{
    const QString home = qEnvironmentVariable("ORVALIS_HOME");
    const QString exeFolder = QCoreApplication::applicationDirPath();
    const bool bWritable = QFileInfo(exeFolder).isWritable();
    QString dataFolder;
    if (home.isEmpty() && !bWritable) {
        dataFolder = QStandardPaths::writableLocation(QStandardPaths::AppDataLocation);
        QDir().mkpath(dataFolder);
    }
    return Resolve(home, exeFolder, bWritable, dataFolder);
}
