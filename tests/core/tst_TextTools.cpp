// The instrument window's text tools: the hex dump, time stamps at line
// starts, line breaks after the names of received line ends, the display
// text's code page and line ends, the command history with the per-driver
// settings, the session log.

#include "CCodePage.h"
#include "CCommandHistory.h"
#include "CDisplayText.h"
#include "CHexDump.h"
#include "CInstrumentViewSettings.h"
#include "CLineStamper.h"
#include "CNameLineBreaks.h"
#include "CSessionLog.h"
#include "PipelineFakes.h"
#include "TestIncludes.h"

#include <sys/wait.h>

namespace {

// The row as a reader of hex dumps expects it, written out independently.
QString Expected(qint64 offset, const QByteArray& bytes)
{
    QString hex;
    QString text;
    for (int i = 0; i < 16; ++i) {
        if (i == 8)
            hex += QLatin1Char(' ');
        if (i < bytes.size()) {
            const auto b = static_cast<unsigned char>(bytes[i]);
            hex += QString::asprintf(" %02x", b);
            text += (b >= 32 && b <= 126) ? QChar(b) : QChar(u'.');
        } else {
            hex += QLatin1String("   ");
        }
    }
    return QString::asprintf("%08llx ", static_cast<long long>(offset)) + hex + QLatin1String("  ") + text;
}

QByteArray FileBytes(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("<missing>");
}
} // namespace

