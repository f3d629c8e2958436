#include "CTerminalScreen.h"

#include "CByteOutput.h"
#include "CTerminalDisplaySettings.h"

#include <vterm.h>

#include <algorithm>

namespace {

quint32 ColorOf(const VTermState* state, VTermColor color, bool foreground)
{
    if (foreground ? VTERM_COLOR_IS_DEFAULT_FG(&color) : VTERM_COLOR_IS_DEFAULT_BG(&color))
        return CTerminalCell::DefaultColor;
    vterm_state_convert_color_to_rgb(state, &color);
    return CTerminalCell::ColorSet | quint32(color.rgb.red) << 16 | quint32(color.rgb.green) << 8
        | quint32(color.rgb.blue);
}

quint8 AttributeOf(VTermAttr attr)
{
    switch (attr) {
    case VTERM_ATTR_BOLD: return CTerminalCell::Bold;
    case VTERM_ATTR_UNDERLINE: return CTerminalCell::Underline;
    case VTERM_ATTR_ITALIC: return CTerminalCell::Italic;
    case VTERM_ATTR_BLINK: return CTerminalCell::Blink;
    case VTERM_ATTR_REVERSE: return CTerminalCell::Reverse;
    case VTERM_ATTR_STRIKE: return CTerminalCell::Strike;
    default: return 0;
    }
}

VTermModifier ModifiersOf(Qt::KeyboardModifiers modifiers)
{
    int result = VTERM_MOD_NONE;
    if (modifiers & Qt::ShiftModifier)
        result |= VTERM_MOD_SHIFT;
    if (modifiers & Qt::AltModifier)
        result |= VTERM_MOD_ALT;
    if (modifiers & Qt::ControlModifier)
        result |= VTERM_MOD_CTRL;
    return VTermModifier(result);
}

// The keypad's keys when Qt says they come from the keypad.
VTermKey KeypadKey(int qtKey)
{
    if (qtKey >= Qt::Key_0 && qtKey <= Qt::Key_9)
        return VTermKey(VTERM_KEY_KP_0 + (qtKey - Qt::Key_0));
    switch (qtKey) {
    case Qt::Key_Asterisk: return VTERM_KEY_KP_MULT;
    case Qt::Key_Plus: return VTERM_KEY_KP_PLUS;
    case Qt::Key_Comma: return VTERM_KEY_KP_COMMA;
    case Qt::Key_Minus: return VTERM_KEY_KP_MINUS;
    case Qt::Key_Period: return VTERM_KEY_KP_PERIOD;
    case Qt::Key_Slash: return VTERM_KEY_KP_DIVIDE;
    case Qt::Key_Enter: return VTERM_KEY_KP_ENTER;
    case Qt::Key_Equal: return VTERM_KEY_KP_EQUAL;
    default: return VTERM_KEY_NONE;
    }
}

VTermKey EditingKey(int qtKey)
{
    switch (qtKey) {
    case Qt::Key_Up: return VTERM_KEY_UP;
    case Qt::Key_Down: return VTERM_KEY_DOWN;
    case Qt::Key_Left: return VTERM_KEY_LEFT;
    case Qt::Key_Right: return VTERM_KEY_RIGHT;
    case Qt::Key_Insert: return VTERM_KEY_INS;
    case Qt::Key_Delete: return VTERM_KEY_DEL;
    case Qt::Key_Home: return VTERM_KEY_HOME;
    case Qt::Key_End: return VTERM_KEY_END;
    case Qt::Key_PageUp: return VTERM_KEY_PAGEUP;
    case Qt::Key_PageDown: return VTERM_KEY_PAGEDOWN;
    default: return VTERM_KEY_NONE;
    }
}

// F-key number 1..35, or 0.
int FunctionKeyNumber(int qtKey)
{
    return qtKey >= Qt::Key_F1 && qtKey <= Qt::Key_F35 ? qtKey - Qt::Key_F1 + 1 : 0;
}

// The VT100 and the VT52 have PF1..PF4; F1..F4 and F9..F12 send them
// (F1..F8 are the program's function keys in a terminal window).
int PfKeyNumber(int functionKey)
{
    if (functionKey >= 1 && functionKey <= 4)
        return functionKey;
    if (functionKey >= 9 && functionKey <= 12)
        return functionKey - 8;
    return 0;
}

int ClampedEmulation(int emulation)
{
    return emulation >= CTerminalScreen::EmulationNone && emulation <= CTerminalScreen::EmulationVt100
        ? emulation
        : int(CTerminalScreen::EmulationAnsi);
}

} // namespace

