#include "CTextAppender.h"

#include <QPlainTextEdit>
#include <QScrollBar>
#include <QTextBlock>
#include <QTextCursor>
#include <QTextDocument>

#include <cstring>

namespace {

constexpr QChar LineSeparator(0x2028);

// The lines a paragraph holds: its line separators and its own end.
int LinesOf(const QTextBlock& block)
{
    return int(block.text().count(LineSeparator)) + 1;
}

} // namespace

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
    // Copied in place: the pipeline hands over one line at a time, and the
    // buffer keeps its capacity between flushes.
    const qsizetype size = m_pending.size();
    m_pending.resize(size + bytes.size());
    std::memcpy(m_pending.data() + size, bytes.constData(), std::size_t(bytes.size()));
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
    m_pending.resize(0);
    if (m_bNameBreaks)
        text = m_nameBreaks.Add(text);
    if (text.isEmpty())
        return;
    bool replacesAll = false;
    text = KeepTail(text, replacesAll);
    qsizetype lastLineLength = 0;
    if (!replacesAll) {
        const QString last = m_pEdit->document()->lastBlock().text();
        lastLineLength = last.size() - (last.lastIndexOf(LineSeparator) + 1);
    }
    Insert(BreakLongLines(text, lastLineLength), replacesAll);
    Q_EMIT appended();
}

void CTextAppender::ReplaceAll(const QString& text)
{
    Reset();
    Insert(text, true);
}

QString CTextAppender::KeepTail(const QString& text, bool& replacesAll) const
{
    // Everything before the last MaxLines lines (or MaxCharacters
    // characters) would drop off at once: it never goes into the window.
    qsizetype start = 0;
    if (text.size() > MaxCharacters)
        start = text.size() - MaxCharacters;
    // Fewer characters than MaxLines cannot hold MaxLines line breaks.
    if (m_nMaxLines > 0 && text.size() - start >= m_nMaxLines) {
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

void CTextAppender::SyncLineCount()
{
    QTextDocument* document = m_pEdit->document();
    if (document->revision() == m_nRevision)
        return;
    m_nLines = int(document->toPlainText().count(QLatin1Char('\n'))) + 1;
    m_nRevision = document->revision();
}

int CTextAppender::LineCount()
{
    SyncLineCount();
    return m_nLines;
}

void CTextAppender::Insert(const QString& text, bool replaceAll)
{
    QTextDocument* document = m_pEdit->document();
    SyncLineCount();
    // Line breaks become line separators inside a paragraph, and every
    // LinesPerBlock-th one ends the paragraph.
    int inBlock = replaceAll ? 0 : LinesOf(document->lastBlock()) - 1;
    QString grouped = text;
    int newLines = 0;
    for (QChar& c : grouped) {
        if (c != QLatin1Char('\n'))
            continue;
        ++newLines;
        if (++inBlock < LinesPerBlock)
            c = LineSeparator;
        else
            inBlock = 0;
    }

    QScrollBar* bar = m_pEdit->verticalScrollBar();
    const bool atEnd = bar->value() >= bar->maximum();
    const bool undo = document->isUndoRedoEnabled();
    if (undo)
        document->setUndoRedoEnabled(false);
    // One edit block: the cursors' positions and the layout are worked out
    // once, not for every paragraph passed. The end is set, not moved to:
    // moving lays out the paragraph the cursor starts in.
    QTextCursor cursor(document);
    cursor.beginEditBlock();
    if (replaceAll) {
        cursor.select(QTextCursor::Document);
        cursor.removeSelectedText();
        m_nLines = 1;
    } else {
        cursor.setPosition(document->characterCount() - 1);
    }
    cursor.insertText(grouped);
    m_nLines += newLines;
    TrimFront();
    cursor.endEditBlock();
    if (undo)
        document->setUndoRedoEnabled(true);
    m_nRevision = document->revision();
    if (atEnd)
        bar->setValue(bar->maximum());
}

void CTextAppender::TrimFront()
{
    QTextDocument* document = m_pEdit->document();
    const int excessLines = m_nMaxLines > 0 ? m_nLines - m_nMaxLines : 0;
    const qsizetype excessCharacters = document->characterCount() - MaxCharacters;
    if (excessLines <= 0 && excessCharacters <= 0)
        return;
    // Whole paragraphs go from the start, enough for both limits; the last
    // paragraph stays.
    int removedLines = 0;
    QTextBlock block = document->firstBlock();
    while (block.isValid() && block != document->lastBlock()
           && (removedLines < excessLines || block.position() < excessCharacters)) {
        removedLines += LinesOf(block);
        block = block.next();
    }
    if (block.position() == 0)
        return;
    // Inside an edit block the cursor does not lay out the paragraphs it is
    // set into.
    QTextCursor cursor(document);
    cursor.beginEditBlock();
    cursor.setPosition(0);
    cursor.setPosition(block.position(), QTextCursor::KeepAnchor);
    cursor.removeSelectedText();
    cursor.endEditBlock();
    m_nLines -= removedLines;
}
