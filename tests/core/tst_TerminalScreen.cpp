// The terminal screen model on byte streams: the VT52, TTY and None
// interpreters, the ANSI/VT100 glue around libvterm (answers, alternate
// screen), the clear sequence of every emulation, the bounded scroll-back and
// the keys of each emulation (the receive path's CR -> CR/LF expansion is
// tst_TerminalWindow's).

#include "CByteOutput.h"
#include "CCsiGuard.h"
#include "CTerminalDisplaySettings.h"
#include "CTerminalScreen.h"
#include "TestIncludes.h"

namespace {

using E = CTerminalScreen;
constexpr int Vt52 = E::EmulationVt52, Tty = E::EmulationTty, None = E::EmulationNone;
constexpr int Ansi = E::EmulationAnsi, Vt100 = E::EmulationVt100;

class CReplyRecorder : public CByteOutput
{
public:
    void SetOutput(const QByteArray& bytes) override { m_bytes += bytes; }
    QByteArray m_bytes;
};

CTerminalDisplaySettings Settings(int emulation, int rows = 10, int columns = 40, bool scrollbar = true)
{
    CTerminalDisplaySettings settings;
    settings.m_nEmulation = emulation;
    settings.m_nRows = rows;
    settings.m_nColumns = columns;
    settings.m_nScrollbackRows = scrollbar ? 20 : 0;
    return settings;
}

QByteArray Esc(const char* text)
{
    return QByteArray("\x1b") + text;
}

// ESC Y with a row and a column counted from 0.
QByteArray Vt52Address(int row, int column)
{
    return Esc("Y") + char(32 + row) + char(32 + column);
}

// The first rows of a screen of ten, the rest empty.
QStringList Rows(QStringList first)
{
    while (first.size() < 10)
        first.append(QString());
    return first;
}

} // namespace

