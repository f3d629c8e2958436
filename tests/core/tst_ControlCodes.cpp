#include "CControlCode.h"
#include "CParse.h"
#include "ResourceIds.h"

#include <QTest>

class tst_ControlCodes : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void names()
    {
        const CControlCode codes;
        QCOMPARE(codes.GetCount(), 33);
        for (int code = 0; code < codes.GetCount(); ++code) {
            const QByteArray name = codes.GetName(code);
            QVERIFY(name.size() == 2 || name.size() == 3);
            QCOMPARE(codes.GetCode(name), code);
        }
        QCOMPARE(codes.GetName(13), QByteArray("CR"));
        QCOMPARE(codes.GetName(32), QByteArray("SPC"));
        QCOMPARE(codes.GetName(33), QByteArray());
        QCOMPARE(codes.GetName(-1), QByteArray());
        // Lower case, empty, a trailing space or an embedded NUL is no name.
        for (const QByteArray& text :
             {QByteArray("cr"), QByteArray(), QByteArray("CR "), QByteArray("CR\0", 3)})
            QVERIFY2(codes.GetCode(text) == -1, text);
    }

    void decode()
    {
        const struct
        {
            QByteArray text, decoded;
        } rows[] = {
            {"<CR><LF>", "\r\n"},
            // Lower case, empty brackets, unknown longer names stay.
            {"<cr>", "<cr>"},
            {"<>", "<>"},
            {"<CRX>", "<CRX>"},
            {"<ESCAPE>", "\x1b"}, // the first three letters name the code
            {"<<CR>", "<\r"},
            // NUL, named or raw, ends the text.
            {"AB<NUL>CD", "AB"},
            {"<NUL>", ""},
            {QByteArray("A\0B", 3), "A"},
            // A name without > ends the text; a lone < at the end stays.
            {"x<ESCabc", "x\x1b"},
            {"a<CR", "a\r"},
            {"a<", "a<"},
            {"<ESC<CR>z", "\x1bz"}, // the name is looked up to the next >
            {"", ""},
        };
        for (const auto& row : rows) {
            QByteArray text = row.text;
            CParse().DecodeControlCodes(text);
            QVERIFY2(text == row.decoded, row.text);
        }
    }

    void encode()
    {
        const struct
        {
            QByteArray bytes, encoded;
        } rows[] = {
            {"\r\n", "<CR><LF>"},
            {QByteArray("A\0B", 3), "A<NUL>B"},
            {"\x7f", "\x7f"}, // DEL, space and the printable bytes stay
            {"a b~", "a b~"},
        };
        for (const auto& row : rows) {
            QByteArray bytes = row.bytes;
            CParse().EncodeControlCodes(bytes);
            QVERIFY2(bytes == row.encoded, row.encoded);
        }
        // Decoding gives back every byte but NUL and <.
        QByteArray all;
        for (int b = 1; b < 256; ++b) {
            if (b != '<')
                all += char(b);
        }
        QByteArray text = all;
        CParse().EncodeControlCodes(text);
        CParse().DecodeControlCodes(text);
        QCOMPARE(text, all);
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
        QByteArrayList parts{"already there"};
        CParse().SplitResource(IDS_EMULATIONS, parts);
        QCOMPARE(parts, QByteArrayList({"already there", "None", "TTY", "ANSI", "VT52", "VT100"}));

        // Empty fields of a document description are skipped, not kept.
        QByteArrayList fields;
        CParse().SplitResource(IDR_ORVALITYPE, fields);
        QCOMPARE(fields, QByteArrayList({"Orvali", "Orvali", "Orvalis.Document", "Orvali Document"}));
    }

    void firstToken()
    {
        const struct
        {
            QByteArray delimiters, text, first;
        } rows[] = {
            {"(", "TrimAll()", "TrimAll"},
            {"(", "((x(y", "x"},  // leading delimiters are skipped
            {" ,", " ,a,b", "a"}, // any byte of the set delimits
            // Only delimiters or an empty text keep the output.
            {"(", "((", "previous"},
            {"\n", "", "previous"},
        };
        for (const auto& row : rows) {
            QByteArray result("previous");
            CParse(row.delimiters).GetFirstToken(row.text, result);
            QVERIFY2(result == row.first, row.text);
        }
    }
};

QTEST_APPLESS_MAIN(tst_ControlCodes)
#include "tst_ControlCodes.moc"
