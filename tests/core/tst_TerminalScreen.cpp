// The terminal screen model on byte streams: the VT52, TTY and None
// interpreters, the ANSI/VT100 glue around libvterm (answers, colours,
// alternate screen), the clear sequence of every emulation, the bounded
// scroll-back, the keys of each emulation and the receive path with its
// CR -> CR/LF expansion.

#include "CByteOutput.h"
#include "CCsiGuard.h"
#include "CTerminalDisplaySettings.h"
#include "CTerminalReceiver.h"
#include "CTerminalScreen.h"
#include "PipelineFakes.h"

#include <QSignalSpy>
#include <QTest>

namespace {

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

// The screen's rows, each write of the list one call (split sequences).
QStringList Show(int emulation, const QByteArrayList& writes)
{
    CTerminalScreen screen;
    screen.ApplySettings(Settings(emulation));
    for (const QByteArray& bytes : writes)
        screen.Write(bytes);
    return screen.ScreenText();
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

QStringList Rows(std::initializer_list<QString> first, int rows = 10)
{
    QStringList result(first);
    while (result.size() < rows)
        result.append(QString());
    return result;
}

} // namespace

class tst_TerminalScreen : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void shownScreen_data()
    {
        using E = CTerminalScreen;
        QTest::addColumn<int>("emulation");
        QTest::addColumn<QByteArrayList>("writes");
        QTest::addColumn<QStringList>("rows");

        // VT52
        QTest::newRow("VT52 cursor up and left move within the text")
            << int(E::EmulationVt52) << QByteArrayList{"1\r\n2" + Esc("A") + "X", "abc" + Esc("D") + Esc("D") + "Y"}
            << Rows({"1XaYc", "2"});
        QTest::newRow("VT52 cursor down and right")
            << int(E::EmulationVt52) << QByteArrayList{"a" + Esc("B") + Esc("C") + "b"} << Rows({"a", "  b"});
        QTest::newRow("VT52 home") << int(E::EmulationVt52) << QByteArrayList{"abc" + Esc("H") + "X"} << Rows({"Xbc"});
        QTest::newRow("VT52 direct cursor address")
            << int(E::EmulationVt52) << QByteArrayList{Vt52Address(2, 5) + "X"} << Rows({"", "", "     X"});
        QTest::newRow("VT52 address split over three writes")
            << int(E::EmulationVt52) << QByteArrayList{Esc("Y"), QByteArray(1, char(32 + 1)), QByteArray(1, char(32 + 3)) + "X"}
            << Rows({"", "   X"});
        QTest::newRow("VT52 address of the row just below the screen keeps the row")
            << int(E::EmulationVt52) << QByteArrayList{"ab" + Vt52Address(10, 0) + "X"} << Rows({"Xb"});
        QTest::newRow("VT52 address beyond the last row keeps the row")
            << int(E::EmulationVt52) << QByteArrayList{"ab" + Vt52Address(50, 0) + "X"} << Rows({"Xb"});
        QTest::newRow("VT52 erase to end of screen")
            << int(E::EmulationVt52) << QByteArrayList{"aaaa\r\nbbbb" + Vt52Address(0, 2) + Esc("J")} << Rows({"aa"});
        QTest::newRow("VT52 erase to end of line")
            << int(E::EmulationVt52) << QByteArrayList{"abcdef\r\nxyz" + Vt52Address(0, 3) + Esc("K")}
            << Rows({"abc", "xyz"});
        QTest::newRow("VT52 reverse line feed at the top scrolls down")
            << int(E::EmulationVt52) << QByteArrayList{"top" + Esc("H") + Esc("I") + "new"} << Rows({"new", "top"});
        QTest::newRow("VT52 graphics on and off")
            << int(E::EmulationVt52) << QByteArrayList{Esc("F") + "q" + Esc("G") + "q"} << Rows({QStringLiteral("\u2500q")});
        QTest::newRow("VT52 graphics right after a code page character, in one write")
            << int(E::EmulationVt52) << QByteArrayList{Esc("F") + "\xffl" + Esc("G") + "l"} << Rows({QStringLiteral("ÿ\u250Cl")});
        QTest::newRow("VT52 does not wrap at the right margin")
            << int(E::EmulationVt52) << QByteArrayList{QByteArray(45, 'a') + "Z"}
            << Rows({QString(39, QLatin1Char('a')) + QLatin1Char('Z')});
        QTest::newRow("VT52 ignores unknown escapes and controls")
            << int(E::EmulationVt52) << QByteArrayList{"a" + Esc("x") + "\x01" "b"} << Rows({"ab"});
        QTest::newRow("VT52 ESC [ other than 2J is ignored, the rest shown")
            << int(E::EmulationVt52) << QByteArrayList{Esc("[1m") + "A"} << Rows({"1mA"});
        QTest::newRow("VT52 ESC [2J clears, split between writes")
            << int(E::EmulationVt52) << QByteArrayList{"abc" + Esc("["), "2", "J"} << Rows({});

