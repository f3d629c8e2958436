#include "CCommandHistory.h"

void CCommandHistory::SetEntries(const QStringList& entries)
{
    m_entries = entries.mid(qMax<qsizetype>(0, entries.size() - MaxEntries));
    m_nPos = m_entries.size();
    m_strDraft.clear();
}

void CCommandHistory::Add(const QString& command)
{
    if (!command.isEmpty() && (m_entries.isEmpty() || m_entries.constLast() != command))
        m_entries.append(command);
    if (m_entries.size() > MaxEntries)
        m_entries.remove(0, m_entries.size() - MaxEntries);
    m_nPos = m_entries.size();
    m_strDraft.clear();
}

QString CCommandHistory::Older(const QString& current)
{
    if (m_nPos == m_entries.size())
        m_strDraft = current;
    if (m_nPos == 0)
        return m_entries.isEmpty() ? current : m_entries.constFirst();
    return m_entries.at(--m_nPos);
}

QString CCommandHistory::Newer(const QString& current)
{
    if (m_nPos == m_entries.size())
        return current;
    ++m_nPos;
    return m_nPos == m_entries.size() ? m_strDraft : m_entries.at(m_nPos);
}
