#pragma once

#include <QByteArray>

// The VT52 emulation. Cursor up, down, right, left (ESC A, B, C, D), home
// (ESC H), direct cursor address (ESC Y row column, each + 32), erase to
// the end of the screen and of the line (ESC J, K), reverse line feed
// (ESC I), identify (ESC Z, answered ESC / Z), graphics on and off
// (ESC F, G: the special graphics of the VT100 in its VT52 mode, line
// drawing in place of 0x5F..0x7E), alternate and numeric keypad (ESC =, >);
// the control bytes
// CR, LF, BS, HT and BEL; printable characters; and ESC "[2J", which clears
// the screen. Other escape sequences and control bytes are ignored. The
// VT52 does not wrap at the right margin: characters there overwrite the
// last column.
//
// The result is input for the screen's ANSI layer (the equivalent ECMA-48
// functions, characters as UTF-8); the answers go to the line. Sequences
// cut between two writes are recognised.
class CVt52Interpreter
{
public:
    static constexpr char IdentifyReply[] = "\x1b/Z";
    // Sets up the ANSI layer for the VT52: no wrapping at the right margin.
    static constexpr char Setup[] = "\x1b[?7l";

    explicit CVt52Interpreter(int rows = 24);
    void Reset(int rows);

    // Appends to screen what the received bytes do to the screen, and to
    // replies what the terminal answers on the line.
    void Interpret(const QByteArray& bytes, QByteArray& screen, QByteArray& replies);

    // ESC = is in force (the keypad sends ESC ? sequences).
    bool IsKeypadApplication() const { return m_bKeypadApplication; }

private:
    enum class State { Ground, Escape, Row, Column, Clear };

    void Dispatch(char byte, QByteArray& screen, QByteArray& replies);
    void Ground(char byte, QByteArray& screen);
    void Escape(char byte, QByteArray& screen, QByteArray& replies);
    void Address(int column, QByteArray& screen) const;
    void Printable(char byte, QByteArray& screen) const;

    int m_nRows;
    State m_state = State::Ground;
    int m_nRow = 0;
    int m_nClearMatched = 0; // bytes of "2J" seen after ESC [
    bool m_bKeypadApplication = false;
    bool m_bGraphics = false;
};
