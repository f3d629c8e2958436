#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>

// Raw received bytes as rows of BytesPerRow: the offset of the row's first
// byte in the stream (8 hex digits), the bytes in hex (a gap after the
// eighth) and the printable ASCII characters, "." for the others:
// "00000010  41 42 0d 0a ...  AB..". A row fills up across pieces; the row
// still filling is shown as it is so far, padded so the columns stay.
class CHexDump
{
public:
    static constexpr int BytesPerRow = 16;

    static QString Row(qint64 offset, const QByteArray& bytes);

    // The rows completed by bytes (the row filling before included).
    QStringList Append(const QByteArray& bytes);
    // The row still filling; "" when there is none.
    QString PartialRow() const;
    bool HasPartialRow() const { return !m_partial.isEmpty(); }
    // Passes over bytes not shown (the row filling is dropped): the next
    // row begins at the offset after them.
    void Skip(qint64 count);
    qint64 EndOffset() const { return m_nRowOffset + m_partial.size(); }

private:
    qint64 m_nRowOffset = 0;
    QByteArray m_partial;
};
