#pragma once

#include <QAbstractScrollArea>
#include <QFont>
#include <QTimer>

class CTerminalScreen;

// The terminal window's screen on the desktop: paints a CTerminalScreen in a
// monospace font, sizes itself to its rows × columns, shows the cursor
// (block or underline) and, when the screen keeps a scroll-back, a scroll
// bar over it. The mouse selects text (double-click: a word) for copying.
//
// Painting is coalesced: however often the screen changes, the window is
// repainted at most once per RefreshIntervalMs, so a flood of received data
// never keeps the window from handling its events. While the user looks at
// the scroll-back, new lines do not move the text shown; at the bottom, the
// window follows the screen.
//
// The display takes no typing: the terminal view filters the keys away
// from it and sends them on the line.
class CTerminalDisplay : public QAbstractScrollArea
{
    Q_OBJECT

public:
    static constexpr int RefreshIntervalMs = 16;

    explicit CTerminalDisplay(CTerminalScreen& screen, QWidget* parent = nullptr);

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override { return sizeHint(); }
    QSize CellSize() const { return QSize(m_nCellWidth, m_nCellHeight); }
    QFont ScreenFont() const { return m_font; }

    bool HasSelection() const { return m_selectionStart != m_selectionEnd; }
    QString SelectedText() const;
    void ClearSelection();
    // Selects from one cell up to (not including) another; lines as the
    // screen numbers them (scroll-back first).
    void Select(QPoint fromCell, QPoint toCell);

    // The screen line shown in the top row.
    int TopLine() const;
    bool IsFollowing() const { return m_bFollow; }
    void ScrollToBottom();

    // A line of text over the bottom of the screen ("Not connected: ..."),
    // until it is set empty.
    void SetNotice(const QString& text);
    QString Notice() const { return m_strNotice; }

    // Repaints asked for since creation (at most one per refresh interval).
    int RefreshCount() const { return m_nRefreshes; }

Q_SIGNALS:
    void selectionChanged();

protected:
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override;
    void scrollContentsBy(int dx, int dy) override;
    void focusInEvent(QFocusEvent* event) override;
    void focusOutEvent(QFocusEvent* event) override;

private:
    void OnSettingsApplied();
    void OnScreenChanged();
    void Refresh();
    void UpdateScrollBar();
    void ChooseFont();
    void PaintLine(QPainter& painter, int line, int y) const;
    void PaintCursor(QPainter& painter) const;
    void PaintNotice(QPainter& painter) const;
    QFont FontFor(quint8 attrs) const;
    // (column, absolute line) under a point of the viewport.
    QPoint CellAt(const QPoint& position) const;
    bool IsSelected(qint64 absoluteLine, int column) const;
    qint64 Absolute(int line) const;

    CTerminalScreen& m_screen;
    QTimer m_refreshTimer;
    QFont m_font;
    int m_nCellWidth = 8;
    int m_nCellHeight = 16;
    int m_nAscent = 12;
    bool m_bFollow = true;
    qint64 m_nDroppedSeen = 0;
    int m_nBellsSeen = 0;
    int m_nRefreshes = 0;
    QString m_strNotice;
    // Selection in (column, absolute line): stable while lines scroll into
    // the scroll-back and out of it. Start == end: nothing selected.
    QPoint m_selectionAnchor;
    QPoint m_selectionStart;
    QPoint m_selectionEnd;
    bool m_bSelecting = false;
};