        // TTY
        QTest::newRow("TTY printable, BS and HT")
            << int(E::EmulationTty) << QByteArrayList{"ab\bX\tY"} << Rows({"aX      Y"});
        QTest::newRow("TTY LF goes down without a carriage return")
            << int(E::EmulationTty) << QByteArrayList{"ab\ncd\r\ne"} << Rows({"ab", "  cd", "e"});
        QTest::newRow("TTY ignores escape sequences and other controls")
            << int(E::EmulationTty) << QByteArrayList{Esc("[1m") + "A\x01\x0e" "B"} << Rows({"[1mAB"});
        QTest::newRow("TTY shows the code page")
            << int(E::EmulationTty) << QByteArrayList{"\xb0" "C \x80 \xb5"} << Rows({QStringLiteral("°C € µ")});
        QTest::newRow("TTY ESC [2J clears, split in three")
            << int(E::EmulationTty) << QByteArrayList{"abc\x1b", "[2", "J"} << Rows({});
        QTest::newRow("TTY wraps at the right margin")
            << int(E::EmulationTty) << QByteArrayList{QByteArray(42, 'a')} << Rows({QString(40, QLatin1Char('a')), "aa"});

        // None
        QTest::newRow("None names control characters, new line after LF")
            << int(E::EmulationNone) << QByteArrayList{"A\x01\r\nB"} << Rows({"A<SOH><CR><LF>", "B"});
        QTest::newRow("None shows a lone ESC by its name")
            << int(E::EmulationNone) << QByteArrayList{Esc("x"), Esc("[1")} << Rows({"<ESC>x<ESC>[1"});
        QTest::newRow("None shows DEL and undefined bytes as symbols")
            << int(E::EmulationNone) << QByteArrayList{"\x7f\x81\x9d\x9f"}
            << Rows({QStringLiteral("\u2421\uFFFD\uFFFD\u0178")});
        QTest::newRow("None ESC [2J clears")
            << int(E::EmulationNone) << QByteArrayList{"abc" + Esc("[2J")} << Rows({});

        // ANSI and VT100 (libvterm)
        QTest::newRow("ANSI cursor position")
            << int(E::EmulationAnsi) << QByteArrayList{Esc("[3;5HX")} << Rows({"", "", "    X"});
        QTest::newRow("ANSI ESC [2J clears")
            << int(E::EmulationAnsi) << QByteArrayList{"abc" + Esc("[2"), "J"} << Rows({});
        QTest::newRow("VT100 alternate screen gives the main screen back")
            << int(E::EmulationVt100) << QByteArrayList{"main" + Esc("[?1049h") + "alternate", Esc("[?1049l")}
            << Rows({"main"});
        QTest::newRow("VT100 insert and delete lines in a scrolling region")
            << int(E::EmulationVt100)
            << QByteArrayList{"1\r\n2\r\n3\r\n4" + Esc("[2;3r") + Esc("[2;1H") + Esc("[L") + "n"}
            << Rows({"1", "n", "2", "4"});
        QTest::newRow("ANSI insert and delete characters")
            << int(E::EmulationAnsi) << QByteArrayList{"abcdef" + Esc("[1;3H") + Esc("[2@") + Esc("[1;1H") + Esc("[P")}
            << Rows({"b  cdef"});
        QTest::newRow("ANSI repeat copies the last character")
            << int(E::EmulationAnsi) << QByteArrayList{"ab" + Esc("[3b") + "c"} << Rows({"abbbbc"});
        QTest::newRow("VT100 repeat before any character only moves on")
            << int(E::EmulationVt100) << QByteArrayList{Esc("[2b") + "x"} << Rows({"  x"});
        QTest::newRow("VT100 repeat right after a reset")
            << int(E::EmulationVt100) << QByteArrayList{"a", Esc("c") + Esc("[3b") + "y"} << Rows({"aaay"});
    }

