#include "CCaptureWriter.h"

#include "CFileReplacer.h"

#include <QFile>
#include <QtEndian>

#include <cerrno>
#include <fcntl.h>
#include <unistd.h>

CCaptureWriter::~CCaptureWriter()
{
    if (m_fd >= 0)
        ::close(m_fd);
}

bool CCaptureWriter::Open(const QString& path)
{
    m_strPath = path;
    m_strPartPath = path + QStringLiteral(".part");
    m_fd = ::open(QFile::encodeName(m_strPartPath).constData(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
    if (m_fd < 0)
        return Fail(m_strPartPath);
    return Write(Header);
}

bool CCaptureWriter::Append(const QByteArray& block)
{
    if (block.isEmpty() || !m_strError.isEmpty())
        return m_strError.isEmpty();
    char length[4];
    qToLittleEndian(quint32(block.size()), length);
    return Write(QByteArray(length, 4) + block);
}

bool CCaptureWriter::Finish()
{
    if (m_fd < 0 || !m_strError.isEmpty())
        return m_strError.isEmpty();
    const bool synced = ::fsync(m_fd) == 0;
    const int error = errno;
    ::close(m_fd);
    m_fd = -1;
    errno = error;
    if (!synced
        || ::rename(QFile::encodeName(m_strPartPath).constData(), QFile::encodeName(m_strPath).constData()) != 0)
        return Fail(m_strPath);
    return true;
}

bool CCaptureWriter::Write(const QByteArray& bytes)
{
    for (qsizetype done = 0; done < bytes.size();) {
        const ssize_t n = ::write(m_fd, bytes.constData() + done, size_t(bytes.size() - done));
        if (n < 0 && errno == EINTR)
            continue;
        if (n <= 0) {
            if (n == 0)
                errno = ENOSPC;
            return Fail(m_strPartPath);
        }
        done += n;
    }
    return true;
}

bool CCaptureWriter::Fail(const QString& path)
{
    m_strError = QStringLiteral("Cannot write %1: %2").arg(path, CFileReplacer::Reason(errno));
    return false;
}