// libvterm's state layer calls back through these, with the screen as user
// data; the cells are the screen's own.
struct CTerminalScreenCallbacks
{
    static CTerminalScreen* Screen(void* user) { return static_cast<CTerminalScreen*>(user); }

    static void Output(const char* bytes, size_t length, void* user)
    {
        Screen(user)->Reply(QByteArray(bytes, qsizetype(length)));
    }
    static int PutGlyph(VTermGlyphInfo* info, VTermPos pos, void* user)
    {
        CTerminalScreen* screen = Screen(user);
        if (pos.row < 0 || pos.row >= screen->m_nRows || pos.col < 0 || pos.col >= screen->m_nColumns)
            return 1;
        std::vector<CTerminalCell>& row = screen->Buffer()[size_t(pos.row)];
        CTerminalCell cell = screen->m_pen;
        cell.ch = info->chars[0] == 0 ? U' ' : char32_t(info->chars[0]);
        row[size_t(pos.col)] = cell;
        if (info->width == 2 && pos.col + 1 < screen->m_nColumns) {
            cell.ch = CTerminalCell::WideTail;
            row[size_t(pos.col + 1)] = cell;
        }
        return 1;
    }
    // Whole rows moving up or down in a region: the rows themselves move.
    // Anything else (characters inserted or deleted, a region narrower than
    // the screen) is left to MoveRect and Erase.
    static int ScrollRect(VTermRect rect, int downward, int rightward, void* user)
    {
        CTerminalScreen* screen = Screen(user);
        if (rightward != 0 || rect.start_col != 0 || rect.end_col != screen->m_nColumns)
            return 0;
        const int height = rect.end_row - rect.start_row;
        if (qAbs(downward) >= height) {
            screen->EraseRows(rect.start_row, rect.end_row, 0, screen->m_nColumns);
            return 1;
        }
        auto& rows = screen->Buffer();
        const auto first = rows.begin() + rect.start_row;
        const auto end = rows.begin() + rect.end_row;
        if (downward > 0) {
            // Rows leaving the top of the main screen go to the scroll-back.
            if (rect.start_row == 0 && screen->m_nBuffer == 0) {
                for (int i = 0; i < downward; ++i)
                    screen->PushLine(rows[size_t(i)]);
            }
            std::rotate(first, first + downward, end);
            screen->EraseRows(rect.end_row - downward, rect.end_row, 0, screen->m_nColumns);
        } else {
            std::rotate(first, end + downward, end);
            screen->EraseRows(rect.start_row, rect.start_row - downward, 0, screen->m_nColumns);
        }
        return 1;
    }
    static int MoveRect(VTermRect dest, VTermRect src, void* user)
    {
        CTerminalScreen* screen = Screen(user);
        auto& rows = screen->Buffer();
        std::vector<CTerminalCell> moved;
        moved.reserve(size_t((src.end_row - src.start_row) * (src.end_col - src.start_col)));
        for (int row = src.start_row; row < src.end_row; ++row) {
            for (int column = src.start_col; column < src.end_col; ++column)
                moved.push_back(rows[size_t(row)][size_t(column)]);
        }
        size_t i = 0;
        for (int row = dest.start_row; row < dest.end_row; ++row) {
            for (int column = dest.start_col; column < dest.end_col; ++column)
                rows[size_t(row)][size_t(column)] = moved[i++];
        }
        return 1;
    }
    static int Erase(VTermRect rect, int, void* user)
    {
        Screen(user)->EraseRows(rect.start_row, rect.end_row, rect.start_col, rect.end_col);
        return 1;
    }
    static int InitPen(void* user)
    {
        Screen(user)->m_pen = CTerminalCell{};
        return 1;
    }
    static int SetPenAttr(VTermAttr attr, VTermValue* value, void* user)
    {
        CTerminalScreen* screen = Screen(user);
        CTerminalCell& pen = screen->m_pen;
        switch (attr) {
        case VTERM_ATTR_FOREGROUND:
            pen.fg = ColorOf(screen->m_pState, value->color, true);
            return 1;
        case VTERM_ATTR_BACKGROUND:
            pen.bg = ColorOf(screen->m_pState, value->color, false);
            return 1;
        default:
            break;
        }
        const quint8 bit = AttributeOf(attr);
        // Underline is a number (single, double, curly); the rest are flags.
        const bool on = attr == VTERM_ATTR_UNDERLINE ? value->number != 0 : value->boolean != 0;
        pen.attrs = on ? quint8(pen.attrs | bit) : quint8(pen.attrs & ~bit);
        return 1;
    }
    static int SetTermProp(VTermProp prop, VTermValue* value, void* user)
    {
        CTerminalScreen* screen = Screen(user);
        switch (prop) {
        case VTERM_PROP_CURSORVISIBLE:
            screen->m_bCursorVisible = value->boolean != 0;
            return 1;
        case VTERM_PROP_REVERSE:
            screen->m_bReverseVideo = value->boolean != 0;
            return 1;
        case VTERM_PROP_ALTSCREEN:
            screen->m_nBuffer = value->boolean ? 1 : 0;
            // The alternate screen starts empty each time.
            if (screen->m_nBuffer == 1)
                screen->EraseRows(0, screen->m_nRows, 0, screen->m_nColumns);
            return 1;
        default:
            return 1;
        }
    }
    static int Bell(void* user)
    {
        CTerminalScreen* screen = Screen(user);
        ++screen->m_nBells;
        Q_EMIT screen->bell();
        return 1;
    }
};

