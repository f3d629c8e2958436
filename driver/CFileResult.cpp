#include "CFileResult.h"

CFileResult::CFileResult(Status status, const QString& fileName, qint64 offset, const QString& reason)
    : m_status(status), m_strFileName(fileName), m_nOffset(offset), m_strReason(reason)
{
}

CFileResult CFileResult::Success(const QString& fileName)
{
    return CFileResult(Status::Ok, fileName, -1, QString());
}

CFileResult CFileResult::OpenFailed(const QString& fileName, const QString& systemReason)
{
    return CFileResult(Status::NotOpened, fileName, -1, systemReason);
}

CFileResult CFileResult::DamagedAt(const QString& fileName, qint64 offset, const QString& reason)
{
    return CFileResult(Status::Damaged, fileName, offset, reason);
}

CFileResult CFileResult::WriteFailed(const QString& fileName, qint64 offset, const QString& reason)
{
    return CFileResult(Status::NotWritten, fileName, offset, reason);
}

QString CFileResult::Message() const
{
    switch (m_status) {
    case Status::Ok:
        return QString();
    case Status::NotOpened:
        return QStringLiteral("Cannot open %1: %2").arg(m_strFileName, m_strReason);
    case Status::Damaged:
        return QStringLiteral("%1: damaged at byte %2 (%3)").arg(m_strFileName).arg(m_nOffset).arg(m_strReason);
    case Status::NotWritten:
        if (m_nOffset < 0)
            return QStringLiteral("%1: cannot write (%2)").arg(m_strFileName, m_strReason);
        return QStringLiteral("%1: cannot write at byte %2 (%3)").arg(m_strFileName).arg(m_nOffset).arg(m_strReason);
    }
    return QString();
}
