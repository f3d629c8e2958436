// The instrument window's text tools: the hex dump, time stamps at line
// starts, line breaks after the names of received line ends.

#include "CHexDump.h"
#include "CLineStamper.h"
#include "CNameLineBreaks.h"
#include "PipelineFakes.h"
#include "TestIncludes.h"

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
            {{"A<LF>B<LF>"}, "A<LF>\nB<LF>\n"},
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
        QVERIFY(!dump.HasPartialRow());
        for (int r = 0; r < 16; ++r)
            QCOMPARE(rows.at(r), Expected(16 * r, all.mid(16 * r, 16)));
        QCOMPARE(
            rows.at(0),
            QStringLiteral("00000000  00 01 02 03 04 05 06 07  08 09 0a 0b 0c 0d 0e 0f  ................"));
        QCOMPARE(rows.at(7).right(16), QStringLiteral("pqrstuvwxyz{|}~."));
        QCOMPARE(dump.EndOffset(), qint64(256));
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
};

QTEST_GUILESS_MAIN(tst_TextTools)
#include "tst_TextTools.moc"
