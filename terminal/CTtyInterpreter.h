#pragma once

#include <QByteArray>

// The TTY and None emulations. TTY: printable characters, CR, LF, BS, HT
// and BEL; every other byte is ignored. None: every byte is shown, control
// characters 0..31 by their names ("<CR>"), with a new line after "<LF>".
// In both, ESC "[2J" clears the screen.
//
// The result is input for the screen's ANSI layer: printable characters as
// UTF-8 (the line's bytes are Windows-1252), the few control functions as
// themselves. A clear sequence cut between two writes is recognised.
class CTtyInterpreter
{
public:
    enum Mode { Tty, ControlNames };

    explicit CTtyInterpreter(Mode mode = Tty);
    void Reset(Mode mode);

    // Appends to screen what the received bytes do to the screen.
    void Interpret(const QByteArray& bytes, QByteArray& screen);

    // Appends the character of a printable byte as UTF-8; false (nothing
    // appended) for a control byte, DEL and the code page's undefined bytes.
    static bool AppendPrintable(QByteArray& screen, char byte);
    // Appends a character of the Basic Multilingual Plane as UTF-8.
    static void AppendCharacter(QByteArray& screen, char32_t codePoint);

private:
    void Dispatch(char byte, QByteArray& screen);
    void Plain(char byte, QByteArray& screen) const;
    void GiveUpClear(QByteArray& screen);

    Mode m_mode;
    int m_nClearMatched = 0; // bytes of ESC "[2J" seen so far
};
