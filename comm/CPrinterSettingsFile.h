#pragma once

#include "CCommParameter.h"
#include "CDriverParameter.h"
#include "CFileResult.h"
#include "CScript.h"
#include "CTerminalParameter.h"

class QIODevice;

// Settings of the serial printer line, "v24print.drv" in the program folder:
// driver, communication, terminal and script blocks in one archive (the
// instrument driver's blocks without the function keys).
class CPrinterSettingsFile
{
public:
    static constexpr const char* FileName = "v24print.drv";

    // For callers that keep the records as members of their own.
    static CFileResult Load(const QString& path, CDriverParameter& driver, CCommParameter& comm,
                            CTerminalParameter& terminal, CScript& script);
    static CFileResult Store(const QString& path, CDriverParameter& driver, CCommParameter& comm,
                             CTerminalParameter& terminal, CScript& script);

    // On the records below.
    CFileResult Load(const QString& path);
    CFileResult Store(const QString& path);
    CFileResult Load(QIODevice& device, const QString& name);
    CFileResult Store(QIODevice& device, const QString& name);

    CDriverParameter m_Driver;
    CCommParameter m_Comm;
    CTerminalParameter m_Terminal;
    CScript m_Script;
};
