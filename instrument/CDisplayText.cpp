#include "CDisplayText.h"

#include "CCodePage.h"

QString CDisplayText::Convert(const QByteArray& bytes)
{
    // One pass, written in place: received text passes here byte by byte.
    QString text(bytes.size(), Qt::Uninitialized);
    char16_t* const begin = reinterpret_cast<char16_t*>(text.data());
    char16_t* out = begin;
    for (const char byte : bytes) {
        const bool afterCR = m_bAfterCR;
        m_bAfterCR = byte == '\r';
        if (byte == '\n' && afterCR)
            continue;
        const auto value = static_cast<unsigned char>(byte);
        // Only 0x80..0x9F differ from their code point.
        if (value - 0x80u < 0x20u)
            *out++ = char16_t(CCodePage::CharToUnicode(byte));
        else
            *out++ = value == '\r' ? u'\n' : char16_t(value);
    }
    text.truncate(out - begin);
    return text;
}
