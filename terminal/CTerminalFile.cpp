#include "CTerminalFile.h"

#include "CArchiveFile.h"

CFileResult CTerminalFile::Load(const QString& path, CCommParameter& comm, CTerminalParameter& terminal,
                                CFunctionKeysParameter& functionKeys)
{
    return CArchiveFile::Load(path, {&comm, &terminal, &functionKeys});
}

CFileResult CTerminalFile::Store(const QString& path, CCommParameter& comm, CTerminalParameter& terminal,
                                 CFunctionKeysParameter& functionKeys)
{
    return CArchiveFile::Store(path, {&comm, &terminal, &functionKeys});
}

CFileResult CTerminalFile::Load(const QString& path)
{
    return Load(path, m_Comm, m_Terminal, m_FunctionKeys);
}

CFileResult CTerminalFile::Store(const QString& path)
{
    return Store(path, m_Comm, m_Terminal, m_FunctionKeys);
}

CFileResult CTerminalFile::Load(QIODevice& device, const QString& name)
{
    return CArchiveFile::Load(device, name, {&m_Comm, &m_Terminal, &m_FunctionKeys});
}

CFileResult CTerminalFile::Store(QIODevice& device, const QString& name)
{
    return CArchiveFile::Store(device, name, {&m_Comm, &m_Terminal, &m_FunctionKeys});
}