    void shownScreen()
    {
        QFETCH(int, emulation);
        QFETCH(QByteArrayList, writes);
        QTEST(Show(emulation, writes), "rows");
    }

    void answersGoToTheLine_data()
    {
        QTest::addColumn<int>("emulation");
        QTest::addColumn<QByteArray>("input");
        QTest::addColumn<QByteArray>("reply");
        QTest::newRow("VT52 identify") << int(CTerminalScreen::EmulationVt52) << Esc("Z") << Esc("/Z");
        QTest::newRow("VT100 cursor position report")
            << int(CTerminalScreen::EmulationVt100) << Esc("[3;4H") + Esc("[6n") << Esc("[3;4R");
        QTest::newRow("ANSI device attributes") << int(CTerminalScreen::EmulationAnsi) << Esc("[c") << Esc("[?1;2c");
        QTest::newRow("TTY answers nothing") << int(CTerminalScreen::EmulationTty) << Esc("Z") + Esc("[c") << QByteArray();
    }

    void answersGoToTheLine()
    {
        QFETCH(int, emulation);
        QFETCH(QByteArray, input);
        CTerminalScreen screen;
        CReplyRecorder line;
        screen.SetReplyOutput(&line);
        screen.ApplySettings(Settings(emulation));
        screen.Write(input);
        QTEST(line.m_bytes, "reply");
    }

    void colorsAndAttributes()
    {
        CTerminalScreen screen;
        screen.ApplySettings(Settings(CTerminalScreen::EmulationAnsi));
        QSignalSpy bells(&screen, &CTerminalScreen::bell);
        screen.Write(Esc("[31;1mR") + Esc("[0;7mV") + Esc("[0m") + "n\a");
        const CTerminalCell red = screen.Cell(0, 0);
        QCOMPARE(red.ch, U'R');
        QVERIFY(red.attrs & CTerminalCell::Bold);
        QVERIFY(red.fg & CTerminalCell::ColorSet);
        QVERIFY(((red.fg >> 16) & 0xFF) > ((red.fg >> 8) & 0xFF)); // more red than green
        QCOMPARE(red.bg, CTerminalCell::DefaultColor);
        QCOMPARE(screen.Cell(0, 1).attrs, quint8(CTerminalCell::Reverse));
        QCOMPARE(screen.Cell(0, 2), (CTerminalCell{U'n', 0, 0, 0}));
        QCOMPARE(bells.size(), 1);
        QCOMPARE(screen.CursorPosition(), QPoint(3, 0));
        screen.Write(Esc("[?25l"));
        QVERIFY(!screen.IsCursorVisible());
    }

    void settingsOutOfRangeAreBroughtIntoRange()
    {
        CTerminalScreen screen;
        QSignalSpy applied(&screen, &CTerminalScreen::settingsApplied);
        screen.ApplySettings(Settings(-1, 5, 500));
        QCOMPARE(applied.size(), 1);
        QCOMPARE(screen.GetEmulation(), int(CTerminalScreen::EmulationAnsi));
        QCOMPARE(screen.Rows(), CTerminalScreen::MinRows);
        QCOMPARE(screen.Columns(), CTerminalScreen::MaxColumns);
        screen.ApplySettings(Settings(65535, 61, 39));
        QCOMPARE(screen.GetEmulation(), int(CTerminalScreen::EmulationAnsi));
        QCOMPARE(screen.Rows(), CTerminalScreen::MaxRows);
        QCOMPARE(screen.Columns(), CTerminalScreen::MinColumns);
    }

