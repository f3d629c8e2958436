#pragma once

#include "CFileResult.h"

#include <QByteArray>
#include <QString>

#include <functional>

// Replaces the bytes of a file all at once. The new bytes go to a temporary
// file in the same folder, which is synced to disk and then renamed over the
// file, so a killed program, a full disk or a failed write leaves the old
// file exactly as it was. The replacement keeps the old file's mode and,
// where the system allows, its owner; a symbolic link stays a link and its
// target gets the new bytes.
class CFileReplacer
{
public:
    // Pieces the bytes are written in (and the hook is called for).
    static constexpr qint64 PieceSize = 16 * 1024;

    enum class Tail {
        Drop, // the file holds the new bytes and nothing else
        Keep, // bytes of a longer old file beyond the new length stay, as
              // writing over the file in place would have left them
    };

    // Test seam: called before each piece with its offset; a nonzero result
    // fails the write with that errno value. An empty hook removes it.
    using WriteHook = std::function<int(qint64 offset)>;
    static void SetWriteHook(WriteHook hook);

    static CFileResult Replace(const QString& path, const QByteArray& bytes, Tail tail);

    // The words for a failed system call: "the disk is full" for ENOSPC,
    // otherwise the system's own.
    static QString Reason(int error);
};
