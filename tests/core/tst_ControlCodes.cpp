#include "CControlCode.h"
#include "CParse.h"
#include "TestIncludes.h"

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
            QCOMPARE(codes.GetCode(name), code);
        }
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
            {"<CRX>", "<CRX>"},
            {"<ESCAPE>", "\x1b"}, // the first three letters name the code
            // NUL, named or raw, ends the text.
            {"AB<NUL>CD", "AB"},
            {QByteArray("A\0B", 3), "A"},
            // A name without > ends the text; a lone < at the end stays.
            {"x<ESCabc", "x\x1b"},
            {"a<", "a<"},
            {"<ESC<CR>z", "\x1bz"}, // the name is looked up to the next >
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

    void firstToken()
    {
        const struct
        {
            QByteArray delimiters, text, first;
        } rows[] = {
            {"(", "TrimAll()", "TrimAll"},
            {" ,", " ,a,b", "a"}, // leading delimiters are skipped; any byte of the set delimits
            // Only delimiters keep the output.
            {"(", "((", "previous"},
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
