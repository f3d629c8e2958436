#pragma once

#include <QByteArray>
#include <QByteArrayList>

// Conversions between raw bytes and the control-code notation, and the
// splitting of multi-part string resources at a delimiter set.
class CParse
{
public:
    explicit CParse(const QByteArray& delimiters = QByteArrayLiteral("\n"));

    // Bytes 0..31 become "<NAME>"; everything else is copied.
    void EncodeControlCodes(QByteArray& text) const;
    // "<NAME>" becomes its byte; the result ends at its first NUL byte.
    void DecodeControlCodes(QByteArray& text) const;

    // Split string resource id at the delimiter set. Outputs for which no
    // part exists keep their previous values; empty parts never occur.
    void SplitResource(int id, QByteArray& first, QByteArray& second) const;
    void SplitResource(int id, QByteArray& first, QByteArray& second, QByteArray& third,
                       QByteArray& fourth) const;
    void SplitResource(int id, QByteArrayList& parts) const;
    void GetFirstToken(const QByteArray& text, QByteArray& first) const;

private:
    QByteArrayList Split(const QByteArray& text) const;

    QByteArray m_strDelimiters;
};
