#include "CLineStamper.h"

CLineStamper::CLineStamper(CTextSink& target, Clock clock)
    : m_target(target)
    , m_clock(std::move(clock))
{
}

void CLineStamper::Reset()
{
    m_bAtLineStart = true;
    m_bAfterCR = false;
}

QByteArray CLineStamper::Time(const QDateTime& time)
{
    return time.toString(QStringLiteral("yyyy-MM-dd HH:mm:ss.zzz")).toLatin1();
}

QByteArray CLineStamper::Stamp(const QDateTime& time)
{
    return Time(time) + ' ';
}

void CLineStamper::AppendBytes(const QByteArray& bytes)
{
    if (!m_bOn) {
        if (!bytes.isEmpty()) {
            const char last = bytes.back();
            m_bAtLineStart = last == '\r' || last == '\n';
            m_bAfterCR = last == '\r';
        }
        m_target.AppendBytes(bytes);
        return;
    }
    QByteArray out;
    out.reserve(bytes.size() + 32);
    for (const char c : bytes) {
        // The LF of a CR LF pair belongs to the line end before it.
        const bool bPairedLF = c == '\n' && m_bAfterCR;
        if (m_bAtLineStart && !bPairedLF) {
            out += Stamp(m_clock());
            m_bAtLineStart = false;
        }
        out += c;
        m_bAfterCR = c == '\r';
        if (c == '\r' || c == '\n')
            m_bAtLineStart = true;
    }
    m_target.AppendBytes(out);
}
