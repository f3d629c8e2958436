#include "CHexDump.h"

QString CHexDump::Row(qint64 offset, const QByteArray& bytes)
{
    static const char digits[] = "0123456789abcdef";
    QString row = QStringLiteral("%1 ").arg(offset, 8, 16, QLatin1Char('0'));
    QString printable;
    for (int i = 0; i < BytesPerRow; ++i) {
        if (i == BytesPerRow / 2)
            row += QLatin1Char(' ');
        if (i >= bytes.size()) {
            row += QLatin1String("   ");
            continue;
        }
        const auto byte = static_cast<unsigned char>(bytes.at(i));
        row += QLatin1Char(' ');
        row += QLatin1Char(digits[byte >> 4]);
        row += QLatin1Char(digits[byte & 0xf]);
        printable += byte >= 0x20 && byte < 0x7f ? QLatin1Char(char(byte)) : QLatin1Char('.');
    }
    return row + QLatin1String("  ") + printable;
}

QStringList CHexDump::Append(const QByteArray& bytes)
{
    QStringList rows;
    qsizetype pos = 0;
    while (pos < bytes.size()) {
        const qsizetype take = qMin<qsizetype>(BytesPerRow - m_partial.size(), bytes.size() - pos);
        m_partial.append(bytes.constData() + pos, take);
        pos += take;
        if (m_partial.size() == BytesPerRow) {
            rows.append(Row(m_nRowOffset, m_partial));
            m_nRowOffset += BytesPerRow;
            m_partial.clear();
        }
    }
    return rows;
}

QString CHexDump::PartialRow() const
{
    return m_partial.isEmpty() ? QString() : Row(m_nRowOffset, m_partial);
}

void CHexDump::Skip(qint64 count)
{
    m_nRowOffset += m_partial.size() + count;
    m_partial.clear();
}
