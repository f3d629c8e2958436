#include "CTerminalScreen.h"

#include "CByteOutput.h"
#include "CTerminalDisplaySettings.h"

#include <vterm.h>

#include <algorithm>

namespace {

bool IsBlankCell(const VTermScreenCell& cell)
{
    return (cell.chars[0] == 0 || cell.chars[0] == U' ') && VTERM_COLOR_IS_DEFAULT_BG(&cell.bg)
        && !cell.attrs.reverse && !cell.attrs.underline && !cell.attrs.strike;
}

CTerminalCell ConvertCell(VTermScreen* screen, const VTermScreenCell& source)
{
    CTerminalCell cell;
    cell.ch = source.chars[0] == uint32_t(-1) ? CTerminalCell::WideTail : char32_t(source.chars[0]);
    const VTermScreenCellAttrs& a = source.attrs;
    cell.attrs = quint8((a.bold ? CTerminalCell::Bold : 0) | (a.underline ? CTerminalCell::Underline : 0)
                        | (a.italic ? CTerminalCell::Italic : 0) | (a.blink ? CTerminalCell::Blink : 0)
                        | (a.reverse ? CTerminalCell::Reverse : 0) | (a.strike ? CTerminalCell::Strike : 0));
    const auto rgb = [screen](VTermColor color) {
        vterm_screen_convert_color_to_rgb(screen, &color);
        return CTerminalCell::ColorSet | quint32(color.rgb.red) << 16 | quint32(color.rgb.green) << 8
            | quint32(color.rgb.blue);
    };
    if (!VTERM_COLOR_IS_DEFAULT_FG(&source.fg))
        cell.fg = rgb(source.fg);
    if (!VTERM_COLOR_IS_DEFAULT_BG(&source.bg))
        cell.bg = rgb(source.bg);
    return cell;
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

// libvterm calls back through these, with the screen as user data.
struct CTerminalScreenCallbacks
{
    static CTerminalScreen* Screen(void* user) { return static_cast<CTerminalScreen*>(user); }

    static void Output(const char* bytes, size_t length, void* user)
    {
        Screen(user)->Reply(QByteArray(bytes, qsizetype(length)));
    }
    static int PushLine(int columns, const VTermScreenCell* cells, void* user)
    {
        CTerminalScreen* screen = Screen(user);
        if (screen->m_nScrollbackCapacity == 0)
            return 1;
        // Kept without its trailing blanks.
        int length = columns;
        while (length > 0 && IsBlankCell(cells[length - 1]))
            --length;
        QList<CTerminalCell> line;
        line.reserve(length);
        for (int i = 0; i < length; ++i)
            line.append(ConvertCell(screen->m_pScreen, cells[i]));
        screen->PushLine(std::move(line));
        return 1;
    }
    static int SetTermProp(VTermProp prop, VTermValue* value, void* user)
    {
        if (prop == VTERM_PROP_CURSORVISIBLE)
            Screen(user)->m_bCursorVisible = value->boolean != 0;
        return 1;
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

const VTermScreenCallbacks CallbackTable = {
    nullptr, // damage: the painter reads the whole screen
    nullptr, // moverect
    nullptr, // movecursor: read when painting
    &CTerminalScreenCallbacks::SetTermProp,
    &CTerminalScreenCallbacks::Bell,
    nullptr, // resize: the size is fixed by the settings
    &CTerminalScreenCallbacks::PushLine,
    nullptr, // popline: the screen never grows
};

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
    m_bCursorVisible = true;
    m_vt52.Reset(m_nRows);
    m_tty.Reset(m_nEmulation == EmulationNone ? CTtyInterpreter::ControlNames : CTtyInterpreter::Tty);

    m_pTerm = vterm_new(m_nRows, m_nColumns);
    // ANSI and VT100 take the line's bytes as they come (8-bit, Latin-1 in
    // the upper half); our interpreters hand their characters on as UTF-8.
    const bool ansi = m_nEmulation == EmulationAnsi || m_nEmulation == EmulationVt100;
    vterm_set_utf8(m_pTerm, ansi ? 0 : 1);
    vterm_output_set_callback(m_pTerm, &CTerminalScreenCallbacks::Output, this);
    vterm_state_set_bold_highbright(vterm_obtain_state(m_pTerm), 1);
    m_pScreen = vterm_obtain_screen(m_pTerm);
    vterm_screen_set_callbacks(m_pScreen, &CallbackTable, this);
    vterm_screen_enable_altscreen(m_pScreen, 1);
    vterm_screen_reset(m_pScreen, 1);
    if (m_nEmulation == EmulationVt52)
        Input(CVt52Interpreter::Setup);
}

void CTerminalScreen::DestroyTerminal()
{
    if (m_pTerm)
        vterm_free(m_pTerm);
    m_pTerm = nullptr;
    m_pScreen = nullptr;
}

void CTerminalScreen::Write(const QByteArray& bytes)
{
    if (bytes.isEmpty())
        return;
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
        Input(bytes);
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

void CTerminalScreen::PushLine(QList<CTerminalCell>&& line)
{
    m_scrollback.push_back(std::move(line));
    if (int(m_scrollback.size()) > m_nScrollbackCapacity) {
        m_scrollback.pop_front();
        ++m_nDropped;
    }
}

CTerminalCell CTerminalScreen::Cell(int row, int column) const
{
    if (row < 0 || row >= m_nRows || column < 0 || column >= m_nColumns)
        return {};
    VTermScreenCell cell;
    if (!vterm_screen_get_cell(m_pScreen, VTermPos{row, column}, &cell))
        return {};
    return ConvertCell(m_pScreen, cell);
}

CTerminalCell CTerminalScreen::LineCell(int line, int column) const
{
    const int count = ScrollbackCount();
    if (line >= count)
        return Cell(line - count, column);
    if (line < 0)
        return {};
    const QList<CTerminalCell>& cells = m_scrollback[size_t(line)];
    return column >= 0 && column < cells.size() ? cells.at(column) : CTerminalCell{};
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
    vterm_state_get_cursorpos(vterm_obtain_state(m_pTerm), &position);
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
