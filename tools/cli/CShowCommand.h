#pragma once

#include "CCliCommand.h"

// "show FILE": prints every record of an instrument driver (.tbb), a terminal
// driver (.drv) or the printer settings (v24print.drv) in a readable form.
class CShowCommand : public CCliCommand
{
public:
    int Run(const QStringList& arguments, QTextStream& out, QTextStream& err) override;
};
