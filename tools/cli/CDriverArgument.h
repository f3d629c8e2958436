#pragma once

#include <QString>

class CDriverFile;

// An instrument driver named on the command line, read whole or not at all;
// the messages name the file and the reason.
class CDriverArgument
{
public:
    // False with error set: "x.drv is a terminal driver, not an instrument
    // driver", "Cannot open lab.tbb: ...", "lab.tbb: damaged at byte 96 (...)".
    static bool Load(const QString& path, CDriverFile& driver, QString& error);
};
