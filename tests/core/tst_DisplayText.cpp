#include "CDisplayText.h"

#include <QTest>

class tst_DisplayText : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void convert_data();
    void convert();
};

void tst_DisplayText::convert_data()
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
    QTest::newRow("other control bytes stay") << QByteArrayList{"\x02" "1\t2\x03"}
                                              << QStringLiteral("\u0002" "1\t2\u0003");
}

void tst_DisplayText::convert()
{
    QFETCH(QByteArrayList, pieces);
    CDisplayText display;
    QString text;
    for (const QByteArray& piece : pieces)
        text += display.Convert(piece);
    QTEST(text, "text");
}

QTEST_GUILESS_MAIN(tst_DisplayText)
#include "tst_DisplayText.moc"
