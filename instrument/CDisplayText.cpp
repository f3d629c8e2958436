#include "CDisplayText.h"

#include "CCodePage.h"

QString CDisplayText::Convert(const QByteArray& bytes)
{
    QByteArray lines(bytes.size(), Qt::Uninitialized);
    char* out = lines.data();
    for (const char byte : bytes) {
        const bool afterCR = m_bAfterCR;
        m_bAfterCR = byte == '\r';
        if (byte == '\n' && afterCR)
            continue;
        *out++ = byte == '\r' ? '\n' : byte;
    }
    lines.truncate(out - lines.data());
    return CCodePage::ToUnicode(lines);
}
