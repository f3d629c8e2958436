#include "CPublishingSink.h"

#include "CReadingJson.h"

#include <QDateTime>

CPublishingSink::CPublishingSink(CTextSink* next, Sender send)
    : m_pNext(next)
    , m_send(std::move(send))
{
}

void CPublishingSink::AppendBytes(const QByteArray& bytes)
{
    if (m_pNext)
        m_pNext->AppendBytes(bytes);
    if (!m_bEnabled)
        return;
    const char* p = bytes.constData();
    const char* const end = p + bytes.size();
    while (p < end) {
        const char* stop = p;
        while (stop < end && *stop != '\r' && *stop != '\n')
            ++stop;
        m_line.append(p, stop - p);
        if (m_line.size() >= MaxLine)
            SendLine();
        if (stop < end)
            SendLine(); // an empty line (the LF of a CR LF) sends nothing
        p = stop < end ? stop + 1 : end;
    }
}

void CPublishingSink::DeleteLastCharacter()
{
    if (m_pNext)
        m_pNext->DeleteLastCharacter();
    if (m_bEnabled && !m_line.isEmpty())
        m_line.chop(1);
}

void CPublishingSink::Flush()
{
    SendLine();
}

void CPublishingSink::SendLine()
{
    if (m_line.isEmpty())
        return;
    m_send(CReadingJson::Make(QDateTime::currentDateTime(), m_strDriver, m_line));
    m_line.clear();
}