    void eraseTakesThePenBackground()
    {
        CTerminalScreen screen;
        screen.ApplySettings(Settings(CTerminalScreen::EmulationAnsi));
        screen.Write("text" + Esc("[44m") + Esc("[2K") + Esc("[0m") + "\r\nnext");
        const CTerminalCell erased = screen.Cell(0, 10);
        QCOMPARE(erased.ch, char32_t(0));
        QVERIFY(erased.bg & CTerminalCell::ColorSet);
        QCOMPARE(screen.Cell(1, 0).bg, CTerminalCell::DefaultColor);
        QCOMPARE(screen.ScreenText().mid(0, 2), (QStringList{"", "next"}));
    }

    void regionsScrollIntoTheScrollbackOnlyFromTheTop()
    {
        CTerminalScreen screen;
        screen.ApplySettings(Settings(CTerminalScreen::EmulationVt100));
        // A region from the first row: what leaves its top is kept.
        screen.Write("top\r\n" + Esc("[1;5r") + Esc("[5;1H") + "\n\n");
        QCOMPARE(screen.ScrollbackCount(), 2);
        QCOMPARE(screen.LineText(0), QStringLiteral("top"));
        // A region below it: the lines are gone, as on a real terminal.
        screen.Write(Esc("[3;6r") + Esc("[6;1H") + "\n\n\n");
        QCOMPARE(screen.ScrollbackCount(), 2);
        // The alternate screen keeps nothing either.
        screen.Write(Esc("[r") + Esc("[?1049h") + QByteArray(30, '\n') + Esc("[?1049l"));
        QCOMPARE(screen.ScrollbackCount(), 2);
    }

    void scrollbackIsBounded()
    {
        CTerminalScreen screen;
        screen.ApplySettings(Settings(CTerminalScreen::EmulationVt100));
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
        QCOMPARE(screen.LineText(0), QStringLiteral("line %1").arg(pushed - CTerminalScreen::ScrollbackLimit));
        QCOMPARE(screen.LineText(screen.LineCount() - 2), QStringLiteral("line %1").arg(lines - 1));

        // Settings applied again start without scroll-back.
        screen.ApplySettings(Settings(CTerminalScreen::EmulationVt100));
        QCOMPARE(screen.ScrollbackCount(), 0);
    }

    void noScrollbackWithoutScrollbar()
    {
        CTerminalScreen screen;
        screen.ApplySettings(Settings(CTerminalScreen::EmulationTty, 10, 40, false));
        for (int i = 0; i < 30; ++i)
            screen.Write("x\r\n");
        QVERIFY(!screen.HasScrollback());
        QCOMPARE(screen.ScrollbackCount(), 0);
    }

    void selectionTextSpansScrollbackAndScreen()
    {
        CTerminalScreen screen;
        screen.ApplySettings(Settings(CTerminalScreen::EmulationAnsi));
        for (int i = 0; i < 12; ++i)
            screen.Write("row " + QByteArray::number(i) + "   \r\n");
        QCOMPARE(screen.ScrollbackCount(), 3);
        // From column 2 of the last line in the scroll-back to column 3 of the
        // first row of the screen; trailing blanks are not copied.
        QCOMPARE(screen.Text(QPoint(2, 2), QPoint(3, 3)), QStringLiteral("w 2\nrow"));
        QCOMPARE(screen.Text(QPoint(3, 3), QPoint(2, 2)), QStringLiteral("w 2\nrow"));
    }

