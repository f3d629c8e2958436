#pragma once

#include <QString>

// The folder that driver dialogs open in, that new and modified instrument
// drivers are written to, and that "v24print.drv", playback files and the
// command line's driver option are relative to.
class CProgramFolder
{
public:
    // ORVALIS_HOME when set; else the executable's folder when it is
    // writable; else the user's data folder (created when missing).
    static QString Path();
    // The rule itself, for given facts.
    static QString Resolve(const QString& home, const QString& exeFolder, bool bExeFolderWritable,
                           const QString& dataFolder);
};
