#include "CPrinterSettingsFile.h"

#include "CArchiveFile.h"

CFileResult CPrinterSettingsFile::Load(const QString& path, CDriverParameter& driver, CCommParameter& comm,
                                       CTerminalParameter& terminal, CScript& script)
{
    return CArchiveFile::Load(path, {&driver, &comm, &terminal, &script});
}

CFileResult CPrinterSettingsFile::Store(const QString& path, CDriverParameter& driver, CCommParameter& comm,
                                        CTerminalParameter& terminal, CScript& script)
{
    return CArchiveFile::Store(path, {&driver, &comm, &terminal, &script});
}

CFileResult CPrinterSettingsFile::Load(const QString& path)
{
    return Load(path, m_Driver, m_Comm, m_Terminal, m_Script);
}

CFileResult CPrinterSettingsFile::Store(const QString& path)
{
    return Store(path, m_Driver, m_Comm, m_Terminal, m_Script);
}

CFileResult CPrinterSettingsFile::Load(QIODevice& device, const QString& name)
{
    return CArchiveFile::Load(device, name, {&m_Driver, &m_Comm, &m_Terminal, &m_Script});
}

CFileResult CPrinterSettingsFile::Store(QIODevice& device, const QString& name)
{
    return CArchiveFile::Store(device, name, {&m_Driver, &m_Comm, &m_Terminal, &m_Script});
}
