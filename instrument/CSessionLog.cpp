#include "CSessionLog.h"

#include <sys/stat.h>

bool CSessionLog::Start(const QString& path)
{
    Stop();
    m_strError.clear();
    m_display.Reset();
    m_file.setFileName(path);
    if (!m_file.open(QIODevice::WriteOnly | QIODevice::Append | QIODevice::Unbuffered)) {
        m_strError = QStringLiteral("Cannot log to %1: %2").arg(path, m_file.errorString());
        return false;
    }
    return true;
}

void CSessionLog::Stop()
{
    if (m_file.isOpen())
        m_file.close();
}

void CSessionLog::AppendBytes(const QByteArray& bytes)
{
    m_target.AppendBytes(bytes);
    if (!m_file.isOpen() || bytes.isEmpty())
        return;
    const QByteArray text = m_display.Convert(bytes).toUtf8();
    if (m_file.write(text) != text.size()) {
        Fail(m_file.errorString());
        return;
    }
    // Writes to a file whose folder was removed still succeed, into nothing.
    struct stat status = {};
    if (::fstat(m_file.handle(), &status) == 0 && status.st_nlink == 0)
        Fail(QStringLiteral("the file was removed"));
}

void CSessionLog::Fail(const QString& reason)
{
    m_strError = QStringLiteral("Logging to %1 stopped: %2").arg(m_file.fileName(), reason);
    m_file.close();
}