    void csiGuardKeepsSequencesParsable_data()
    {
        QTest::addColumn<QByteArrayList>("writes");
        QTest::addColumn<QByteArray>("kept");
        const QByteArray sixteen = Esc("[") + QByteArray("1;").repeated(15) + "1m";
        QTest::newRow("sixteen parameters pass") << QByteArrayList{sixteen + "x"} << sixteen + "x";
        QTest::newRow("separators beyond the fifteenth are dropped, colons too")
            << QByteArrayList{Esc("[") + QByteArray(":").repeated(40) + "mx"}
            << Esc("[") + QByteArray(":").repeated(15) + "mx";
        QTest::newRow("the count goes on in the next write")
            << QByteArrayList{Esc("[") + QByteArray(";").repeated(10), QByteArray(";").repeated(10) + "Hx"}
            << Esc("[") + QByteArray(";").repeated(15) + "Hx";
        QTest::newRow("8-bit CSI, controls inside")
            << QByteArrayList{"\x9b" + QByteArray(";\n").repeated(20) + "m"}
            << "\x9b" + QByteArray(";\n").repeated(15) + QByteArray("\n").repeated(5) + "m";
        QTest::newRow("each sequence counts from zero; text keeps its semicolons")
            << QByteArrayList{sixteen + QByteArray(";").repeated(20) + sixteen}
            << sixteen + QByteArray(";").repeated(20) + sixteen;
        QTest::newRow("bytes the escape passes over before its [")
            << QByteArrayList{Esc("\xff\x7f\x85[") + QByteArray(":").repeated(20) + "m"}
            << Esc("\xff\x7f\x85[") + QByteArray(":").repeated(15) + "m";
        QTest::newRow("an 8-bit CSI inside an escape opens nothing, its [ does")
            << QByteArrayList{Esc("\x9b\xda[5") + QByteArray(":").repeated(20) + ";m"}
            << Esc("\x9b\xda[5") + QByteArray(":").repeated(15) + "m";
        QTest::newRow("an escape ends the sequence")
            << QByteArrayList{Esc("[") + QByteArray(";").repeated(10) + Esc("(") + ";;" + sixteen}
            << Esc("[") + QByteArray(";").repeated(10) + Esc("(") + ";;" + sixteen;
    }

    void csiGuardKeepsSequencesParsable()
    {
        QFETCH(QByteArrayList, writes);
        CCsiGuard guard;
        QByteArray all;
        for (const QByteArray& bytes : writes) {
            QByteArray out;
            all += guard.Filter(bytes, out);
        }
        QTEST(all, "kept");
    }

    void keys_data()
    {
        using E = CTerminalScreen;
        QTest::addColumn<int>("emulation");
        QTest::addColumn<QByteArray>("setup");
        QTest::addColumn<int>("key");
        QTest::addColumn<int>("modifiers");
        QTest::addColumn<QByteArray>("sequence");
        QTest::newRow("VT100 cursor key") << int(E::EmulationVt100) << QByteArray() << int(Qt::Key_Up) << 0 << Esc("[A");
        QTest::newRow("VT100 cursor key in application mode")
            << int(E::EmulationVt100) << Esc("[?1h") << int(Qt::Key_Left) << 0 << Esc("OD");
        QTest::newRow("VT100 F9 is PF1") << int(E::EmulationVt100) << QByteArray() << int(Qt::Key_F9) << 0 << Esc("OP");
        QTest::newRow("ANSI F9 is the PC's F9") << int(E::EmulationAnsi) << QByteArray() << int(Qt::Key_F9) << 0 << Esc("[20~");
        QTest::newRow("ANSI Delete") << int(E::EmulationAnsi) << QByteArray() << int(Qt::Key_Delete) << 0 << Esc("[3~");
        QTest::newRow("ANSI Page Down") << int(E::EmulationAnsi) << QByteArray() << int(Qt::Key_PageDown) << 0 << Esc("[6~");
        QTest::newRow("ANSI Shift+Tab") << int(E::EmulationAnsi) << QByteArray() << int(Qt::Key_Backtab) << int(Qt::ShiftModifier)
                                        << Esc("[Z");
        QTest::newRow("VT100 keypad digit in numeric mode is typed")
            << int(E::EmulationVt100) << QByteArray() << int(Qt::Key_5) << int(Qt::KeypadModifier) << QByteArray();
        QTest::newRow("VT100 keypad digit in application mode")
            << int(E::EmulationVt100) << Esc("=") << int(Qt::Key_5) << int(Qt::KeypadModifier) << Esc("Ou");
        QTest::newRow("VT52 cursor key") << int(E::EmulationVt52) << QByteArray() << int(Qt::Key_Down) << 0 << Esc("B");
        QTest::newRow("VT52 F10 is PF2") << int(E::EmulationVt52) << QByteArray() << int(Qt::Key_F10) << 0 << Esc("Q");
        QTest::newRow("VT52 Home sends nothing") << int(E::EmulationVt52) << QByteArray() << int(Qt::Key_Home) << 0 << QByteArray();
        QTest::newRow("TTY cursor key sends nothing") << int(E::EmulationTty) << QByteArray() << int(Qt::Key_Up) << 0 << QByteArray();
        QTest::newRow("None F9 sends nothing") << int(E::EmulationNone) << QByteArray() << int(Qt::Key_F9) << 0 << QByteArray();
    }

