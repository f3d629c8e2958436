#pragma once

#include "CByteSource.h"

#include <QFile>
#include <QString>

// Plays a capture file back as the line: the blocks of a file written by
// CCaptureWriter one by one, or any other file as a raw byte stream in blocks
// of 4096 bytes. Only the end of the file ends the blocks: an empty block is
// passed over. A block cut short by the end of the file is delivered with
// the bytes that are there, and Damage() says so.
class CCaptureReader : public CByteSource
{
public:
    static constexpr qint64 RawBlockSize = 4096;

    bool Open(const QString& path);
    QString ErrorString() const { return m_strError; }
    QString Damage() const { return m_strDamage; }
    bool AtEnd() const { return m_next.isEmpty(); }

    quint16 GetCommEvent() override { return EventReceive; }
    quint16 GetInBufferCount() override { return quint16(qMin<qsizetype>(m_next.size(), 0xFFFF)); }
    QByteArray GetInput() override;

private:
    QByteArray ReadBlock();
    QByteArray ReadFramedBlock();

    QFile m_file;
    bool m_bFramed = false;
    QByteArray m_next; // the block GetInput hands out next
    QString m_strError;
    QString m_strDamage;
};
