#include "CDriverFile.h"

#include "CArchiveFile.h"

CFileResult CDriverFile::Load(const QString& path, CDriverParameter& driver, CCommParameter& comm,
                              CTerminalParameter& terminal, CFunctionKeysParameter& functionKeys, CScript& script)
{
    return CArchiveFile::Load(path, {&driver, &comm, &terminal, &functionKeys, &script});
}

CFileResult CDriverFile::Store(const QString& path, CDriverParameter& driver, CCommParameter& comm,
                               CTerminalParameter& terminal, CFunctionKeysParameter& functionKeys, CScript& script)
{
    return CArchiveFile::Store(path, {&driver, &comm, &terminal, &functionKeys, &script});
}

CFileResult CDriverFile::Load(const QString& path)
{
    return Load(path, m_Driver, m_Comm, m_Terminal, m_FunctionKeys, m_Script);
}

CFileResult CDriverFile::Store(const QString& path)
{
    return Store(path, m_Driver, m_Comm, m_Terminal, m_FunctionKeys, m_Script);
}

CFileResult CDriverFile::Load(QIODevice& device, const QString& name)
{
    return CArchiveFile::Load(device, name, {&m_Driver, &m_Comm, &m_Terminal, &m_FunctionKeys, &m_Script});
}

CFileResult CDriverFile::Store(QIODevice& device, const QString& name)
{
    return CArchiveFile::Store(device, name, {&m_Driver, &m_Comm, &m_Terminal, &m_FunctionKeys, &m_Script});
}