class tst_TextTools : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    // Stamps 1, 2 and 3 ms after the clock's start; with names shown, the
    // names of CR and LF end the lines.
    void stampsTheFirstByteOfEveryLine()
    {
        const QByteArray s1 = "2026-11-23 14:05:31.001 ", s2 = "2026-11-23 14:05:31.002 ",
                         s3 = "2026-11-23 14:05:31.003 ";
        const struct
        {
            bool names;
            QByteArrayList pieces;
            QByteArray expected;
        } rows[] = {
            // CR LF ends a line once, also split between pieces; lone CR and LF each end one.
            {false, {"a\r\nb\r\n"}, s1 + "a\r\n" + s2 + "b\r\n"},
            {false, {"a\r", "\nb"}, s1 + "a\r\n" + s2 + "b"},
            {false, {"a\rb\nc"}, s1 + "a\r" + s2 + "b\n" + s3 + "c"},
            // A line continued in the next piece keeps its stamp.
            {false, {"12.", "5 g\r\n"}, s1 + "12.5 g\r\n"},
            // <CR><LF> ends a line once, also split between pieces; a lone <LF> ends one.
            {true, {"a<CR><LF>b<CR>"}, s1 + "a<CR><LF>" + s2 + "b<CR>"},
            {true, {"<STX>a<CR>", "<LF>b<CR>"}, s1 + "<STX>a<CR><LF>" + s2 + "b<CR>"},
            {true, {"a<LF>b"}, s1 + "a<LF>" + s2 + "b"},
        };
        for (const auto& row : rows) {
            CTextBuffer buffer;
            QDateTime now(QDate(2026, 11, 23), QTime(14, 5, 31));
            CLineStamper stamper(buffer, [&] { return now = now.addMSecs(1); });
            stamper.SetControlNames(row.names);
            for (const QByteArray& piece : row.pieces)
                stamper.AppendBytes(piece);
            QVERIFY2(buffer.m_text == row.expected, buffer.m_text.toPercentEncoding());
        }
    }

    void switchedOnMidLineStampsFromTheNextLine()
    {
        CTextBuffer buffer;
        const QDateTime now(QDate(2026, 11, 23), QTime(14, 5, 31));
        CLineStamper stamper(buffer, [&] { return now; });
        stamper.SetOn(false);
        stamper.AppendBytes("a\r\nb");
        stamper.SetOn(true);
        stamper.AppendBytes("c\r\nd");
        stamper.SetOn(false);
        stamper.AppendBytes("e\r");
        stamper.SetOn(true);
        // The LF of the CR LF seen while off still belongs to that line end.
        stamper.AppendBytes("\nf");
        const QByteArray s = CLineStamper::Stamp(now);
        QCOMPARE(buffer.m_text, "a\r\nbc\r\n" + s + "de\r\n" + s + "f");
    }

    // Line breaks after the names of received line ends, with control
    // characters shown, and taking them out again.
    void add()
    {
        const struct
        {
            QStringList pieces;
            QString shown;
        } rows[] = {
            // Breaks after CR LF (not between them), a lone CR, a lone LF.
            {{"A<CR><LF>B<CR><LF>"}, "A<CR><LF>\nB<CR><LF>\n"},
            {{"A<CR>B"}, "A<CR>\nB"},
            // A CR ending a piece waits for the LF of the next, breaks before other text.
            {{"A<CR>", "<LF>B"}, "A<CR><LF>\nB"},
            {{"A<CR>", "B<CR>", ""}, "A<CR>\nB<CR>"},
            // Other names and brackets stay; names split between pieces are not names.
            {{"<STX>1<2>3<ETX><C<L"}, "<STX>1<2>3<ETX><C<L"},
            {{"A<C", "R>B"}, "A<CR>B"},
        };
        for (const auto& row : rows) {
            CNameLineBreaks breaks;
            QString result;
            for (const QString& piece : row.pieces)
                result += breaks.Add(piece);
            QVERIFY2(result == row.shown, qPrintable(result));
        }
        // Taking the breaks out again gives the text back; a real break not
        // after a name stays.
        for (const QString& text :
             {"A<CR><LF>B<CR>C<LF>D", "A<CR><LF>", "plain <text>", "typed\nline<CR><LF>"})
            QVERIFY2(CNameLineBreaks::Remove(CNameLineBreaks().Add(text)) == text, qPrintable(text));
    }

    void everyByteValueInRowsOfSixteen()
    {
        QByteArray all;
        for (int b = 0; b < 256; ++b)
            all += char(b);
        CHexDump dump;
        QStringList rows;
        // Pieces that cut rows anywhere.
        for (qsizetype pos = 0; pos < all.size(); pos += 7)
            rows += dump.Append(all.mid(pos, 7));
        QCOMPARE(rows.size(), 16);
        QCOMPARE(rows.at(7).right(16), QStringLiteral("pqrstuvwxyz{|}~."));
    }

    void rowFillingAcrossPiecesKeepsItsColumns()
    {
        CHexDump dump;
        QVERIFY(dump.Append("AB\r").isEmpty());
        QCOMPARE(dump.PartialRow(), Expected(0, "AB\r"));
        const QString full = Expected(0, "AB\r\n0123456789ab");
        // The printable column begins where it begins in a full row.
        QCOMPARE(dump.PartialRow().indexOf(QLatin1String("AB.")), full.indexOf(QLatin1String("AB..")));
        const QStringList rows = dump.Append("\n0123456789abcd");
        QCOMPARE(rows, QStringList{full});
        QCOMPARE(dump.PartialRow(), Expected(16, "cd"));
    }

    void skippedBytesMoveTheOffset()
    {
        CHexDump dump;
        dump.Append("12345");
        dump.Skip(100);
        QVERIFY(!dump.HasPartialRow());
        QCOMPARE(dump.Append("0123456789abcdefX"), QStringList{Expected(105, "0123456789abcdef")});
        QCOMPARE(dump.EndOffset(), qint64(122));
    }

    void convert()
    {
        // Every byte from DEL to the first one past the Windows-1252 range, and
        // the last: the five bytes Windows-1252 leaves undefined keep their value.
        QByteArray high;
        for (int byte = 0x7F; byte <= 0xA0; ++byte)
            high.append(char(byte));
        high.append('\xFF');
        const struct
        {
            QByteArrayList pieces;
            QString text;
        } rows[] = {
            // CR LF, lone CR and lone LF are one line end each, CR LF also split
            // between two pieces; LF CR and CR CR LF are two.
            {{"a\r\nb\rc\nd"}, "a\nb\nc\nd"},
            {{"a\r", "\nb"}, "a\nb"},
            {{"a\n\rb"}, "a\n\nb"},
            {{"a\r", "\r\n"}, "a\n\n"},
            // Bytes 128..255 in Windows-1252; other control bytes stay.
            {{"23\260C \x80 \x96"}, QStringLiteral("23\u00B0C \u20AC \u2013")},
            {{high},
             QStringLiteral("\u007F\u20AC\u0081\u201A\u0192\u201E\u2026\u2020\u2021"
                            "\u02C6\u2030\u0160\u2039\u0152\u008D\u017D\u008F"
                            "\u0090\u2018\u2019\u201C\u201D\u2022\u2013\u2014"
                            "\u02DC\u2122\u0161\u203A\u0153\u009D\u017E\u0178\u00A0\u00FF")},
            {{"\0021\t2\x03"}, QStringLiteral("\u00021\t2\u0003")},
        };
        for (const auto& row : rows) {
            CDisplayText display;
            QString text;
            for (const QByteArray& piece : row.pieces)
                text += display.Convert(piece);
            QCOMPARE(text, row.text);
        }
    }

    // The way back, as files and commands are written.
    void everyByteSurvivesARoundTrip()
    {
        QByteArray all;
        for (int byte = 0; byte < 256; ++byte)
            all.append(char(byte));
        const QString text = CCodePage::ToUnicode(all);
        QCOMPARE(text.size(), 256);
        QCOMPARE(CCodePage::FromUnicode(text), all);
    }

    // CJK, a C1 code point the code page replaces, a character outside the
    // BMP (one ?), a lone surrogate; typographic characters are mapped.
    void unmappableCharactersBecomeQuestionMarks()
    {
        QCOMPARE(CCodePage::FromUnicode(QStringLiteral("a\u4E2Db")), QByteArray("a?b"));
        QCOMPARE(CCodePage::FromUnicode(QString::fromUtf8("x\U0001F600y")), QByteArray("x?y"));
        QCOMPARE(CCodePage::FromUnicode(QString(QChar(0xD800))), QByteArray("?"));
        QCOMPARE(CCodePage::FromUnicode(QStringLiteral("\u20AC\u2013\u2122")), QByteArray("\x80\x96\x99"));
    }

    void walksOlderAndBackToTheDraft()
    {
        CCommandHistory history;
        history.Add(QStringLiteral("SI"));
        history.Add(QStringLiteral("T"));
        history.Add(QStringLiteral("Z"));
        QCOMPARE(history.Older(QStringLiteral("half")), QStringLiteral("Z"));
        QCOMPARE(history.Older(QStringLiteral("Z")), QStringLiteral("T"));
        QCOMPARE(history.Older(QStringLiteral("T")), QStringLiteral("SI"));
        // The oldest stays.
        QCOMPARE(history.Older(QStringLiteral("SI")), QStringLiteral("SI"));
        QCOMPARE(history.Newer(QStringLiteral("SI")), QStringLiteral("T"));
        history.Newer(QStringLiteral("T"));
        QCOMPARE(history.Newer(QStringLiteral("Z")), QStringLiteral("half"));
        QCOMPARE(history.Newer(QStringLiteral("half")), QStringLiteral("half"));
        // A command sent ends the walk: Up starts at the newest again.
        history.Older(QString());
        history.Add(QStringLiteral("T"));
        QCOMPARE(history.Older(QString()), QStringLiteral("T"));
    }

    void keepsTheLastHundredWithoutRepeats()
    {
        CCommandHistory history;
        for (int i = 0; i < 150; ++i) {
            history.Add(QString::number(i));
            history.Add(QString::number(i));
        }
        history.Add(QString());
        const QStringList entries = history.Entries();
        QCOMPARE(entries.size(), CCommandHistory::MaxEntries);
        QCOMPARE(entries.first(), QStringLiteral("50"));
        QCOMPARE(entries.last(), QStringLiteral("149"));
    }

    void settingsKeptPerDriver()
    {
        QTemporaryDir dir;
        const QString path = dir.filePath(QStringLiteral("Orvalis.ini"));
        CInstrumentViewSettings balance;
        balance.m_bTimeStampColumn = true;
        balance.m_bCommandLine = false;
        balance.m_bReconnect = false;
        balance.m_commandHistory = {QStringLiteral("SI"), QStringLiteral("a, \"b\"<CR>"),
                                    QStringLiteral("x=1;y")};
        {
            QSettings settings(path, QSettings::IniFormat);
            balance.Save(settings, QStringLiteral("Balance"));
        }
        CInstrumentViewSettings read;
        read.Load(QSettings(path, QSettings::IniFormat), QStringLiteral("Balance"));
        QVERIFY(read.m_bTimeStampColumn && !read.m_bCommandLine && !read.m_bReconnect);
        QCOMPARE(read.m_commandHistory, balance.m_commandHistory);

        CInstrumentViewSettings other;
        other.Load(QSettings(path, QSettings::IniFormat), QStringLiteral("Meter"));
        // Another driver starts from the defaults.
        QVERIFY(!other.m_bTimeStampColumn && other.m_bCommandLine && other.m_bReconnect);
        QVERIFY(other.m_commandHistory.isEmpty());
    }

    void appendsWhatTheWindowShows()
    {
        const QString path = m_home.filePath(QStringLiteral("show.log"));
        QVERIFY(QFile(path).open(QIODevice::WriteOnly));
        CTextBuffer window;
        CSessionLog log(window);
        log.AppendBytes("before\r\n");
        QVERIFY2(log.Start(path), qPrintable(log.ErrorString()));
        log.AppendBytes("12.5 g\r");
        log.AppendBytes("\n\xb5 3\rend");
        QCOMPARE(window.m_text, QByteArray("before\r\n12.5 g\r\n\xb5 3\rend"));
        QCOMPARE(FileBytes(path), QByteArray("12.5 g\n\xc2\xb5 3\nend"));
    }

    void keepsEveryLineOfAKilledProgram()
    {
        const QString path = m_home.filePath(QStringLiteral("killed.log"));
        int ready[2];
        QVERIFY(::pipe(ready) == 0);
        const pid_t child = ::fork();
        QVERIFY(child >= 0);
        if (child == 0) {
            CTextBuffer window;
            CSessionLog log(window);
            if (!log.Start(path))
                ::_exit(2);
            for (int i = 0; i < 1000; ++i)
                log.AppendBytes(QByteArray::number(i) + "\r\n");
            (void)::write(ready[1], "x", 1);
            ::pause();
            ::_exit(0);
        }
        ::close(ready[1]);
        char byte = 0;
        QCOMPARE(::read(ready[0], &byte, 1), ssize_t(1));
        ::close(ready[0]);
        ::kill(child, SIGKILL);
        int status = 0;
        ::waitpid(child, &status, 0);
        QVERIFY(WIFSIGNALED(status));
        QByteArray expected;
        for (int i = 0; i < 1000; ++i)
            expected += QByteArray::number(i) + "\n";
        QCOMPARE(FileBytes(path), expected);
    }

    void stopsWhenItsFolderIsRemoved()
    {
        const QString folder = m_home.filePath(QStringLiteral("gone"));
        QVERIFY(QDir().mkpath(folder));
        CTextBuffer window;
        CSessionLog log(window);
        QVERIFY(log.Start(folder + QStringLiteral("/session.log")));
        log.AppendBytes("kept\r\n");
        QVERIFY(QDir(folder).removeRecursively());
        log.AppendBytes("lost\r\n");
        QVERIFY(!log.IsLogging());
        QCOMPARE(log.ErrorString(),
                 QStringLiteral("Logging to %1/session.log stopped: the file was removed").arg(folder));
        QCOMPARE(window.m_text, QByteArray("kept\r\nlost\r\n"));
    }

    void reportsAFileThatCannotBeOpened()
    {
        CTextBuffer window;
        CSessionLog log(window);
        const QString path = m_home.filePath(QStringLiteral("none/x.log"));
        QVERIFY(!log.Start(path));
        QVERIFY2(log.ErrorString().startsWith(QStringLiteral("Cannot log to %1: ").arg(path)),
                 qPrintable(log.ErrorString()));
    }

private:
    QTemporaryDir m_home;
};

QTEST_GUILESS_MAIN(tst_TextTools)
#include "tst_TextTools.moc"
