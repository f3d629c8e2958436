#include "CCodePage.h"

#include <QTest>

class tst_CCodePage : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void mapsBytesToCharacters_data();
    void mapsBytesToCharacters();
    void everyByteSurvivesARoundTrip();
    void unmappableCharactersBecomeQuestionMarks_data();
    void unmappableCharactersBecomeQuestionMarks();
};

void tst_CCodePage::mapsBytesToCharacters_data()
{
    QTest::addColumn<int>("byte");
    QTest::addColumn<uint>("codePoint");
    QTest::newRow("ASCII stays") << 0x41 << 0x41u;
    QTest::newRow("0x80 is the euro sign") << 0x80 << 0x20ACu;
    QTest::newRow("0x81 is the C1 code point 0x81") << 0x81 << 0x81u;
    QTest::newRow("0x8D is the C1 code point 0x8D") << 0x8D << 0x8Du;
    QTest::newRow("0x9D is the C1 code point 0x9D") << 0x9D << 0x9Du;
    QTest::newRow("0x9F is Y diaeresis") << 0x9F << 0x178u;
    QTest::newRow("0xFF is y diaeresis") << 0xFF << 0xFFu;
}

void tst_CCodePage::mapsBytesToCharacters()
{
    QFETCH(int, byte);
    QFETCH(uint, codePoint);
    QCOMPARE(uint(CCodePage::CharToUnicode(char(byte))), codePoint);
    QCOMPARE(CCodePage::CharFromUnicode(codePoint), char(byte));
    QCOMPARE(CCodePage::ToUnicode(QByteArray(1, char(byte))), QString(QChar(char16_t(codePoint))));
}

void tst_CCodePage::everyByteSurvivesARoundTrip()
{
    QByteArray all;
    for (int byte = 0; byte < 256; ++byte)
        all.append(char(byte));
    const QString text = CCodePage::ToUnicode(all);
    QCOMPARE(text.size(), 256);
    QCOMPARE(CCodePage::FromUnicode(text), all);
}

void tst_CCodePage::unmappableCharactersBecomeQuestionMarks_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QByteArray>("bytes");
    QTest::newRow("CJK character") << QString::fromUtf8("a\u4E2Db") << QByteArray("a?b");
    QTest::newRow("C1 code point the code page replaces") << QString(QChar(0x80)) << QByteArray("?");
    QTest::newRow("character outside the BMP gives one ?") << QString::fromUtf8("x\U0001F600y") << QByteArray("x?y");
    QTest::newRow("lone surrogate") << QString(QChar(0xD800)) << QByteArray("?");
    QTest::newRow("mapped typographic characters") << QString::fromUtf8("\u20AC\u2013\u2122") << QByteArray("\x80\x96\x99");
}

void tst_CCodePage::unmappableCharactersBecomeQuestionMarks()
{
    QFETCH(QString, text);
    QFETCH(QByteArray, bytes);
    QCOMPARE(CCodePage::FromUnicode(text), bytes);
}

QTEST_GUILESS_MAIN(tst_CCodePage)
#include "tst_CCodePage.moc"
