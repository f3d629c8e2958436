#pragma once

#include "CCliCommand.h"

class CDriverFile;

// "write-examples FOLDER" (not in the help): writes the example instrument
// drivers shipped in res/examples, Balance.tbb and Meter.tbb. Existing files
// are replaced, not overwritten in place, so the result is exactly the
// program's bytes.
class CExamplesCommand : public CCliCommand
{
public:
    int Run(const QStringList& arguments, QTextStream& out, QTextStream& err) override;

    // A balance sending lines like "  12.345 g<CR><LF>".
    static CDriverFile Balance();
    // A meter framing each value with STX ... ETX.
    static CDriverFile Meter();
};
