// The script's commands, the recognition of received strings by their first
// byte, the names of control codes and the parsing of command text.

#include "CControlCode.h"
#include "CParse.h"
#include "CScript.h"
#include "CScriptCommand.h"
#include "TestIncludes.h"

#include <stdexcept>

namespace {

// The output of one command: "result N" for a result other than 1, "refused:"
// and the output as it stood for a command that throws. The output does not
// start as the input, so a command that is not run leaves "unchanged".
QByteArray Run(const QByteArray& command, const QByteArray& input)
{
    QByteArray output("unchanged");
    try {
        const int result = CScriptCommand::Execute(command, input, output);
        if (result != 1)
            return QByteArray("result ") + QByteArray::number(result);
    } catch (const std::invalid_argument&) {
        return "refused: " + output;
    }
    return output;
}

const QByteArray kEsc("\x1b");

constexpr int kUnset = 1000;
} // namespace

class tst_ScriptCommand : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void execute()
    {
        const QByteArray weight("  12.5 mg");
        const struct
        {
            const char* name;
            QByteArray command, input, output;
        } rows[] = {
            {"TrimLeft removes every white-space kind", "TrimLeft()", " \t\n\v\f\rx \t", "x \t"},
            {"TrimAll removes every space", "TrimAll()", weight, "12.5mg"},
            {"TrimAll keeps tabs", "TrimAll()", " a\tb ", "a\tb"},
            {"ChangeSpaces replaces each run", "ChangeSpaces(;)", weight, ";12.5;mg"},
            {"ChangeSpaces leaves tabs", "ChangeSpaces(;)", "1\t 2\t", "1\t;2\t"},
            {"SkipCharacters of exactly the length gives empty", "SkipCharacters(3)", "abc", QByteArray()},
            {"SkipCharacters negative leaves the string", "SkipCharacters(-5)", "abc", "abc"},
            {"RemoveCharacters at the front", "RemoveCharacters(0, 2)", weight, "12.5 mg"},
            {"RemoveCharacters beyond the end keeps the front", "RemoveCharacters(2, 99)", "abcde", "ab"},
            {"RemoveCharacters with negative count repeats bytes", "RemoveCharacters(2, -2)", "abcde",
             "ababcde"},
            {"RemoveCharacters does not overflow on huge values", "RemoveCharacters(2147483647, 2147483647)",
             "abc", "abc"},
            {"RemoveCharacters escape form removes every sequence", "RemoveCharacters(27, 2)",
             QByteArray("A" + kEsc + "xB" + kEsc + "y"), "AB"},
            {"RemoveCharacters position 27 cannot be addressed", "RemoveCharacters(27, 1)",
             QByteArray(30, 'x'), QByteArray(30, 'x')},
            {"InsertCharacter at the front", "InsertCharacter(0, #)", weight, "#  12.5 mg"},
            {"InsertCharacter without character inserts NUL", "InsertCharacter(2)", "abc",
             QByteArray("ab\0c", 4)},
            {"ChangeCharacter uses the second argument", "ChangeCharacter(0, X, Y)", "abc", "Xbc"},
            {"ChangeCharacter at the last byte", "ChangeCharacter(2, <LF>)", "abc", "ab\n"},
            {"ChangeCharacters CR to space", "ChangeCharacters(<CR>, <SPC>)", "a\rb\r", "a b "},
            {"ChangeCharacters of a high byte", "ChangeCharacters(\xb0, o)",
             "25\xb0"
             "C",
             "25oC"},
            {"ChangeCharacters to a comma (the empty argument after it)", "ChangeCharacters(a, ,)", "a-a",
             ",-,"},
            {"runs of delimiters count as one", "RemoveCharacters( ,, 1 ,,, 2 ))", "abcde", "ade"},
            // Unknown commands leave the output alone.
            {"wrong case", "trimall()", " input ", "unchanged"},
            {"no parenthesis", "TrimAll", " input ", "unchanged"},
            {"prefix of a name", "Trim()", " input ", "unchanged"},
            // ChangeCharacter outside the string refuses and leaves the output alone.
            {"ChangeCharacter at the length", "ChangeCharacter(3, x)", "abc", "refused: unchanged"},
            {"ChangeCharacter at a negative position", "ChangeCharacter(-1, x)", "abc", "refused: unchanged"},
        };
        for (const auto& row : rows) {
            const QByteArray got = Run(row.command, row.input);
            QVERIFY2(got == row.output, row.name + QByteArray(": ") + got.toPercentEncoding());
        }
    }

    // The input string a first byte starts, its start byte and the end byte
    // of the string (kUnset: left as it was).
    void matchStart()
    {
        const struct
        {
            QByteArray endOfString;
            QByteArrayList inputs;
            int c;
            bool matched;
            int index, startChar, endChar;
        } rows[] = {
            // The end of string setting gives its last byte.
            {"<CR><LF>", {"S"}, 'S', true, 0, 'S', '\n'},
            // Without it, an exact first byte ends at the string's last byte,
            // other bytes fall to the wildcard.
            {{}, {"$ABC#", "~XY;"}, '$', true, 0, '$', '#'},
            {{}, {"$ABC#", "~XY;"}, 'Q', true, 1, '~', ';'},
            // An earlier wildcard wins over an exact match.
            {{}, {"~a", "Sb"}, 'S', true, 0, '~', 'a'},
            // Case-sensitive; no match leaves the last input's end byte.
            {{}, {"a;", "b:"}, 'A', false, -1, kUnset, ':'},
            // No match or no input strings with an end setting keep its byte.
            {"<ETX>", {"AB", "CD"}, 'X', false, -1, kUnset, 3},
            // Input strings are decoded; one decoding to nothing is skipped
            // and leaves the end byte.
            {{}, {"<STX>data<ETX>"}, 2, true, 0, 2, 3},
            {{}, {"<NUL>", "~"}, 'x', true, 1, '~', '~'},
            // An end setting decoding to nothing uses the input strings.
            {"<NUL>", {"Ax"}, 'A', true, 0, 'A', 'x'},
            // A high byte given unsigned matches the string's signed byte.
            {{}, {"\260C\xff"}, 176, true, 0, -80, -1},
        };
        for (const auto& row : rows) {
            CScript script;
            script.m_strEndOfString = row.endOfString;
            script.m_InputStrings = row.inputs;
            int start = kUnset, end = kUnset, found = kUnset;
            const bool matched = script.MatchStart(row.c, start, end, found);
            const QByteArray label = row.inputs.join('|') + " " + QByteArray::number(row.c);
            QVERIFY2(matched == row.matched && found == row.index, label);
            QVERIFY2(start == row.startChar && end == row.endChar, label);
        }
    }

    void names()
    {
        const CControlCode codes;
        for (int code = 0; code < codes.GetCount(); ++code) {
            const QByteArray name = codes.GetName(code);
            QCOMPARE(codes.GetCode(name), code);
        }
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
            // Unknown longer names stay.
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
};

QTEST_APPLESS_MAIN(tst_ScriptCommand)
#include "tst_ScriptCommand.moc"
