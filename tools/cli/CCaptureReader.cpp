#include "CCaptureReader.h"

#include "CCaptureWriter.h"
#include "CRegularFile.h"

#include <QtEndian>

bool CCaptureReader::Open(const QString& path)
{
    QString notRegular;
    if (!CRegularFile::Check(path, &notRegular)) {
        m_strError = QStringLiteral("Cannot open %1: %2").arg(path, notRegular);
        return false;
    }
    m_file.setFileName(path);
    if (!m_file.open(QIODevice::ReadOnly)) {
        m_strError = QStringLiteral("Cannot open %1: %2").arg(path, m_file.errorString());
        return false;
    }
    const QByteArray header(CCaptureWriter::Header);
    m_bFramed = m_file.peek(header.size()) == header;
    if (m_bFramed)
        m_file.skip(header.size());
    m_next = ReadBlock();
    return true;
}

QByteArray CCaptureReader::GetInput()
{
    const QByteArray block = m_next;
    if (!block.isEmpty())
        m_next = ReadBlock();
    return block;
}

// The next block that holds bytes; empty only at the end of the file.
QByteArray CCaptureReader::ReadBlock()
{
    for (;;) {
        const QByteArray block = m_bFramed ? ReadFramedBlock() : m_file.read(RawBlockSize);
        if (!block.isEmpty() || m_file.atEnd() || !m_strDamage.isEmpty())
            return block;
    }
}

QByteArray CCaptureReader::ReadFramedBlock()
{
    const QByteArray length = m_file.read(4);
    if (length.isEmpty())
        return {};
    const qint64 offset = m_file.pos() - length.size();
    if (length.size() < 4) {
        m_strDamage = QStringLiteral("%1: ends inside the block length at byte %2")
                           .arg(m_file.fileName())
                           .arg(offset);
        return {};
    }
    const quint32 size = qFromLittleEndian<quint32>(length.constData());
    // Never more than the file still holds, whatever the length says.
    const QByteArray block = m_file.read(qMin<qint64>(size, m_file.bytesAvailable()));
    if (block.size() < qint64(size))
        m_strDamage = QStringLiteral("%1: the block at byte %2 is cut short (%3 of %4 bytes)")
                           .arg(m_file.fileName())
                           .arg(offset)
                           .arg(block.size())
                           .arg(size);
    return block;
}
