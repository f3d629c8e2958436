#include "CTerminalDisplay.h"

#include "CTerminalScreen.h"

#include <QApplication>
#include <QFontDatabase>
#include <QFontInfo>
#include <QMouseEvent>
#include <QPainter>
#include <QScrollBar>

#include <cmath>

namespace {

// The screen's own colours: light grey on black, as terminals show text.
const QColor DefaultForeground(0xE5, 0xE5, 0xE5);
const QColor DefaultBackground(Qt::black);
const QColor NoticeBackground(0xFF, 0xF3, 0xB0);
constexpr int FontPointSize = 10;

QColor ColorOf(quint32 value, const QColor& fallback)
{
    return value == CTerminalCell::DefaultColor ? fallback : QColor::fromRgb(value & 0xFFFFFF);
}

bool IsWordCharacter(char32_t ch)
{
    return ch != 0 && ch != U' ' && ch != CTerminalCell::WideTail
        && (QChar::isLetterOrNumber(ch) || ch == U'_' || ch == U'.' || ch == U'-' || ch == U'/' || ch == U':');
}

// The arms of the light box-drawing characters (the VT100 and VT52 line
// graphics), drawn through the cell's centre so that lines meet across
// rows whatever the font's line height.
struct BoxArms
{
    char32_t ch;
    bool up, down, left, right;
};
constexpr BoxArms kBoxCharacters[] = {
    {U'\u2500', false, false, true, true},  {U'\u2502', true, true, false, false},
    {U'\u250C', false, true, false, true},  {U'\u2510', false, true, true, false},
    {U'\u2514', true, false, false, true},  {U'\u2518', true, false, true, false},
    {U'\u251C', true, true, false, true},   {U'\u2524', true, true, true, false},
    {U'\u252C', false, true, true, true},   {U'\u2534', true, false, true, true},
    {U'\u253C', true, true, true, true},
};

const BoxArms* BoxCharacter(char32_t ch)
{
    if (ch < U'\u2500' || ch > U'\u253C')
        return nullptr;
    for (const BoxArms& box : kBoxCharacters) {
        if (box.ch == ch)
            return &box;
    }
    return nullptr;
}

void PaintBox(QPainter& painter, const BoxArms& box, const QRect& cell, const QColor& color)
{
    const int x = cell.left() + cell.width() / 2;
    const int y = cell.top() + cell.height() / 2;
    if (box.up)
        painter.fillRect(QRect(x, cell.top(), 1, y - cell.top() + 1), color);
    if (box.down)
        painter.fillRect(QRect(x, y, 1, cell.bottom() - y + 1), color);
    if (box.left)
        painter.fillRect(QRect(cell.left(), y, x - cell.left() + 1, 1), color);
    if (box.right)
        painter.fillRect(QRect(x, y, cell.right() - x + 1, 1), color);
}

} // namespace

CTerminalDisplay::CTerminalDisplay(CTerminalScreen& screen, QWidget* parent)
    : QAbstractScrollArea(parent)
    , m_screen(screen)
{
    setFocusPolicy(Qt::StrongFocus);
    setFrameShape(QFrame::NoFrame);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    viewport()->setCursor(Qt::IBeamCursor);
    viewport()->setAutoFillBackground(false);
    m_refreshTimer.setSingleShot(true);
    m_refreshTimer.setInterval(RefreshIntervalMs);
    connect(&m_refreshTimer, &QTimer::timeout, this, &CTerminalDisplay::Refresh);
    connect(&m_screen, &CTerminalScreen::settingsApplied, this, &CTerminalDisplay::OnSettingsApplied);
    connect(&m_screen, &CTerminalScreen::changed, this, &CTerminalDisplay::OnScreenChanged);
    connect(verticalScrollBar(), &QScrollBar::valueChanged, this,
            [this](int value) { m_bFollow = value == verticalScrollBar()->maximum(); });
    OnSettingsApplied();
}

void CTerminalDisplay::OnSettingsApplied()
{
    ChooseFont();
    setVerticalScrollBarPolicy(m_screen.HasScrollback() ? Qt::ScrollBarAlwaysOn : Qt::ScrollBarAlwaysOff);
    m_selectionStart = m_selectionEnd = m_selectionAnchor = QPoint();
    m_nDroppedSeen = m_screen.DroppedLineCount();
    m_nBellsSeen = m_screen.BellCount();
    m_bFollow = true;
    UpdateScrollBar();
    updateGeometry();
    viewport()->update();
}