    void keys()
    {
        QFETCH(int, emulation);
        QFETCH(QByteArray, setup);
        QFETCH(int, key);
        QFETCH(int, modifiers);
        CTerminalScreen screen;
        CReplyRecorder line;
        screen.SetReplyOutput(&line);
        screen.ApplySettings(Settings(emulation));
        screen.Write(setup);
        QTEST(screen.KeySequence(key, Qt::KeyboardModifiers(modifiers)), "sequence");
        // A key's bytes are for the caller to send, not an answer of the screen.
        QCOMPARE(line.m_bytes, QByteArray());
    }

    void vt52KeypadFollowsItsMode()
    {
        CTerminalScreen screen;
        screen.ApplySettings(Settings(CTerminalScreen::EmulationVt52));
        QCOMPARE(screen.KeySequence(Qt::Key_5, Qt::KeypadModifier), QByteArray());
        screen.Write(Esc("="));
        QCOMPARE(screen.KeySequence(Qt::Key_5, Qt::KeypadModifier), Esc("?u"));
        QCOMPARE(screen.KeySequence(Qt::Key_Enter, Qt::KeypadModifier), Esc("?M"));
        screen.Write(Esc(">"));
        QCOMPARE(screen.KeySequence(Qt::Key_0, Qt::KeypadModifier), QByteArray());
    }

    void receivePathExpandsCarriageReturns_data()
    {
        QTest::addColumn<bool>("receiveCRLF");
        QTest::addColumn<quint16>("event");
        QTest::addColumn<QByteArray>("shown");
        QTest::addColumn<QStringList>("rows");
        QTest::newRow("CR gains LF") << true << quint16(CByteSource::EventReceive) << QByteArray("A\r\nB")
                                     << Rows({"A", "B"});
        QTest::newRow("CR stays alone") << false << quint16(CByteSource::EventReceive) << QByteArray("A\rB")
                                        << Rows({"B"});
        QTest::newRow("not a data event: nothing") << true << quint16(3) << QByteArray() << Rows({});
    }

    void receivePathExpandsCarriageReturns()
    {
        QFETCH(bool, receiveCRLF);
        QFETCH(quint16, event);
        CBlockSource source;
        source.m_nEvent = event;
        source.m_blocks = {"A\rB"};
        const QByteArray input = CTerminalReceiver::OnReceivedData(source, receiveCRLF);
        QTEST(input, "shown");
        CTerminalScreen screen;
        screen.ApplySettings(Settings(CTerminalScreen::EmulationTty));
        screen.Write(input);
        QTEST(screen.ScreenText(), "rows");
    }
};

QTEST_GUILESS_MAIN(tst_TerminalScreen)
#include "tst_TerminalScreen.moc"