namespace {

VTermStateCallbacks MakeCallbackTable()
{
    VTermStateCallbacks table = {};
    table.putglyph = &CTerminalScreenCallbacks::PutGlyph;
    table.scrollrect = &CTerminalScreenCallbacks::ScrollRect;
    table.moverect = &CTerminalScreenCallbacks::MoveRect;
    table.erase = &CTerminalScreenCallbacks::Erase;
    table.initpen = &CTerminalScreenCallbacks::InitPen;
    table.setpenattr = &CTerminalScreenCallbacks::SetPenAttr;
    table.settermprop = &CTerminalScreenCallbacks::SetTermProp;
    table.bell = &CTerminalScreenCallbacks::Bell;
    return table;
}

const VTermStateCallbacks CallbackTable = MakeCallbackTable();

} // namespace

CTerminalScreen::CTerminalScreen(QObject* parent)
    : QObject(parent)
{
    CreateTerminal();
}

CTerminalScreen::~CTerminalScreen()
{
    DestroyTerminal();
}

void CTerminalScreen::ApplySettings(const CTerminalDisplaySettings& settings)
{
    m_nEmulation = ClampedEmulation(settings.m_nEmulation);
    m_nRows = std::clamp(settings.m_nRows, MinRows, MaxRows);
    m_nColumns = std::clamp(settings.m_nColumns, MinColumns, MaxColumns);
    m_nScrollbackCapacity = settings.m_nScrollbackRows > 0 ? ScrollbackLimit : 0;
    m_bLocalEcho = settings.m_bLocalEcho;
    m_bBlockCursor = settings.m_nBlockCursor != 0;
    m_strFont = settings.m_strFont;
    DestroyTerminal();
    CreateTerminal();
    Q_EMIT settingsApplied();
    Write(settings.m_strInitialInput);
}

void CTerminalScreen::CreateTerminal()
{
    m_scrollback.clear();
    m_nDropped = 0;
    m_nBells = 0;
    m_nBytesWritten = 0;
    m_bCursorVisible = true;
    m_vt52.Reset(m_nRows);
    m_csiGuard.Reset();
    m_tty.Reset(m_nEmulation == EmulationNone ? CTtyInterpreter::ControlNames : CTtyInterpreter::Tty);

    m_bReverseVideo = false;
    m_nBuffer = 0;
    m_pen = CTerminalCell{};
    for (auto& buffer : m_buffers)
        buffer.assign(size_t(m_nRows), std::vector<CTerminalCell>(size_t(m_nColumns)));

    m_pTerm = vterm_new(m_nRows, m_nColumns);
    // ANSI and VT100 take the line's bytes as they come (8-bit, Latin-1 in
    // the upper half); our interpreters hand their characters on as UTF-8.
    const bool ansi = m_nEmulation == EmulationAnsi || m_nEmulation == EmulationVt100;
    vterm_set_utf8(m_pTerm, ansi ? 0 : 1);
    vterm_output_set_callback(m_pTerm, &CTerminalScreenCallbacks::Output, this);
    m_pState = vterm_obtain_state(m_pTerm);
    vterm_state_set_callbacks(m_pState, &CallbackTable, this);
    vterm_state_set_bold_highbright(m_pState, 1);
    vterm_state_reset(m_pState, 1);
    PrimeRepeat();
    if (m_nEmulation == EmulationVt52)
        Input(CVt52Interpreter::Setup);
}