// The display font of the settings when the system has it as a fixed-pitch
// font ("Fixedsys" is a Windows font), else the system's fixed font. Every
// character advances by a whole number of pixels, so runs of text stay on
// the cell grid.
void CTerminalDisplay::ChooseFont()
{
    QFont font(QString::fromLatin1(m_screen.FontName()), FontPointSize);
    font.setStyleHint(QFont::TypeWriter);
    if (!QFontInfo(font).fixedPitch()) {
        font = QFontDatabase::systemFont(QFontDatabase::FixedFont);
        font.setPointSize(FontPointSize);
    }
    font.setKerning(false);
    const QFontMetricsF metrics(font);
    const qreal advance = metrics.horizontalAdvance(QLatin1Char('M'));
    m_nCellWidth = qMax(1, int(std::ceil(advance)));
    if (m_nCellWidth != advance)
        font.setLetterSpacing(QFont::AbsoluteSpacing, m_nCellWidth - advance);
    m_nCellHeight = qMax(1, int(std::ceil(metrics.height())));
    m_nAscent = int(std::ceil(metrics.ascent()));
    m_font = font;
}

QSize CTerminalDisplay::sizeHint() const
{
    const int scrollBar = m_screen.HasScrollback() ? verticalScrollBar()->sizeHint().width() : 0;
    const int frame = 2 * frameWidth();
    return QSize(m_screen.Columns() * m_nCellWidth + scrollBar + frame, m_screen.Rows() * m_nCellHeight + frame);
}

void CTerminalDisplay::OnScreenChanged()
{
    if (!m_refreshTimer.isActive())
        m_refreshTimer.start();
}

void CTerminalDisplay::Refresh()
{
    ++m_nRefreshes;
    if (m_screen.BellCount() != m_nBellsSeen) {
        m_nBellsSeen = m_screen.BellCount();
        QApplication::beep();
    }
    UpdateScrollBar();
    viewport()->update();
}

void CTerminalDisplay::UpdateScrollBar()
{
    QScrollBar* bar = verticalScrollBar();
    // Lines dropped from the front of the scroll-back move everything up.
    const qint64 dropped = m_screen.DroppedLineCount() - m_nDroppedSeen;
    m_nDroppedSeen = m_screen.DroppedLineCount();
    const bool follow = m_bFollow;
    const int value = int(qMax<qint64>(0, bar->value() - dropped));
    bar->setRange(0, m_screen.ScrollbackCount());
    bar->setPageStep(m_screen.Rows());
    bar->setSingleStep(1);
    bar->setValue(follow ? bar->maximum() : value);
    m_bFollow = bar->value() == bar->maximum();
}

int CTerminalDisplay::TopLine() const
{
    return m_screen.HasScrollback() ? verticalScrollBar()->value() : m_screen.ScrollbackCount();
}

void CTerminalDisplay::ScrollToBottom()
{
    verticalScrollBar()->setValue(verticalScrollBar()->maximum());
    m_bFollow = true;
}

void CTerminalDisplay::scrollContentsBy(int, int)
{
    viewport()->update();
}

void CTerminalDisplay::SetNotice(const QString& text)
{
    if (m_strNotice == text)
        return;
    m_strNotice = text;
    viewport()->update();
}

// ---------------------------------------------------------------------------
// Painting

void CTerminalDisplay::paintEvent(QPaintEvent*)
{
    QPainter painter(viewport());
    painter.fillRect(viewport()->rect(), DefaultBackground);
    const int top = TopLine();
    for (int row = 0; row < m_screen.Rows(); ++row)
        PaintLine(painter, top + row, row * m_nCellHeight);
    PaintCursor(painter);
    PaintNotice(painter);
}

QFont CTerminalDisplay::FontFor(quint8 attrs) const
{
    QFont font = m_font;
    font.setBold(attrs & CTerminalCell::Bold);
    font.setItalic(attrs & CTerminalCell::Italic);
    font.setUnderline(attrs & CTerminalCell::Underline);
    font.setStrikeOut(attrs & CTerminalCell::Strike);
    return font;
}

