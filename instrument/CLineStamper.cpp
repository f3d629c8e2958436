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

char CLineStamper::LineEndAt(const QByteArray& bytes, qsizetype i) const
{
    const char c = bytes.at(i);
    if (!m_bNames)
        return c == '\r' || c == '\n' ? c : 0;
    if (c != '<')
        return 0;
    const QByteArrayView name = QByteArrayView(bytes).sliced(i).first(qMin<qsizetype>(4, bytes.size() - i));
    return name == "<CR>" ? '\r' : name == "<LF>" ? '\n' : 0;
}

void CLineStamper::AppendBytes(const QByteArray& bytes)
{
    if (!m_bOn && !m_bNames) {
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
    const qsizetype endLength = m_bNames ? 4 : 1;
    for (qsizetype i = 0; i < bytes.size();) {
        const char end = LineEndAt(bytes, i);
        // The LF of a CR LF pair belongs to the line end before it.
        const bool bPairedLF = end == '\n' && m_bAfterCR;
        if (m_bAtLineStart && !bPairedLF) {
            if (m_bOn)
                out += Stamp(m_clock());
            m_bAtLineStart = false;
        }
        const qsizetype n = end != 0 ? endLength : 1;
        out.append(bytes.constData() + i, n);
        i += n;
        m_bAfterCR = end == '\r';
        if (end != 0)
            m_bAtLineStart = true;
    }
    m_target.AppendBytes(out);
}
