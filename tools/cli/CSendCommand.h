#pragma once

#include "CCliCommand.h"

// "send DRIVER [--port NAME] [--serial N] (--key N | --text TEXT | --file
// PATH)": sends function key N's command, a command text in the
// control-code notation ("P<CR><LF>") or a file over the driver's line, with
// the command macros; the progress of files goes to standard error. Ends
// when everything, files and queued text included, is on the line.
class CSendCommand : public CCliCommand
{
public:
    int Run(const QStringList& arguments, QTextStream& out, QTextStream& err) override;
};
