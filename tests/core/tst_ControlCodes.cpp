#include "CControlCode.h"
#include "CParse.h"
#include "ResourceIds.h"

#include <QTest>

class tst_ControlCodes : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void getCode_data()
    {
        QTest::addColumn<QByteArray>("name");
        QTest::addColumn<int>("code");
        QTest::newRow("first name") << QByteArray("NUL") << 0;
        QTest::newRow("carriage return") << QByteArray("CR") << 13;
        QTest::newRow("last control name") << QByteArray("US") << 31;
        QTest::newRow("space is SPC") << QByteArray("SPC") << 32;
        QTest::newRow("lower case is not a name") << QByteArray("cr") << -1;
        QTest::newRow("empty is not a name") << QByteArray() << -1;
        QTest::newRow("name with trailing space") << QByteArray("CR ") << -1;
        QTest::newRow("name with embedded NUL") << QByteArray("CR\0", 3) << -1;
    }

    void getCode()
    {
        QFETCH(QByteArray, name);
        QTEST(CControlCode().GetCode(name), "code");
    }

    void getName_data()
    {
        QTest::addColumn<int>("code");
        QTest::addColumn<QByteArray>("name");
        QTest::newRow("zero") << 0 << QByteArray("NUL");
        QTest::newRow("thirty-two") << 32 << QByteArray("SPC");
        QTest::newRow("thirty-three is outside") << 33 << QByteArray();
        QTest::newRow("negative is outside") << -1 << QByteArray();
    }

    void getName()
    {
        QFETCH(int, code);
        QTEST(CControlCode().GetName(code), "name");
    }

    void everyNameRoundTrips()
    {
        const CControlCode codes;
        QCOMPARE(codes.GetCount(), 33);
        for (int code = 0; code < codes.GetCount(); ++code) {
            const QByteArray name = codes.GetName(code);
            QVERIFY(name.size() == 2 || name.size() == 3);
            QCOMPARE(codes.GetCode(name), code);
        }
    }

    void decode_data()
    {
        QTest::addColumn<QByteArray>("text");
        QTest::addColumn<QByteArray>("decoded");
        QTest::newRow("CR LF") << QByteArray("<CR><LF>") << QByteArray("\r\n");
        QTest::newRow("lower case stays") << QByteArray("<cr>") << QByteArray("<cr>");
        QTest::newRow("empty brackets stay") << QByteArray("<>") << QByteArray("<>");
        QTest::newRow("unknown longer name stays") << QByteArray("<CRX>") << QByteArray("<CRX>");
        QTest::newRow("first three letters name the code")
            << QByteArray("<ESCAPE>") << QByteArray("\x1b");
        QTest::newRow("literal < before a code") << QByteArray("<<CR>") << QByteArray("<\r");
        QTest::newRow("NUL ends the text") << QByteArray("AB<NUL>CD") << QByteArray("AB");
        QTest::newRow("leading NUL gives nothing") << QByteArray("<NUL>") << QByteArray();
        QTest::newRow("raw NUL ends the text") << QByteArray("A\0B", 3) << QByteArray("A");
        QTest::newRow("name without > ends the text")
            << QByteArray("x<ESCabc") << QByteArray("x\x1b");
        QTest::newRow("short name without > at the end") << QByteArray("a<CR") << QByteArray("a\r");
        QTest::newRow("lone < at the end") << QByteArray("a<") << QByteArray("a<");
        QTest::newRow("name is looked up to the next >")
            << QByteArray("<ESC<CR>z") << QByteArray("\x1bz");
        QTest::newRow("empty") << QByteArray() << QByteArray();
    }

    void decode()
    {
        QFETCH(QByteArray, text);
        const qsizetype original = text.size();
        CParse().DecodeControlCodes(text);
        QTEST(text, "decoded");
        QVERIFY(text.size() <= original);
    }

    void encode_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        QTest::addColumn<QByteArray>("encoded");
        QTest::newRow("CR LF") << QByteArray("\r\n") << QByteArray("<CR><LF>");
        QTest::newRow("embedded NUL is encoded") << QByteArray("A\0B", 3) << QByteArray("A<NUL>B");
        QTest::newRow("DEL stays") << QByteArray("\x7f") << QByteArray("\x7f");
        QTest::newRow("space and the printable bytes stay") << QByteArray("a b~") << QByteArray("a b~");
    }

    void encode()
    {
        QFETCH(QByteArray, bytes);
        CParse().EncodeControlCodes(bytes);
        QTEST(bytes, "encoded");
    }

    void encodeThenDecodeRoundTrips_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        QByteArray all;
        for (int b = 1; b < 256; ++b) {
            if (b != '<')
                all += char(b);
        }
        QTest::newRow("every byte but NUL and <") << all;
        QTest::newRow("frame of an instrument") << QByteArray("\x02" "12.5 mg\x03\r\n");
    }

    void encodeThenDecodeRoundTrips()
    {
        QFETCH(QByteArray, bytes);
        QByteArray text = bytes;
        CParse().EncodeControlCodes(text);
        CParse().DecodeControlCodes(text);
        QCOMPARE(text, bytes);
    }

    void splitResourceKeepsOutputsWithoutPart()
    {
        QByteArray name("keep1"), syntax("keep2"), example("keep3"), description("keep4");
        CParse().SplitResource(IDS_COMMUNICATION_SETUP, name, syntax, example, description);
        QCOMPARE(name, QByteArray("Communication Setup"));
        QCOMPARE(syntax, QByteArray("keep2"));
        QCOMPARE(description, QByteArray("keep4"));

        QByteArray first("keep"), second("keep");
        CParse().SplitResource(-5, first, second);
        QCOMPARE(first, QByteArray("keep"));
        QCOMPARE(second, QByteArray("keep"));
    }

    void splitResourceIntoList()
    {
        QByteArrayList parts {"already there"};
        CParse().SplitResource(IDS_EMULATIONS, parts);
        QCOMPARE(parts, QByteArrayList({"already there", "None", "TTY", "ANSI", "VT52", "VT100"}));

        // Empty fields of a document description are skipped, not kept.
        QByteArrayList fields;
        CParse().SplitResource(IDR_ORVALITYPE, fields);
        QCOMPARE(fields, QByteArrayList({"Orvali", "Orvali", "Orvalis.Document", "Orvali Document"}));
    }

    void firstToken_data()
    {
        QTest::addColumn<QByteArray>("delimiters");
        QTest::addColumn<QByteArray>("text");
        QTest::addColumn<QByteArray>("first");
        QTest::newRow("command name before (") << QByteArray("(") << QByteArray("TrimAll()")
                                               << QByteArray("TrimAll");
        QTest::newRow("leading delimiters are skipped") << QByteArray("(") << QByteArray("((x(y")
                                                        << QByteArray("x");
        QTest::newRow("any byte of the set delimits") << QByteArray(" ,") << QByteArray(" ,a,b")
                                                      << QByteArray("a");
        QTest::newRow("only delimiters keeps the output") << QByteArray("(") << QByteArray("((")
                                                          << QByteArray("previous");
        QTest::newRow("empty text keeps the output") << QByteArray("\n") << QByteArray()
                                                     << QByteArray("previous");
    }

    void firstToken()
    {
        QFETCH(QByteArray, delimiters);
        QFETCH(QByteArray, text);
        QByteArray result("previous");
        CParse(delimiters).GetFirstToken(text, result);
        QTEST(result, "first");
    }
};

QTEST_APPLESS_MAIN(tst_ControlCodes)
#include "tst_ControlCodes.moc"
