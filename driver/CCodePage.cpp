#include "CCodePage.h"

#include <QList>
#include <QStringView>

#include <array>

namespace {

constexpr char Unmappable = '?';

// 0x80..0x9F; the rest of the byte range equals its code point.
constexpr std::array<char16_t, 32> HighControlRange = {
    0x20AC, 0x0081, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021,
    0x02C6, 0x2030, 0x0160, 0x2039, 0x0152, 0x008D, 0x017D, 0x008F,
    0x0090, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022, 0x2013, 0x2014,
    0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x009D, 0x017E, 0x0178,
};

bool InHighControlRange(char32_t codePoint)
{
    return codePoint >= 0x80 && codePoint <= 0x9F;
}

// The byte for a code point, or -1.
int ByteOf(char32_t codePoint)
{
    if (codePoint < 0x80 || (codePoint >= 0xA0 && codePoint <= 0xFF))
        return int(codePoint);
    for (size_t i = 0; i < HighControlRange.size(); ++i) {
        if (HighControlRange[i] == codePoint)
            return int(0x80 + i);
    }
    return -1;
}

} // namespace

char32_t CCodePage::CharToUnicode(char byte)
{
    const auto value = static_cast<unsigned char>(byte);
    if (InHighControlRange(value))
        return HighControlRange[value - 0x80];
    return value;
}

char CCodePage::CharFromUnicode(char32_t codePoint)
{
    const int byte = ByteOf(codePoint);
    return byte < 0 ? Unmappable : char(byte);
}

bool CCodePage::IsMappable(char32_t codePoint)
{
    return ByteOf(codePoint) >= 0;
}

QString CCodePage::ToUnicode(const QByteArray& bytes)
{
    // Written in place: received text passes here byte by byte.
    QString text(bytes.size(), Qt::Uninitialized);
    char16_t* out = reinterpret_cast<char16_t*>(text.data());
    for (char byte : bytes)
        *out++ = char16_t(CharToUnicode(byte));
    return text;
}

QByteArray CCodePage::FromUnicode(const QString& text)
{
    QByteArray bytes;
    bytes.reserve(text.size());
    for (char32_t codePoint : QStringView(text).toUcs4())
        bytes.append(CharFromUnicode(codePoint));
    return bytes;
}