// A repeat (CSI b) before any character is printed would loop for ever
// inside libvterm: it steps by the width of the last glyph, which is 0 until
// one is printed. One space, written while nobody listens, gives it a glyph.
void CTerminalScreen::PrimeRepeat()
{
    vterm_state_set_callbacks(m_pState, nullptr, nullptr);
    vterm_input_write(m_pTerm, " \r", 2);
    vterm_state_set_callbacks(m_pState, &CallbackTable, this);
}

void CTerminalScreen::DestroyTerminal()
{
    if (m_pTerm)
        vterm_free(m_pTerm);
    m_pTerm = nullptr;
    m_pState = nullptr;
}

void CTerminalScreen::Write(const QByteArray& bytes)
{
    if (bytes.isEmpty())
        return;
    m_nBytesWritten += bytes.size();
    switch (m_nEmulation) {
    case EmulationVt52:
        m_translated.clear();
        m_replies.clear();
        m_vt52.Interpret(bytes, m_translated, m_replies);
        Input(m_translated);
        if (!m_replies.isEmpty())
            Reply(m_replies);
        break;
    case EmulationTty:
    case EmulationNone:
        m_translated.clear();
        m_tty.Interpret(bytes, m_translated);
        Input(m_translated);
        break;
    default:
        Input(m_csiGuard.Filter(bytes, m_translated));
        break;
    }
    Q_EMIT changed();
}

void CTerminalScreen::Input(const QByteArray& bytes)
{
    if (!bytes.isEmpty())
        vterm_input_write(m_pTerm, bytes.constData(), size_t(bytes.size()));
}

void CTerminalScreen::Reply(const QByteArray& bytes)
{
    if (m_pKeyCapture) {
        m_pKeyCapture->append(bytes);
        return;
    }
    if (m_pReplyOutput)
        m_pReplyOutput->SetOutput(bytes);
}

void CTerminalScreen::EraseRows(int first, int end, int startColumn, int endColumn)
{
    const CTerminalCell blank = Blank();
    auto& rows = Buffer();
    for (int row = qMax(first, 0); row < qMin(end, m_nRows); ++row) {
        std::vector<CTerminalCell>& cells = rows[size_t(row)];
        std::fill(cells.begin() + qBound(0, startColumn, m_nColumns), cells.begin() + qBound(0, endColumn, m_nColumns),
                  blank);
    }
}

void CTerminalScreen::PushLine(const std::vector<CTerminalCell>& row)
{
    if (m_nScrollbackCapacity == 0)
        return;
    // Kept without its trailing blanks.
    size_t length = row.size();
    while (length > 0 && row[length - 1].IsBlank())
        --length;
    // At the limit the oldest line goes, and its storage takes the new one.
    std::vector<CTerminalCell> line;
    if (int(m_scrollback.size()) >= m_nScrollbackCapacity) {
        line = std::move(m_scrollback.front());
        m_scrollback.pop_front();
        ++m_nDropped;
    }
    line.assign(row.begin(), row.begin() + qsizetype(length));
    m_scrollback.push_back(std::move(line));
}

CTerminalCell CTerminalScreen::Cell(int row, int column) const
{
    if (row < 0 || row >= m_nRows || column < 0 || column >= m_nColumns)
        return {};
    return Buffer()[size_t(row)][size_t(column)];
}

CTerminalCell CTerminalScreen::LineCell(int line, int column) const
{
    const int count = ScrollbackCount();
    if (line >= count)
        return Cell(line - count, column);
    if (line < 0)
        return {};
    const std::vector<CTerminalCell>& cells = m_scrollback[size_t(line)];
    return column >= 0 && size_t(column) < cells.size() ? cells[size_t(column)] : CTerminalCell{};
}

