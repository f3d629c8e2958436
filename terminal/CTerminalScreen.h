#pragma once

#include "CCsiGuard.h"
#include "CTerminalCell.h"
#include "CTerminalDisplayInput.h"
#include "CTtyInterpreter.h"
#include "CVt52Interpreter.h"

#include <QByteArray>
#include <QList>
#include <QObject>
#include <QPoint>
#include <QStringList>

#include <deque>
#include <vector>

class CByteOutput;
struct VTerm;
struct VTermState;

// The character-cell screen of a terminal window, without a window: rows ×
// columns of cells, a cursor and a bounded scroll-back of the lines that
// scrolled off the top. Every byte written to it is interpreted by the
// emulation of the display settings: ANSI and VT100 by libvterm's parser and
// state layer (cursor movement, erase, insert and delete, scrolling regions,
// attributes and colours, the alternate screen, and the answers of device
// attributes and cursor position reports, which go to the reply output),
// VT52, TTY and None by our own interpreters, which hand the state layer
// the equivalent ANSI input. The cells are ours: a scroll moves rows, not
// characters, so a flood of lines costs little per line.
//
// The channel sets it up through CTerminalDisplayInput; a painter reads the
// cells after changed(). Lines are numbered scroll-back first (0 = the
// oldest kept), then the screen's rows.
class CTerminalScreen : public QObject, public CTerminalDisplayInput
{
    Q_OBJECT

public:
    enum Emulation { EmulationNone = 0, EmulationTty = 1, EmulationAnsi = 2, EmulationVt52 = 3, EmulationVt100 = 4 };

    // Lines kept when the display has its scroll bar; a flood scrolls the
    // oldest away instead of growing without limit.
    static constexpr int ScrollbackLimit = 10000;
    // Screen sizes the display takes; other values are brought into range.
    static constexpr int MinColumns = 40;
    static constexpr int MaxColumns = 132;
    static constexpr int MinRows = 10;
    static constexpr int MaxRows = 60;

    explicit CTerminalScreen(QObject* parent = nullptr);
    ~CTerminalScreen() override;
    CTerminalScreen(const CTerminalScreen&) = delete;
    CTerminalScreen& operator=(const CTerminalScreen&) = delete;

    // A fresh screen of the settings' emulation and size, without
    // scroll-back; then the settings' initial input (which clears it).
    // An emulation number that is none of the five is taken as ANSI.
    void ApplySettings(const CTerminalDisplaySettings& settings) override;
    void DisplayInput(const QByteArray& text) override { Write(text); }
    // Interprets the bytes; changed() follows.
    void Write(const QByteArray& bytes);

    // Where the emulation's answers go (the line); nullptr drops them.
    void SetReplyOutput(CByteOutput* output) { m_pReplyOutput = output; }

    // The bytes a key without a character of its own sends in this
    // emulation (arrows, Home, End, Page Up/Down, Insert, Delete, F-keys,
    // the keypad in its application mode, Shift+Tab); empty when the key
    // sends nothing special here and its character (if any) is typed as it is.
    QByteArray KeySequence(int qtKey, Qt::KeyboardModifiers modifiers);

    int GetEmulation() const { return m_nEmulation; }
    int Rows() const { return m_nRows; }
    int Columns() const { return m_nColumns; }
    bool HasScrollback() const { return m_nScrollbackCapacity > 0; }
    bool IsBlockCursor() const { return m_bBlockCursor; }
    bool IsLocalEcho() const { return m_bLocalEcho; }
    QByteArray FontName() const { return m_strFont; }

    // A cell of the screen (row 0..Rows()-1, column 0..Columns()-1).
    CTerminalCell Cell(int row, int column) const;
    int ScrollbackCount() const { return int(m_scrollback.size()); }
    // Lines dropped from the front of the scroll-back since the settings
    // were applied: line n now is line n + dropped of the first count.
    qint64 DroppedLineCount() const { return m_nDropped; }
    int LineCount() const { return ScrollbackCount() + m_nRows; }
    // A cell of any line, scroll-back included; blank beyond a line's end.
    CTerminalCell LineCell(int line, int column) const;
    // The characters of a line without its trailing blanks.
    QString LineText(int line) const;
    // The screen's rows, trailing blanks removed.
    QStringList ScreenText() const;
    // Text from (line, column) up to, not including, (line, column); lines
    // end in "\n" and lose their trailing blanks.
    QString Text(QPoint from, QPoint to) const;

    // x = column, y = row of the screen.
    QPoint CursorPosition() const;
    bool IsCursorVisible() const { return m_bCursorVisible; }
    // DECSCNM: the screen's own colours are swapped.
    bool IsReverseVideo() const { return m_bReverseVideo; }
    bool IsAlternateScreen() const { return m_nBuffer != 0; }
    int BellCount() const { return m_nBells; }
    // Bytes interpreted since the settings were applied.
    qint64 BytesWritten() const { return m_nBytesWritten; }

Q_SIGNALS:
    // A fresh screen: size, emulation or cursor may be new.
    void settingsApplied();
    // Cells, cursor or scroll-back changed.
    void changed();
    void bell();

private:
    friend struct CTerminalScreenCallbacks; // libvterm's callbacks

    void CreateTerminal();
    void DestroyTerminal();
    void PrimeRepeat();
    void Input(const QByteArray& bytes);
    void Reply(const QByteArray& bytes);
    void PushLine(const std::vector<CTerminalCell>& row);
    std::vector<std::vector<CTerminalCell>>& Buffer() { return m_buffers[m_nBuffer]; }
    const std::vector<std::vector<CTerminalCell>>& Buffer() const { return m_buffers[m_nBuffer]; }
    // A cell erased with the current pen: its colours, no character.
    CTerminalCell Blank() const { return CTerminalCell{0, m_pen.fg, m_pen.bg, 0}; }
    void EraseRows(int first, int end, int startColumn, int endColumn);
    QByteArray VtermKey(int qtKey, Qt::KeyboardModifiers modifiers);
    QByteArray Vt52Key(int qtKey, Qt::KeyboardModifiers modifiers) const;

    VTerm* m_pTerm = nullptr;
    VTermState* m_pState = nullptr;
    CByteOutput* m_pReplyOutput = nullptr;
    QByteArray* m_pKeyCapture = nullptr; // keyboard output goes here, not to the line
    CVt52Interpreter m_vt52;
    CTtyInterpreter m_tty;
    CCsiGuard m_csiGuard;
    QByteArray m_translated;
    QByteArray m_replies;

    int m_nEmulation = EmulationAnsi;
    int m_nRows = 24;
    int m_nColumns = 80;
    int m_nScrollbackCapacity = ScrollbackLimit;
    bool m_bBlockCursor = false;
    bool m_bLocalEcho = false;
    QByteArray m_strFont;
    bool m_bCursorVisible = true;
    bool m_bReverseVideo = false;
    int m_nBells = 0;
    qint64 m_nBytesWritten = 0;

    // The main screen (0) and the alternate screen (1), rows of cells.
    std::vector<std::vector<CTerminalCell>> m_buffers[2];
    int m_nBuffer = 0;
    CTerminalCell m_pen; // colours and attributes of the next character
    std::deque<std::vector<CTerminalCell>> m_scrollback; // trailing blanks left out
    qint64 m_nDropped = 0;
};
