#pragma once

#include <QByteArray>

// Receiver of command texts (bytes as they go on the line, control-code
// notation already decoded); expands the "^$F", "^$S" and "^$E" macros.
// The channel's command sender; the received-data pipeline sends the
// playback file's lines through it.
class CCommandSink
{
public:
    virtual ~CCommandSink() = default;

    virtual int SendCommand(const QByteArray& text) = 0;
};
