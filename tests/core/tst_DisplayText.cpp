#include "CCodePage.h"
#include "CDisplayText.h"

#include <QTest>

class tst_DisplayText : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void convert_data()
    {
        QTest::addColumn<QByteArrayList>("pieces");
        QTest::addColumn<QString>("text");

        QTest::newRow("CR LF, lone CR and lone LF are one line end each")
            << QByteArrayList{"a\r\nb\rc\nd"} << QStringLiteral("a\nb\nc\nd");
        QTest::newRow("CR LF split between two pieces is one line end")
            << QByteArrayList{"a\r", "\nb"} << QStringLiteral("a\nb");
        QTest::newRow("LF CR is two line ends") << QByteArrayList{"a\n\rb"} << QStringLiteral("a\n\nb");
        QTest::newRow("CR CR LF is two line ends") << QByteArrayList{"a\r", "\r\n"} << QStringLiteral("a\n\n");
        QTest::newRow("bytes 128..255 in Windows-1252")
            << QByteArrayList{"23\xB0" "C \x80 \x96"} << QStringLiteral("23\u00B0C \u20AC \u2013");
        // Every byte from DEL to the first one past the Windows-1252 range, and
        // the last: the five bytes Windows-1252 leaves undefined keep their value.
        QByteArray high;
        for (int byte = 0x7F; byte <= 0xA0; ++byte)
            high.append(char(byte));
        high.append('\xFF');
        QTest::newRow("0x7F..0xA0 and 0xFF, one by one")
            << QByteArrayList{high}
            << QStringLiteral("\u007F\u20AC\u0081\u201A\u0192\u201E\u2026\u2020\u2021"
                              "\u02C6\u2030\u0160\u2039\u0152\u008D\u017D\u008F"
                              "\u0090\u2018\u2019\u201C\u201D\u2022\u2013\u2014"
                              "\u02DC\u2122\u0161\u203A\u0153\u009D\u017E\u0178\u00A0\u00FF");
        QTest::newRow("other control bytes stay") << QByteArrayList{"\x02" "1\t2\x03"}
                                                  << QStringLiteral("\u0002" "1\t2\u0003");
    }

    void convert()
    {
        QFETCH(QByteArrayList, pieces);
        CDisplayText display;
        QString text;
        for (const QByteArray& piece : pieces)
            text += display.Convert(piece);
        QTEST(text, "text");
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

    void unmappableCharactersBecomeQuestionMarks_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QByteArray>("bytes");
        QTest::newRow("CJK character") << QString::fromUtf8("a\u4E2Db") << QByteArray("a?b");
        QTest::newRow("C1 code point the code page replaces") << QString(QChar(0x80)) << QByteArray("?");
        QTest::newRow("character outside the BMP gives one ?") << QString::fromUtf8("x\U0001F600y") << QByteArray("x?y");
        QTest::newRow("lone surrogate") << QString(QChar(0xD800)) << QByteArray("?");
        QTest::newRow("mapped typographic characters") << QString::fromUtf8("\u20AC\u2013\u2122") << QByteArray("\x80\x96\x99");
    }

    void unmappableCharactersBecomeQuestionMarks()
    {
        QFETCH(QString, text);
        QTEST(CCodePage::FromUnicode(text), "bytes");
    }
};

QTEST_GUILESS_MAIN(tst_DisplayText)
#include "tst_DisplayText.moc"
