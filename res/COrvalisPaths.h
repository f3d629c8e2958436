#pragma once

#include <QString>

// The program folder: playback files, "v24print.drv", the driver dialogs and
// the command line's driver option are relative to it. The environment value
// ORVALIS_HOME overrides it; otherwise it is the executable's folder when
// that is writable, else the user's data folder (created on first use).
class COrvalisPaths
{
public:
    static QString ProgramFolder();
    // name inside the program folder; an absolute path is kept as it is.
    static QString InProgramFolder(const QString& name);
};
