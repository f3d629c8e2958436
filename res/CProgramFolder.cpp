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
        // Named here, not after the running program: the desktop program and
        // orvalis-cli share it.
        dataFolder = QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation) +
                     QStringLiteral("/Orvalis");
        QDir().mkpath(dataFolder);
    }
    return Resolve(home, exeFolder, bWritable, dataFolder);
}
