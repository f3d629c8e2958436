#pragma once

#include "CCliCommand.h"

// "screen DRIVER.drv FILE": feeds the bytes of FILE (raw bytes, or a capture
// written by "capture --record") through a terminal window's receive path,
// CR -> CR/LF receiving of the driver included, into a screen of the
// driver's emulation, rows and columns, and prints the final screen: one
// line per row, trailing blanks removed. Answers of the emulation are not
// sent anywhere.
class CScreenCommand : public CCliCommand
{
public:
    int Run(const QStringList& arguments, QTextStream& out, QTextStream& err) override;
};
