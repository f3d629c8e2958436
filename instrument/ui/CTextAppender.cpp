#include "CTextAppender.h"

#include <QPlainTextEdit>
#include <QScrollBar>
#include <QTextBlock>
#include <QTextCursor>
#include <QTextDocument>

CTextAppender::CTextAppender(QPlainTextEdit* edit, QObject* parent)
    : QObject(parent)
    , m_pEdit(edit)
{
    m_timer.setSingleShot(true);
    m_timer.setInterval(FlushDelayMs);
    connect(&m_timer, &QTimer::timeout, this, &CTextAppender::Flush);
}

void CTextAppender::Append(const QByteArray& bytes)
{
    if (bytes.isEmpty())
        return;
    m_pending.append(bytes);
    if (m_pending.size() >= MaxPendingBytes) {
        Flush();
        return;
    }
    if (!m_timer.isActive())
        m_timer.start();
}

void CTextAppender::SetNameLineBreaks(bool on)
{
    if (on == m_bNameBreaks)
        return;
    Flush();
    m_bNameBreaks = on;
    m_nameBreaks.Reset();
}

void CTextAppender::Reset()
{
    m_timer.stop();
    m_pending.clear();
    m_display.Reset();
    m_nameBreaks.Reset();
}

void CTextAppender::Flush()
{
    m_timer.stop();
    if (m_pending.isEmpty())
        return;
    QString text = m_display.Convert(m_pending);
    m_pending.clear();
    if (m_bNameBreaks)
        text = m_nameBreaks.Add(text);
    if (text.isEmpty())
        return;
    bool replacesAll = false;
    text = KeepTail(text, replacesAll);
    const QTextBlock last = m_pEdit->document()->lastBlock();
    text = BreakLongLines(text, replacesAll ? 0 : last.length() - 1);
    Insert(text, replacesAll);
    Q_EMIT appended();
}

QString CTextAppender::KeepTail(const QString& text, bool& replacesAll) const
{
    // Everything before the last MaxLines lines (or MaxCharacters
    // characters) would drop off at once: it never goes into the window.
    qsizetype start = 0;
    if (text.size() > MaxCharacters)
        start = text.size() - MaxCharacters;
    if (m_nMaxLines > 0) {
        int lines = 0;
        for (qsizetype i = text.size() - 1; i >= start; --i) {
            if (text.at(i) == QLatin1Char('\n') && ++lines == m_nMaxLines) {
                start = i + 1;
                break;
            }
        }
    }
    replacesAll = start > 0;
    return start > 0 ? text.mid(start) : text;
}

QString CTextAppender::BreakLongLines(const QString& text, qsizetype lastLineLength) const
{
    qsizetype length = lastLineLength;
    qsizetype lineStart = 0;
    QString result;
    for (qsizetype i = 0; i < text.size(); ++i) {
        if (text.at(i) == QLatin1Char('\n')) {
            length = 0;
            continue;
        }
        if (++length <= MaxLineLength)
            continue;
        if (result.isNull())
            result.reserve(text.size() + text.size() / MaxLineLength + 1);
        result += QStringView(text).mid(lineStart, i - lineStart);
        result += QLatin1Char('\n');
        lineStart = i;
        length = 1;
    }
    if (result.isNull())
        return text;
    result += QStringView(text).mid(lineStart);
    return result;
}

void CTextAppender::Insert(const QString& text, bool replaceAll)
{
    QTextDocument* document = m_pEdit->document();
    QScrollBar* bar = m_pEdit->verticalScrollBar();
    const bool atEnd = bar->value() >= bar->maximum();
    const bool undo = document->isUndoRedoEnabled();
    if (undo)
        document->setUndoRedoEnabled(false);
    QTextCursor cursor(document);
    cursor.beginEditBlock();
    if (replaceAll) {
        cursor.select(QTextCursor::Document);
        cursor.removeSelectedText();
    } else {
        cursor.movePosition(QTextCursor::End);
    }
    cursor.insertText(text);
    cursor.endEditBlock();
    TrimFront();
    if (undo)
        document->setUndoRedoEnabled(true);
    if (atEnd)
        bar->setValue(bar->maximum());
}

void CTextAppender::TrimFront()
{
    QTextDocument* document = m_pEdit->document();
    int excessLines = m_nMaxLines > 0 ? document->blockCount() - m_nMaxLines : 0;
    const qsizetype excessCharacters = document->characterCount() - MaxCharacters;
    if (excessCharacters > 0) {
        // Whole lines go: up to the line that holds the last excess character.
        const QTextBlock block = document->findBlock(int(excessCharacters));
        excessLines = qMax(excessLines, block.blockNumber() + 1);
    }
    if (excessLines <= 0)
        return;
    QTextCursor cursor(document);
    cursor.movePosition(QTextCursor::Start);
    cursor.movePosition(QTextCursor::NextBlock, QTextCursor::KeepAnchor, excessLines);
    cursor.removeSelectedText();
}
