#pragma once

#include "CCliCommand.h"

// "capture DRIVER [--port NAME] [--cells FILE.csv] [--record FILE]
// [--serial N] [--key N] [--playback NAME]": opens the driver's line (or the
// named one) and prints what the instrument window would show, writes the
// cells as CSV, answers line feeds from a playback file, until Ctrl-C
// (exit 0) or until the line goes away (exit 1).
class CCaptureCommand : public CCliCommand
{
public:
    int Run(const QStringList& arguments, QTextStream& out, QTextStream& err) override;
};
