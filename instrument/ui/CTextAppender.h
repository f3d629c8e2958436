#pragma once

#include "CDisplayText.h"
#include "CNameLineBreaks.h"

#include <QByteArray>
#include <QObject>
#include <QTimer>

class QPlainTextEdit;

// Appends received text to an instrument window without slowing it down: the
// bytes are collected and written into the text in one go after a short
// delay (or at once when much has gathered), and the text is kept bounded:
// the oldest lines drop off beyond MaxLines lines or MaxCharacters
// characters, and an endless line is broken every MaxLineLength characters.
// While the view shows the end of the text it follows the new text; a user
// who scrolled up to read keeps the place.
//
// The text document pays for every paragraph it holds, so received lines
// are kept LinesPerBlock to a paragraph, separated by line separators
// (U+2028); they show, copy and save as lines all the same.
//
// Appended text is not undoable (the undo history is dropped while text is
// appended), so a long run cannot fill the undo stack.
class CTextAppender : public QObject
{
    Q_OBJECT

public:
    static constexpr int FlushDelayMs = 40;
    static constexpr qsizetype MaxPendingBytes = 512 * 1024;
    static constexpr int DefaultMaxLines = 100000;
    static constexpr qsizetype MaxCharacters = 8 * 1024 * 1024;
    static constexpr int MaxLineLength = 4096;
    static constexpr int LinesPerBlock = 64;

    explicit CTextAppender(QPlainTextEdit* edit, QObject* parent = nullptr);

    // Bytes in the program's code page, the control-code conversion done.
    void Append(const QByteArray& bytes);
    // Writes what waits into the window now.
    void Flush();
    // Drops what waits and the state between pieces (the text was replaced).
    void Reset();
    // Replaces the whole text (not undoable), as it would have been appended.
    void ReplaceAll(const QString& text);
    // Line breaks after the names "<LF>" and a lone "<CR>" (control
    // characters shown).
    void SetNameLineBreaks(bool on);
    // 0: no limit on lines (characters stay limited while a line is open).
    void SetMaxLines(int lines) { m_nMaxLines = lines; }
    int MaxLines() const { return m_nMaxLines; }
    qsizetype PendingBytes() const { return m_pending.size(); }
    // Lines of the text (line breaks + 1).
    int LineCount();

Q_SIGNALS:
    // After new text went into the window.
    void appended();

private:
    QString BreakLongLines(const QString& text, qsizetype lastLineLength) const;
    // The tail of a text that would push everything else out anyway.
    QString KeepTail(const QString& text, bool& replacesAll) const;
    void Insert(const QString& text, bool replaceAll);
    void TrimFront();
    void SyncLineCount();

    QPlainTextEdit* m_pEdit;
    QByteArray m_pending;
    QTimer m_timer;
    CDisplayText m_display;
    CNameLineBreaks m_nameBreaks;
    bool m_bNameBreaks = false;
    int m_nMaxLines = DefaultMaxLines;
    // The line count, valid while the document is at m_nRevision (the user
    // may edit a disconnected window's text).
    int m_nLines = 1;
    int m_nRevision = -1;
};
