#pragma once

#include <QString>

// Files the program reads or writes as a whole (drivers, recordings,
// playback files, files to send) must be regular files: opening a FIFO
// blocks until someone writes to it, and a device never ends.
class CRegularFile
{
public:
    // False with the reason ("a FIFO, not a regular file") when the path
    // names something else; true for a regular file, a symbolic link to
    // one, and a path that does not exist (opening it says so).
    static bool Check(const QString& path, QString* reason);
};
