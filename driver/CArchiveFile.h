#pragma once

#include "CFileResult.h"

#include <initializer_list>

class CRecord;
class QIODevice;
class QString;

// Reads or writes records as consecutive blocks of one archive, the form of
// every driver file. Loading stops at the first block that closed the archive:
// the blocks after it are not read, the fields read before the error keep
// their new values. Bytes after the last block are ignored.
class CArchiveFile
{
public:
    using Records = std::initializer_list<CRecord*>;

    static CFileResult Load(const QString& path, Records records);
    // Writes over the file from its start without shortening it (the tail of
    // a longer old version stays; readers ignore it); creates a missing file.
    // The file changes all at once: a failure leaves the old one untouched.
    static CFileResult Store(const QString& path, Records records);

    // The same over a device that is already open; name is used in messages.
    static CFileResult Load(QIODevice& device, const QString& name, Records records);
    static CFileResult Store(QIODevice& device, const QString& name, Records records);
};
