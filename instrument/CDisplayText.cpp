#include "CDisplayText.h"

#include "CCodePage.h"

QString CDisplayText::Convert(const QByteArray& bytes)
{
    QByteArray lines;
    lines.reserve(bytes.size());
    for (const char byte : bytes) {
        const bool afterCR = m_bAfterCR;
        m_bAfterCR = byte == '\r';
        if (byte == '\n' && afterCR)
            continue;
        lines.append(byte == '\r' ? '\n' : byte);
    }
    return CCodePage::ToUnicode(lines);
}
