#pragma once

#include "CCommParameter.h"
#include "CDriverParameter.h"
#include "CFileResult.h"
#include "CFunctionKeysParameter.h"
#include "CScript.h"
#include "CTerminalParameter.h"

class QIODevice;

// Instrument driver file ".tbb": driver, communication, terminal, function
// keys and script blocks in one archive, without header or version. The
// script's object numbering counts from the start of the file.
class CDriverFile
{
public:
    static constexpr const char* Extension = "tbb";

    // For callers that keep the records as members of their own.
    static CFileResult Load(const QString& path, CDriverParameter& driver, CCommParameter& comm,
                            CTerminalParameter& terminal, CFunctionKeysParameter& functionKeys, CScript& script);
    static CFileResult Store(const QString& path, CDriverParameter& driver, CCommParameter& comm,
                             CTerminalParameter& terminal, CFunctionKeysParameter& functionKeys, CScript& script);

    // On the records below.
    CFileResult Load(const QString& path);
    CFileResult Store(const QString& path);
    CFileResult Load(QIODevice& device, const QString& name);
    CFileResult Store(QIODevice& device, const QString& name);

    CDriverParameter m_Driver;
    CCommParameter m_Comm;
    CTerminalParameter m_Terminal;
    CFunctionKeysParameter m_FunctionKeys;
    CScript m_Script;
};
