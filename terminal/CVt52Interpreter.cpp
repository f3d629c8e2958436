#include "CVt52Interpreter.h"

#include "CTtyInterpreter.h"

namespace {

constexpr char Esc = '\x1b';
constexpr char ClearTail[] = "2J";
constexpr int ClearTailLength = 2;
// Row and column of ESC Y come as the value + 32.
constexpr int AddressOffset = 32;

// The special graphics characters for 0x5F..0x7E.
constexpr char32_t Graphics[] = {
    U'\u00A0', U'\u25C6', U'\u2592', U'\u2409', U'\u240C', U'\u240D', U'\u240A', U'\u00B0',
    U'\u00B1', U'\u2424', U'\u240B', U'\u2518', U'\u2510', U'\u250C', U'\u2514', U'\u253C',
    U'\u23BA', U'\u23BB', U'\u2500', U'\u23BC', U'\u23BD', U'\u251C', U'\u2524', U'\u2534',
    U'\u252C', U'\u2502', U'\u2264', U'\u2265', U'\u03C0', U'\u2260', U'\u00A3', U'\u00B7',
};
constexpr char FirstGraphic = 0x5F;

} // namespace

CVt52Interpreter::CVt52Interpreter(int rows)
    : m_nRows(rows)
{
}

void CVt52Interpreter::Reset(int rows)
{
    m_nRows = rows;
    m_state = State::Ground;
    m_nRow = 0;
    m_nClearMatched = 0;
    m_bKeypadApplication = false;
    m_bGraphics = false;
}

void CVt52Interpreter::Interpret(const QByteArray& bytes, QByteArray& screen, QByteArray& replies)
{
    for (const char byte : bytes)
        Dispatch(byte, screen, replies);
}

void CVt52Interpreter::Dispatch(char byte, QByteArray& screen, QByteArray& replies)
{
    switch (m_state) {
    case State::Ground:
        Ground(byte, screen);
        return;
    case State::Escape:
        Escape(byte, screen, replies);
        return;
    case State::Row:
        m_nRow = static_cast<unsigned char>(byte) - AddressOffset;
        m_state = State::Column;
        return;
    case State::Column:
        m_state = State::Ground;
        Address(static_cast<unsigned char>(byte) - AddressOffset, screen);
        return;
    case State::Clear:
        if (byte == ClearTail[m_nClearMatched]) {
            if (++m_nClearMatched == ClearTailLength) {
                screen += "\x1b[2J";
                m_state = State::Ground;
            }
            return;
        }
        // ESC [ is no VT52 sequence: it is ignored, and what followed it
        // are plain characters again.
        m_state = State::Ground;
        for (int i = 0; i < m_nClearMatched; ++i)
            Ground(ClearTail[i], screen);
        Dispatch(byte, screen, replies);
        return;
    }
}

void CVt52Interpreter::Ground(char byte, QByteArray& screen)
{
    switch (byte) {
    case Esc:
        m_state = State::Escape;
        return;
    case '\r':
    case '\n':
    case '\b':
    case '\t':
    case '\a':
        screen += byte;
        return;
    default:
        Printable(byte, screen);
        return;
    }
}

// The graphics are translated here, character by character, so that they
// do not depend on how the screen's parser groups its text.
void CVt52Interpreter::Printable(char byte, QByteArray& screen) const
{
    if (m_bGraphics && byte >= FirstGraphic && byte <= '~') {
        CTtyInterpreter::AppendCharacter(screen, Graphics[byte - FirstGraphic]);
        return;
    }
    CTtyInterpreter::AppendPrintable(screen, byte);
}

void CVt52Interpreter::Escape(char byte, QByteArray& screen, QByteArray& replies)
{
    m_state = State::Ground;
    switch (byte) {
    case 'A': screen += "\x1b[A"; return;
    case 'B': screen += "\x1b[B"; return;
    case 'C': screen += "\x1b[C"; return;
    case 'D': screen += "\x1b[D"; return;
    case 'H': screen += "\x1b[H"; return;
    case 'I': screen += "\x1bM"; return;       // reverse index: scrolls down at the top
    case 'J': screen += "\x1b[J"; return;
    case 'K': screen += "\x1b[K"; return;
    case 'F': m_bGraphics = true; return;
    case 'G': m_bGraphics = false; return;
    case 'Z': replies += IdentifyReply; return;
    case '=': m_bKeypadApplication = true; return;
    case '>': m_bKeypadApplication = false; return;
    case 'Y': m_state = State::Row; return;
    case '[':
        m_state = State::Clear;
        m_nClearMatched = 0;
        return;
    case Esc: m_state = State::Escape; return;
    default: return;
    }
}

// A row beyond the screen leaves the cursor's row as it is; a column beyond
// the right margin puts it in the last column (the ANSI layer clamps it).
void CVt52Interpreter::Address(int column, QByteArray& screen) const
{
    const QByteArray col = QByteArray::number(qMax(column, 0) + 1);
    if (m_nRow < 0 || m_nRow >= m_nRows) {
        screen += "\x1b[" + col + 'G';
        return;
    }
    screen += "\x1b[" + QByteArray::number(m_nRow + 1) + ';' + col + 'H';
}
