#pragma once

#include "CCliCommand.h"

// "replay DRIVER FILE [--cells FILE.csv]": runs the bytes recorded by
// "capture --record" (or any file of raw bytes) through the instrument
// pipeline of the driver and prints what the instrument window would have
// shown. Nothing is sent; delay lines of playback files do not apply.
class CReplayCommand : public CCliCommand
{
public:
    int Run(const QStringList& arguments, QTextStream& out, QTextStream& err) override;
};