// One line in runs of cells that look alike: a background rectangle and
// one text each.
void CTerminalDisplay::PaintLine(QPainter& painter, int line, int y) const
{
    const int columns = m_screen.Columns();
    const qint64 absolute = Absolute(line);
    int runStart = 0;
    QString text;
    CTerminalCell look;
    bool lookSelected = false;
    const auto flush = [&](int end) {
        if (end <= runStart)
            return;
        QColor fg = ColorOf(look.fg, DefaultForeground);
        QColor bg = ColorOf(look.bg, DefaultBackground);
        if (bool(look.attrs & CTerminalCell::Reverse) != lookSelected)
            std::swap(fg, bg);
        const QRect cells(runStart * m_nCellWidth, y, (end - runStart) * m_nCellWidth, m_nCellHeight);
        if (bg != DefaultBackground)
            painter.fillRect(cells, bg);
        if (const BoxArms* box = text.size() == 1 ? BoxCharacter(text.at(0).unicode()) : nullptr) {
            PaintBox(painter, *box, cells, fg);
            return;
        }
        if (text.trimmed().isEmpty() && !(look.attrs & (CTerminalCell::Underline | CTerminalCell::Strike)))
            return;
        painter.setFont(FontFor(look.attrs));
        painter.setPen(fg);
        painter.drawText(cells.left(), y + m_nAscent, text);
    };
    for (int column = 0; column < columns; ++column) {
        const CTerminalCell cell = m_screen.LineCell(line, column);
        const bool selected = IsSelected(absolute, column);
        // A line-drawing character is a run of its own.
        const bool box = BoxCharacter(cell.ch) || BoxCharacter(look.ch);
        if (column == 0 || box || !cell.SameLook(look) || selected != lookSelected) {
            flush(column);
            runStart = column;
            text.clear();
            look = cell;
            lookSelected = selected;
        }
        if (cell.ch == CTerminalCell::WideTail)
            continue;
        const char32_t ch = cell.ch == 0 ? U' ' : cell.ch;
        text += QString::fromUcs4(&ch, 1);
    }
    flush(columns);
}

void CTerminalDisplay::PaintCursor(QPainter& painter) const
{
    if (!m_screen.IsCursorVisible())
        return;
    const QPoint cursor = m_screen.CursorPosition();
    const int row = m_screen.ScrollbackCount() + cursor.y() - TopLine();
    if (row < 0 || row >= m_screen.Rows())
        return;
    const QRect cell(cursor.x() * m_nCellWidth, row * m_nCellHeight, m_nCellWidth, m_nCellHeight);
    const CTerminalCell under = m_screen.Cell(cursor.y(), cursor.x());
    const QColor color = ColorOf(under.fg, DefaultForeground);
    if (!hasFocus()) {
        painter.setPen(color);
        painter.setBrush(Qt::NoBrush);
        painter.drawRect(cell.adjusted(0, 0, -1, -1));
        return;
    }
    if (!m_screen.IsBlockCursor()) {
        painter.fillRect(QRect(cell.left(), cell.bottom() - 1, cell.width(), 2), color);
        return;
    }
    painter.fillRect(cell, color);
    if (under.ch != 0 && under.ch != CTerminalCell::WideTail) {
        painter.setFont(FontFor(under.attrs));
        painter.setPen(ColorOf(under.bg, DefaultBackground));
        painter.drawText(cell.left(), cell.top() + m_nAscent, QString::fromUcs4(&under.ch, 1));
    }
}

void CTerminalDisplay::PaintNotice(QPainter& painter) const
{
    if (m_strNotice.isEmpty())
        return;
    painter.setFont(QApplication::font());
    const QFontMetrics metrics(painter.font());
    const int width = m_screen.Columns() * m_nCellWidth;
    const QRect text = metrics.boundingRect(QRect(0, 0, width - 16, 1000), Qt::TextWordWrap, m_strNotice);
    const QRect box(0, m_screen.Rows() * m_nCellHeight - text.height() - 12, width, text.height() + 12);
    painter.fillRect(box, NoticeBackground);
    painter.setPen(Qt::black);
    painter.drawText(box.adjusted(8, 6, -8, -6), Qt::TextWordWrap | Qt::AlignVCenter, m_strNotice);
}

void CTerminalDisplay::focusInEvent(QFocusEvent* event)
{
    QAbstractScrollArea::focusInEvent(event);
    viewport()->update();
}

void CTerminalDisplay::focusOutEvent(QFocusEvent* event)
{
    QAbstractScrollArea::focusOutEvent(event);
    viewport()->update();
}

// ---------------------------------------------------------------------------
// Selection

