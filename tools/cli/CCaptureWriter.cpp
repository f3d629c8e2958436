#include "CCaptureWriter.h"

#include <QtEndian>

bool CCaptureWriter::Open(const QString& path)
{
    m_file.setFileName(path);
    if (!m_file.open(QIODevice::WriteOnly | QIODevice::Truncate))
        return Fail();
    const QByteArray header(Header);
    if (m_file.write(header) != header.size() || !m_file.flush())
        return Fail();
    return true;
}

bool CCaptureWriter::Append(const QByteArray& block)
{
    if (block.isEmpty() || !m_strError.isEmpty())
        return m_strError.isEmpty();
    char length[4];
    qToLittleEndian(quint32(block.size()), length);
    if (m_file.write(length, 4) != 4 || m_file.write(block) != block.size() || !m_file.flush())
        return Fail();
    return true;
}

bool CCaptureWriter::Fail()
{
    m_strError = QStringLiteral("Cannot write %1: %2").arg(m_file.fileName(), m_file.errorString());
    return false;
}