class tst_TerminalScreen : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    // The screen's first rows after the writes, each write one call (split sequences).
    void shownScreen()
    {
        const struct
        {
            int emulation;
            QByteArrayList writes;
            QStringList rows;
        } rows[] = {
            // VT52: cursor up and left, down and right, home, direct address.
            {Vt52, {"1\r\n2" + Esc("A") + "X", "abc" + Esc("D") + Esc("D") + "Y"}, {"1XaYc", "2"}},
            {Vt52, {"a" + Esc("B") + Esc("C") + "b"}, {"a", "  b"}},
            {Vt52, {"abc" + Esc("H") + "X"}, {"Xbc"}},
            {Vt52, {Vt52Address(2, 5) + "X"}, {"", "", "     X"}},
            {Vt52, {Esc("Y"), QByteArray(1, char(32 + 1)), QByteArray(1, char(32 + 3)) + "X"}, {"", "   X"}},
            // An address of the row just below the screen or beyond keeps the row.
            {Vt52, {"ab" + Vt52Address(10, 0) + "X"}, {"Xb"}},
            // Erase to the end of the screen, of the line; reverse line feed at the top.
            {Vt52, {"aaaa\r\nbbbb" + Vt52Address(0, 2) + Esc("J")}, {"aa"}},
            {Vt52, {"abcdef\r\nxyz" + Vt52Address(0, 3) + Esc("K")}, {"abc", "xyz"}},
            {Vt52, {"top" + Esc("H") + Esc("I") + "new"}, {"new", "top"}},
            // Graphics on and off.
            {Vt52, {Esc("F") + "q" + Esc("G") + "q"}, {QStringLiteral("\u2500q")}},
            // No wrap at the right margin; unknown escapes, controls and ESC [ other than 2J ignored.
            {Vt52, {QByteArray(45, 'a') + "Z"}, {QString(39, QLatin1Char('a')) + QLatin1Char('Z')}},
            {Vt52, {"a" + Esc("x") + "\001b"}, {"ab"}},
            {Vt52, {Esc("[1m") + "A"}, {"1mA"}},
            {Vt52, {"abc" + Esc("["), "2", "J"}, {}},
            // TTY: BS and HT, LF without CR, no escapes, the code page, wrap.
            {Tty, {"ab\bX\tY"}, {"aX      Y"}},
            {Tty, {"ab\ncd\r\ne"}, {"ab", "  cd", "e"}},
            {Tty, {"\260C \x80 \xb5"}, {QStringLiteral("°C € µ")}},
            {Tty, {Esc("[1m") + "A\001\016B"}, {"[1mAB"}},
            {Tty, {"abc\x1b", "[2", "J"}, {}},
            {Tty, {QByteArray(42, 'a')}, {QString(40, QLatin1Char('a')), "aa"}},
            // None: control names, a new line after LF, DEL and undefined bytes as symbols.
            {None, {"A\x01\r\nB"}, {"A<SOH><CR><LF>", "B"}},
            {None, {Esc("x"), Esc("[1")}, {"<ESC>x<ESC>[1"}},
            {None, {"\x7f\x81\x9d\x9f"}, {QStringLiteral("\u2421\uFFFD\uFFFD\u0178")}},
            {None, {"abc" + Esc("[2J")}, {}},
            // ANSI and VT100 (libvterm).
            {Ansi, {"abc" + Esc("[2"), "J"}, {}},
            {Vt100, {"main" + Esc("[?1049h") + "alternate", Esc("[?1049l")}, {"main"}},
            // Repeat: the last character; before any only moves on; right after a reset.
            {Ansi, {"ab" + Esc("[3b") + "c"}, {"abbbbc"}},
            {Vt100, {Esc("[2b") + "x"}, {"  x"}},
            {Vt100, {"a", Esc("c") + Esc("[3b") + "y"}, {"aaay"}},
        };
        for (const auto& row : rows) {
            CTerminalScreen screen;
            screen.ApplySettings(Settings(row.emulation));
            for (const QByteArray& bytes : row.writes)
                screen.Write(bytes);
            QVERIFY2(screen.ScreenText() == Rows(row.rows), qPrintable(screen.ScreenText().join('|')));
        }
    }

    // What goes to the line: the screen's answer to what was written, or
    // with a key, the key's bytes (for the caller to send; no answer).
    void line()
    {
        const struct
        {
            int emulation;
            QByteArray written;
            int key;
            int modifiers;
            QByteArray sent;
        } rows[] = {
            {Vt52, Esc("Z"), 0, 0, Esc("/Z")},
            {Vt100, Esc("[3;4H") + Esc("[6n"), 0, 0, Esc("[3;4R")},
            {Ansi, Esc("[c"), 0, 0, Esc("[?1;2c")},
            {Tty, Esc("Z") + Esc("[c"), 0, 0, QByteArray()},
            // Cursor keys, also in application mode; F9 is PF1 on a VT100, the PC's F9 on ANSI.
            {Vt100, QByteArray(), Qt::Key_Up, 0, Esc("[A")},
            {Vt100, Esc("[?1h"), Qt::Key_Left, 0, Esc("OD")},
            {Vt100, QByteArray(), Qt::Key_F9, 0, Esc("OP")},
            {Ansi, QByteArray(), Qt::Key_F9, 0, Esc("[20~")},
            // The keypad: typed in numeric mode, sequences in application mode.
            {Vt100, Esc("="), Qt::Key_5, Qt::KeypadModifier, Esc("Ou")},
            {Vt52, QByteArray(), Qt::Key_5, Qt::KeypadModifier, QByteArray()},
            {Vt52, Esc("="), Qt::Key_5, Qt::KeypadModifier, Esc("?u")},
            {Vt52, Esc("=") + Esc(">"), Qt::Key_0, Qt::KeypadModifier, QByteArray()},
            // VT52 cursor key; keys without a sequence send nothing.
            {Vt52, QByteArray(), Qt::Key_Down, 0, Esc("B")},
            {Tty, QByteArray(), Qt::Key_Up, 0, QByteArray()},
        };
        for (const auto& row : rows) {
            CTerminalScreen screen;
            CReplyRecorder line;
            screen.SetReplyOutput(&line);
            screen.ApplySettings(Settings(row.emulation));
            screen.Write(row.written);
            const QByteArray key =
                row.key ? screen.KeySequence(row.key, Qt::KeyboardModifiers(row.modifiers)) : "";
            const QByteArray sent = row.key ? key : line.m_bytes;
            QVERIFY2(sent == row.sent,
                     qPrintable(QString::number(row.key) + ": " + sent.toPercentEncoding()));
            QVERIFY(!row.key || line.m_bytes.isEmpty());
        }
    }

    void settingsOutOfRangeAreBroughtIntoRange()
    {
        CTerminalScreen screen;
        screen.ApplySettings(Settings(-1, 5, 500));
        QCOMPARE(screen.GetEmulation(), int(E::EmulationAnsi));
        QCOMPARE(screen.Rows(), CTerminalScreen::MinRows);
        QCOMPARE(screen.Columns(), CTerminalScreen::MaxColumns);
    }

    void scrollbackIsBounded()
    {
        CTerminalScreen screen;
        screen.ApplySettings(Settings(E::EmulationVt100));
        QByteArray flood;
        const int lines = CTerminalScreen::ScrollbackLimit + 100;
        for (int i = 0; i < lines; ++i)
            flood += "line " + QByteArray::number(i) + "\r\n";
        // In blocks, as the line delivers it.
        for (qsizetype at = 0; at < flood.size(); at += 4096)
            screen.Write(flood.mid(at, 4096));
        // The cursor stands on an empty last row; the rows above it scrolled off.
        const int pushed = lines + 1 - screen.Rows();
        QCOMPARE(screen.ScrollbackCount(), CTerminalScreen::ScrollbackLimit);
        QCOMPARE(screen.DroppedLineCount(), qint64(pushed - CTerminalScreen::ScrollbackLimit));
        QCOMPARE(screen.LineText(0),
                 QStringLiteral("line %1").arg(pushed - CTerminalScreen::ScrollbackLimit));
        QCOMPARE(screen.LineText(screen.LineCount() - 2), QStringLiteral("line %1").arg(lines - 1));

        // Settings applied again start without scroll-back.
        screen.ApplySettings(Settings(E::EmulationVt100));
        QCOMPARE(screen.ScrollbackCount(), 0);
        // Without a scrollbar nothing is kept.
        screen.ApplySettings(Settings(E::EmulationTty, 10, 40, false));
        screen.Write(flood.left(4096));
        QCOMPARE(screen.ScrollbackCount(), 0);
    }

    void csiGuardKeepsSequencesParsable()
    {
        const QByteArray sixteen = Esc("[") + QByteArray("1;").repeated(15) + "1m";
        const auto colons = [](int n) { return QByteArray(":").repeated(n); };
        const auto semicolons = [](int n) { return QByteArray(";").repeated(n); };
        const struct
        {
            QByteArrayList writes;
            QByteArray kept;
        } rows[] = {
            // Sixteen parameters pass; separators beyond the fifteenth are dropped, colons too.
            {{sixteen + "x"}, sixteen + "x"},
            {{Esc("[") + colons(40) + "mx"}, Esc("[") + colons(15) + "mx"},
            // The count goes on in the next write.
            {{Esc("[") + semicolons(10), semicolons(10) + "Hx"}, Esc("[") + semicolons(15) + "Hx"},
            // 8-bit CSI, controls inside.
            {{"\x9b" + QByteArray(";\n").repeated(20) + "m"},
             "\x9b" + QByteArray(";\n").repeated(15) + "\n\n\n\n\nm"},
            // Each sequence counts from zero; text keeps its semicolons.
            {{sixteen + semicolons(20) + sixteen}, sixteen + semicolons(20) + sixteen},
            // Bytes the escape passes over before its [.
            {{Esc("\xff\x7f\x85[") + colons(20) + "m"}, Esc("\xff\x7f\x85[") + colons(15) + "m"},
            // An 8-bit CSI inside an escape opens nothing, its [ does.
            {{Esc("\x9b\xda[5") + colons(20) + ";m"}, Esc("\x9b\xda[5") + colons(15) + "m"},
            // An escape ends the sequence.
            {{Esc("[") + semicolons(10) + Esc("(") + ";;" + sixteen},
             Esc("[") + semicolons(10) + Esc("(") + ";;" + sixteen},
        };
        for (const auto& row : rows) {
            CCsiGuard guard;
            QByteArray all;
            for (const QByteArray& bytes : row.writes) {
                QByteArray out;
                all += guard.Filter(bytes, out);
            }
            QVERIFY2(all == row.kept, all.toPercentEncoding());
        }
    }
};

QTEST_GUILESS_MAIN(tst_TerminalScreen)
#include "tst_TerminalScreen.moc"
