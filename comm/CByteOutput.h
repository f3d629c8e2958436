#pragma once

#include <QByteArray>

// The write path of a line: the channel's SetOutput, a recorder in the tests.
// Called from the user-interface thread and from the file-sending thread, so
// implementations must be safe to call from both.
class CByteOutput
{
public:
    virtual ~CByteOutput() = default;

    // Writes the bytes in order; nothing when the line is closed.
    virtual void SetOutput(const QByteArray& bytes) = 0;
};
