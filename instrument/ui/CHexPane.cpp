#include "CHexPane.h"

#include <QFontDatabase>
#include <QScrollBar>
#include <QTextBlock>
#include <QTextCursor>

CHexPane::CHexPane(QWidget* parent)
    : QPlainTextEdit(parent)
{
    setObjectName(QStringLiteral("HexPane"));
    setReadOnly(true);
    setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
    setUndoRedoEnabled(false);
    setLineWrapMode(QPlainTextEdit::NoWrap);
    setFont(QFontDatabase::systemFont(QFontDatabase::FixedFont));
    setMaximumBlockCount(MaxRows);
    m_timer.setSingleShot(true);
    m_timer.setInterval(FlushDelayMs);
    connect(&m_timer, &QTimer::timeout, this, &CHexPane::Flush);
    // The pane follows new rows while its end is shown (also when a scroll
    // bar appears or the pane is resized); a user who scrolled up keeps the place.
    QScrollBar* bar = verticalScrollBar();
    connect(bar, &QScrollBar::valueChanged, this, [this, bar](int value) { m_bFollow = value == bar->maximum(); });
    connect(bar, &QScrollBar::rangeChanged, this, [this, bar](int, int maximum) {
        if (m_bFollow)
            bar->setValue(maximum);
    });
}

int CHexPane::PreferredHeight() const
{
    const QMargins margins = contentsMargins();
    return fontMetrics().lineSpacing() * VisibleRows + int(2 * document()->documentMargin()) + margins.top()
        + margins.bottom() + horizontalScrollBar()->sizeHint().height();
}

void CHexPane::AppendBytes(const QByteArray& bytes)
{
    if (isHidden()) {
        m_dump.Skip(m_pending.size() + bytes.size());
        m_pending.clear();
        return;
    }
    m_pending += bytes;
    if (m_pending.size() >= qsizetype(MaxRows) * CHexDump::BytesPerRow)
        Flush();
    else if (!m_timer.isActive())
        m_timer.start();
}

void CHexPane::Flush()
{
    m_timer.stop();
    if (m_pending.isEmpty())
        return;
    QByteArray bytes;
    bytes.swap(m_pending);
    const bool partialShown = m_dump.HasPartialRow();
    // Rows that would drop off at once are passed over.
    const qsizetype keep = qsizetype(MaxRows - 1) * CHexDump::BytesPerRow;
    const bool replaceAll = bytes.size() > keep;
    if (replaceAll) {
        m_dump.Skip(bytes.size() - keep);
        bytes = bytes.right(keep);
    }
    QString text = m_dump.Append(bytes).join(QLatin1Char('\n'));
    const QString partial = m_dump.PartialRow();
    if (!partial.isEmpty())
        text += (text.isEmpty() ? QString() : QStringLiteral("\n")) + partial;

    if (replaceAll) {
        setPlainText(text);
    } else {
        QTextCursor cursor(document());
        cursor.movePosition(QTextCursor::End);
        if (partialShown) {
            // The row that was filling is written again, complete or longer.
            cursor.movePosition(QTextCursor::StartOfBlock, QTextCursor::KeepAnchor);
            cursor.removeSelectedText();
        } else if (!document()->isEmpty()) {
            text.prepend(QLatin1Char('\n'));
        }
        cursor.insertText(text);
    }
}
