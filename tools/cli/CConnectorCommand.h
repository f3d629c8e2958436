#pragma once

#include "CCliCommand.h"

// "set-connector DRIVER CONNECTOR": points an instrument driver (.tbb) at
// another connector ("COM3", "/dev/ttyUSB0", a converter's serial number,
// "None"), every other setting unchanged. The file is replaced only when
// the whole driver was written.
class CConnectorCommand : public CCliCommand
{
public:
    int Run(const QStringList& arguments, QTextStream& out, QTextStream& err) override;
};
