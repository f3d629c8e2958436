#include "CCodePage.h"
#include "CDisplayText.h"
#include "TestIncludes.h"

class tst_DisplayText : public QObject
{
    Q_OBJECT

private Q_SLOTS:
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
};

QTEST_GUILESS_MAIN(tst_DisplayText)
#include "tst_DisplayText.moc"
