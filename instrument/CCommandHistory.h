#pragma once

#include <QString>
#include <QStringList>

// The commands typed into an instrument window's command line, oldest
// first, at most MaxEntries. Up walks to older entries and Down back; the
// text being typed when the walk began comes back at its end.
class CCommandHistory
{
public:
    static constexpr int MaxEntries = 100;

    void SetEntries(const QStringList& entries);
    QStringList Entries() const { return m_entries; }

    // A command sent: appended (not twice in a row), the oldest dropped
    // beyond MaxEntries; the walk starts again at the end.
    void Add(const QString& command);
    // The entry before the one shown; current is the text in the line now.
    QString Older(const QString& current);
    QString Newer(const QString& current);

private:
    QStringList m_entries;
    qsizetype m_nPos = 0; // == size: not walking
    QString m_strDraft;
};
