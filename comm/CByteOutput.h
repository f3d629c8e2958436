#pragma once

#include <QByteArray>

#include <atomic>

// The write path of a line: the channel's SetOutput, a recorder in the tests.
// Called from the user-interface thread and from the file-sending thread, so
// implementations must be safe to call from both.
class CByteOutput
{
public:
    virtual ~CByteOutput() = default;

    // Writes the bytes in order; nothing when the line is closed.
    virtual void SetOutput(const QByteArray& bytes) = 0;
    // The same for a transfer that can be stopped: once stop is set, a line
    // that takes no more bytes ends the write soon (the rest is dropped).
    virtual void SetOutputUntil(const QByteArray& bytes, const std::atomic<bool>& /*stop*/) { SetOutput(bytes); }
};
