#pragma once

#include "CCliCommand.h"

// "set-name DRIVER NAME": gives an instrument driver (.tbb) another name;
// its recorded file name follows as on the General page ("Lab 2" ->
// "Lab 2.tbb"), which is where Modify Instrument saves it. The file itself
// is not renamed.
class CNameCommand : public CCliCommand
{
public:
    int Run(const QStringList& arguments, QTextStream& out, QTextStream& err) override;
};
