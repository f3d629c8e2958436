#pragma once

#include <QString>
#include <QStringList>

// The example drivers built into the program (res/examples). A program
// folder that holds no driver yet gets them on the first start, so Connect
// Instrument has something to open.
class CExampleDrivers
{
public:
    // ":/examples/Balance.tbb", ...
    static QStringList Resources();
    // True when folder holds an instrument (.tbb) or terminal (.drv) driver.
    static bool HasDrivers(const QString& folder);
    // Copies the examples into folder, leaving files already there alone;
    // the paths written. On failure error names the file and the reason.
    static QStringList CopyInto(const QString& folder, QString& error);
};
