#include "CTtyInterpreter.h"

#include "CCodePage.h"
#include "CControlCode.h"

namespace {

constexpr char Esc = '\x1b';
constexpr char ClearSequence[] = "\x1b[2J";
constexpr int ClearLength = 4;
// Shown for the bytes that have no character: DEL (SYMBOL FOR DELETE) and
// the code page's undefined bytes (REPLACEMENT CHARACTER).
constexpr char DeleteSymbol[] = "\u2421";
constexpr char ReplacementCharacter[] = "\uFFFD";

bool IsTtyControl(char byte)
{
    return byte == '\r' || byte == '\n' || byte == '\b' || byte == '\t' || byte == '\a';
}

} // namespace

CTtyInterpreter::CTtyInterpreter(Mode mode)
    : m_mode(mode)
{
}

void CTtyInterpreter::Reset(Mode mode)
{
    m_mode = mode;
    m_nClearMatched = 0;
}

void CTtyInterpreter::Interpret(const QByteArray& bytes, QByteArray& screen)
{
    for (const char byte : bytes)
        Dispatch(byte, screen);
}

void CTtyInterpreter::Dispatch(char byte, QByteArray& screen)
{
    if (m_nClearMatched > 0) {
        if (byte == ClearSequence[m_nClearMatched]) {
            if (++m_nClearMatched == ClearLength) {
                screen += ClearSequence;
                m_nClearMatched = 0;
            }
            return;
        }
        GiveUpClear(screen);
    }
    if (byte == Esc) {
        m_nClearMatched = 1;
        return;
    }
    Plain(byte, screen);
}

// Not a clear after all: the ESC counts as any control byte, and what came
// after it ("[", "[2") are plain characters.
void CTtyInterpreter::GiveUpClear(QByteArray& screen)
{
    const int matched = m_nClearMatched;
    m_nClearMatched = 0;
    for (int i = 0; i < matched; ++i)
        Plain(ClearSequence[i], screen);
}

void CTtyInterpreter::Plain(char byte, QByteArray& screen) const
{
    const auto value = static_cast<unsigned char>(byte);
    if (m_mode == Tty) {
        if (IsTtyControl(byte))
            screen += byte;
        else
            AppendPrintable(screen, byte);
        return;
    }
    if (value < 32) {
        screen += '<' + CControlCode().GetName(value) + '>';
        if (byte == '\n')
            screen += "\r\n";
        return;
    }
    if (!AppendPrintable(screen, byte))
        screen += value == 0x7F ? DeleteSymbol : ReplacementCharacter;
}

bool CTtyInterpreter::AppendPrintable(QByteArray& screen, char byte)
{
    const auto value = static_cast<unsigned char>(byte);
    if (value < 0x80) {
        if (value < 0x20 || value == 0x7F)
            return false;
        screen += byte;
        return true;
    }
    const char32_t codePoint = CCodePage::CharToUnicode(byte);
    // The undefined bytes stand for C1 control code points.
    if (codePoint < 0xA0 && codePoint >= 0x80)
        return false;
    AppendCharacter(screen, codePoint);
    return true;
}

void CTtyInterpreter::AppendCharacter(QByteArray& screen, char32_t codePoint)
{
    if (codePoint < 0x80) {
        screen += char(codePoint);
        return;
    }
    char utf8[3];
    int n = 0;
    if (codePoint < 0x800) {
        utf8[n++] = char(0xC0 | (codePoint >> 6));
    } else {
        utf8[n++] = char(0xE0 | (codePoint >> 12));
        utf8[n++] = char(0x80 | ((codePoint >> 6) & 0x3F));
    }
    utf8[n++] = char(0x80 | (codePoint & 0x3F));
    screen.append(utf8, n);
}