QString CTerminalScreen::LineText(int line) const
{
    return Text(QPoint(0, line), QPoint(m_nColumns, line));
}

QStringList CTerminalScreen::ScreenText() const
{
    QStringList rows;
    for (int row = 0; row < m_nRows; ++row)
        rows.append(LineText(ScrollbackCount() + row));
    return rows;
}

QString CTerminalScreen::Text(QPoint from, QPoint to) const
{
    if (to.y() < from.y() || (to.y() == from.y() && to.x() < from.x()))
        std::swap(from, to);
    QString text;
    for (int line = from.y(); line <= to.y(); ++line) {
        const int first = line == from.y() ? from.x() : 0;
        const int end = line == to.y() ? qMin(to.x(), m_nColumns) : m_nColumns;
        QString part;
        for (int column = first; column < end; ++column) {
            const char32_t ch = LineCell(line, column).ch;
            if (ch == CTerminalCell::WideTail)
                continue;
            const char32_t shown = ch == 0 ? U' ' : ch;
            part += QString::fromUcs4(&shown, 1);
        }
        while (part.endsWith(QLatin1Char(' ')))
            part.chop(1);
        text += part;
        if (line < to.y())
            text += QLatin1Char('\n');
    }
    return text;
}

QPoint CTerminalScreen::CursorPosition() const
{
    VTermPos position;
    vterm_state_get_cursorpos(m_pState, &position);
    return QPoint(position.col, position.row);
}

QByteArray CTerminalScreen::KeySequence(int qtKey, Qt::KeyboardModifiers modifiers)
{
    switch (m_nEmulation) {
    case EmulationAnsi:
    case EmulationVt100:
        return VtermKey(qtKey, modifiers);
    case EmulationVt52:
        return Vt52Key(qtKey, modifiers);
    default:
        return {};
    }
}

QByteArray CTerminalScreen::VtermKey(int qtKey, Qt::KeyboardModifiers modifiers)
{
    VTermKey key = EditingKey(qtKey);
    VTermModifier mod = ModifiersOf(modifiers);
    if (key == VTERM_KEY_NONE && (modifiers & Qt::KeypadModifier))
        key = KeypadKey(qtKey);
    if (key == VTERM_KEY_NONE && qtKey == Qt::Key_Backtab) {
        key = VTERM_KEY_TAB;
        mod = VTermModifier(mod | VTERM_MOD_SHIFT);
    }
    if (key == VTERM_KEY_NONE) {
        const int function = FunctionKeyNumber(qtKey);
        const int number = m_nEmulation == EmulationVt100 ? PfKeyNumber(function) : function;
        if (number > 0)
            key = VTermKey(VTERM_KEY_FUNCTION(number));
    }
    if (key == VTERM_KEY_NONE)
        return {};
    QByteArray sequence;
    m_pKeyCapture = &sequence;
    vterm_keyboard_key(m_pTerm, key, mod);
    m_pKeyCapture = nullptr;
    // One byte (a keypad digit in numeric mode, Enter) is the key's own
    // character: it is typed like any other.
    return sequence.size() > 1 ? sequence : QByteArray();
}

QByteArray CTerminalScreen::Vt52Key(int qtKey, Qt::KeyboardModifiers modifiers) const
{
    switch (qtKey) {
    case Qt::Key_Up: return "\x1b" "A";
    case Qt::Key_Down: return "\x1b" "B";
    case Qt::Key_Right: return "\x1b" "C";
    case Qt::Key_Left: return "\x1b" "D";
    default: break;
    }
    if (const int pf = PfKeyNumber(FunctionKeyNumber(qtKey)); pf > 0)
        return QByteArray("\x1b") + char('P' + pf - 1);
    if (!(modifiers & Qt::KeypadModifier) || !m_vt52.IsKeypadApplication())
        return {};
    // The alternate keypad: ESC ? and a letter for each key.
    if (qtKey >= Qt::Key_0 && qtKey <= Qt::Key_9)
        return QByteArray("\x1b?") + char('p' + (qtKey - Qt::Key_0));
    switch (qtKey) {
    case Qt::Key_Period: return "\x1b?n";
    case Qt::Key_Enter: return "\x1b?M";
    case Qt::Key_Minus: return "\x1b?m";
    case Qt::Key_Comma: return "\x1b?l";
    default: return {};
    }
}
