#pragma once

#include <QByteArray>
#include <QString>

// Windows-1252, the single-byte code page of the driver files and of the
// bytes on the line. Bytes 0x81, 0x8D, 0x8F, 0x90 and 0x9D, which the code
// page leaves undefined, stand for the C1 code points of the same number, so
// every byte has a character and every byte string survives a round trip.
class CCodePage
{
public:
    static QString ToUnicode(const QByteArray& bytes);
    // Characters without a byte in the code page become '?'; a surrogate
    // pair is one character and gives one '?'.
    static QByteArray FromUnicode(const QString& text);

    static char32_t CharToUnicode(char byte);
    // The byte of a code point, or '?' when the code page has none.
    static char CharFromUnicode(char32_t codePoint);
    static bool IsMappable(char32_t codePoint);
};