qint64 CTerminalDisplay::Absolute(int line) const
{
    return m_screen.DroppedLineCount() + line;
}

QPoint CTerminalDisplay::CellAt(const QPoint& position) const
{
    const int column = qBound(0, (position.x() + m_nCellWidth / 2) / m_nCellWidth, m_screen.Columns());
    const int row = qBound(0, position.y() / m_nCellHeight, m_screen.Rows() - 1);
    return QPoint(column, int(Absolute(TopLine() + row)));
}

bool CTerminalDisplay::IsSelected(qint64 absoluteLine, int column) const
{
    if (!HasSelection())
        return false;
    const QPoint cell(column, int(absoluteLine));
    const auto before = [](QPoint a, QPoint b) { return a.y() < b.y() || (a.y() == b.y() && a.x() < b.x()); };
    return !before(cell, m_selectionStart) && before(cell, m_selectionEnd);
}

void CTerminalDisplay::Select(QPoint fromCell, QPoint toCell)
{
    const QPoint from(fromCell.x(), int(Absolute(fromCell.y())));
    const QPoint to(toCell.x(), int(Absolute(toCell.y())));
    const bool ordered = from.y() < to.y() || (from.y() == to.y() && from.x() <= to.x());
    m_selectionStart = ordered ? from : to;
    m_selectionEnd = ordered ? to : from;
    viewport()->update();
    Q_EMIT selectionChanged();
}

void CTerminalDisplay::ClearSelection()
{
    if (!HasSelection())
        return;
    m_selectionStart = m_selectionEnd;
    viewport()->update();
    Q_EMIT selectionChanged();
}

QString CTerminalDisplay::SelectedText() const
{
    if (!HasSelection())
        return QString();
    const qint64 dropped = m_screen.DroppedLineCount();
    // Lines gone from the scroll-back since they were selected are lost.
    const QPoint from(m_selectionStart.y() < dropped ? 0 : m_selectionStart.x(),
                      int(qMax<qint64>(0, m_selectionStart.y() - dropped)));
    const QPoint to(m_selectionEnd.x(), int(m_selectionEnd.y() - dropped));
    if (to.y() < 0)
        return QString();
    return m_screen.Text(from, to);
}

void CTerminalDisplay::mousePressEvent(QMouseEvent* event)
{
    if (event->button() != Qt::LeftButton) {
        QAbstractScrollArea::mousePressEvent(event);
        return;
    }
    setFocus(Qt::MouseFocusReason);
    const bool had = HasSelection();
    m_selectionAnchor = CellAt(event->position().toPoint());
    m_selectionStart = m_selectionEnd = m_selectionAnchor;
    m_bSelecting = true;
    viewport()->update();
    if (had)
        Q_EMIT selectionChanged();
}

void CTerminalDisplay::mouseMoveEvent(QMouseEvent* event)
{
    if (!m_bSelecting)
        return;
    const QPoint cell = CellAt(event->position().toPoint());
    const bool ordered = m_selectionAnchor.y() < cell.y()
        || (m_selectionAnchor.y() == cell.y() && m_selectionAnchor.x() <= cell.x());
    m_selectionStart = ordered ? m_selectionAnchor : cell;
    m_selectionEnd = ordered ? cell : m_selectionAnchor;
    viewport()->update();
}

void CTerminalDisplay::mouseReleaseEvent(QMouseEvent* event)
{
    if (!m_bSelecting) {
        QAbstractScrollArea::mouseReleaseEvent(event);
        return;
    }
    mouseMoveEvent(event);
    m_bSelecting = false;
    Q_EMIT selectionChanged();
}

void CTerminalDisplay::mouseDoubleClickEvent(QMouseEvent* event)
{
    if (event->button() != Qt::LeftButton)
        return;
    const QPoint position = event->position().toPoint();
    const int column = qBound(0, position.x() / m_nCellWidth, m_screen.Columns() - 1);
    const int line = TopLine() + qBound(0, position.y() / m_nCellHeight, m_screen.Rows() - 1);
    if (!IsWordCharacter(m_screen.LineCell(line, column).ch))
        return;
    int first = column;
    while (first > 0 && IsWordCharacter(m_screen.LineCell(line, first - 1).ch))
        --first;
    int end = column + 1;
    while (end < m_screen.Columns() && IsWordCharacter(m_screen.LineCell(line, end).ch))
        ++end;
    m_bSelecting = false;
    Select(QPoint(first, line), QPoint(end, line));
}
