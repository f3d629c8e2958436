#pragma once

#include "CCommParameter.h"
#include "CFileResult.h"
#include "CFunctionKeysParameter.h"
#include "CTerminalParameter.h"

class QIODevice;

// Terminal driver file ".drv": communication, terminal and function keys
// blocks in one archive, nothing before, between or after them.
class CTerminalFile
{
public:
    static constexpr const char* Extension = "drv";

    // For callers that keep the records as members of their own.
    static CFileResult Load(const QString& path, CCommParameter& comm, CTerminalParameter& terminal,
                            CFunctionKeysParameter& functionKeys);
    static CFileResult Store(const QString& path, CCommParameter& comm, CTerminalParameter& terminal,
                             CFunctionKeysParameter& functionKeys);

    // On the records below.
    CFileResult Load(const QString& path);
    CFileResult Store(const QString& path);
    CFileResult Load(QIODevice& device, const QString& name);
    CFileResult Store(QIODevice& device, const QString& name);

    CCommParameter m_Comm;
    CTerminalParameter m_Terminal;
    CFunctionKeysParameter m_FunctionKeys;
};
