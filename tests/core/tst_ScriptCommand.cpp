#include "CParse.h"
#include "CParseCommand.h"
#include "CScriptCommand.h"
#include "ResourceIds.h"
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
            {"SkipCharacters drops the first bytes", "SkipCharacters(2)", weight, "12.5 mg"},
            {"SkipCharacters of exactly the length gives empty", "SkipCharacters(3)", "abc", QByteArray()},
            {"SkipCharacters negative leaves the string", "SkipCharacters(-5)", "abc", "abc"},
            {"RemoveCharacters at the front", "RemoveCharacters(0, 2)", weight, "12.5 mg"},
            {"RemoveCharacters beyond the end keeps the front", "RemoveCharacters(2, 99)", "abcde", "ab"},
            {"RemoveCharacters with negative count repeats bytes", "RemoveCharacters(2, -2)", "abcde",
             "ababcde"},
            {"RemoveCharacters reads its count after the parenthesis", "RemoveCharacters(1) 3", "abcdef",
             "aef"},
            {"RemoveCharacters does not overflow on huge values", "RemoveCharacters(2147483647, 2147483647)",
             "abc", "abc"},
            {"RemoveCharacters escape form removes every sequence", "RemoveCharacters(27, 2)",
             QByteArray("A" + kEsc + "xB" + kEsc + "y"), "AB"},
            {"RemoveCharacters escape form with zero count ends unchanged", "RemoveCharacters(27, 0)",
             QByteArray("a" + kEsc + "b"), QByteArray("a" + kEsc + "b")},
            {"RemoveCharacters position 27 cannot be addressed", "RemoveCharacters(27, 1)",
             QByteArray(30, 'x'), QByteArray(30, 'x')},
            {"InsertCharacter at the front", "InsertCharacter(0, #)", weight, "#  12.5 mg"},
            {"InsertCharacter negative position inserts at the front", "InsertCharacter(-3, x)", "ab", "xab"},
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
            {"ChangeSpaces to a control code name", "ChangeSpaces(<HT>)", "  12.5 mg", "\t12.5\tmg"},
            {"number token stops at the first non-digit", "SkipCharacters(2x5)", "abcd", "cd"},
            {"runs of delimiters count as one", "RemoveCharacters( ,, 1 ,,, 2 ))", "abcde", "ade"},
            {"missing closing parenthesis is accepted", "RemoveCharacters(0, 1", "abc", "bc"},
            {"embedded NUL in the input is kept", "SkipCharacters(1)", QByteArray("a\0b", 3),
             QByteArray("\0b", 2)},
            {"empty input gives empty output", "TrimLeft()", QByteArray(), QByteArray()},
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

    // The editor page shows these entries and inserts their examples: every
    // example must be a command this executor knows.
    void commandTableEntriesAreUsable()
    {
        for (int id = IDS_CMD_FIRST; id < IDS_CMD_FIRST + IDS_CMD_COUNT; ++id) {
            QByteArray name, syntax, example, description;
            CParse().SplitResource(id, name, syntax, example, description);
            QVERIFY2(!description.isEmpty(), name.constData());
            QVERIFY(syntax.startsWith(name + '('));
            QVERIFY(example.startsWith(name + '('));
            QByteArray first("unset");
            CParse("(").GetFirstToken(example, first);
            QCOMPARE(first, name);
            // A known command on a string with a space, a tab and an 'a'
            // changes it (an unknown one would leave the marker text).
            QByteArray output("marker");
            QCOMPARE(CScriptCommand::Execute(example, QByteArray(" a\tb  c"), output), 1);
            QVERIFY2(output != "marker", example.constData());
        }
    }

    void parse()
    {
        // The result, then the text left, the parts before, between and after
        // the markers, each part starting as "old".
        const struct
        {
            const char* name;
            QByteArray marker, text, expected;
        } rows[] = {
            {"two markers", "^$E", "AB^$ECD^$EEF", "2 EF|AB|CD|EF"},
            {"no marker leaves the text", "^$F", "AB^$ECD", "-1 AB^$ECD|||"},
            {"one marker fills before and inner", "^$F", "x^$Ffile.txt", "-1 x^$Ffile.txt|x|file.txt|"},
            {"adjacent markers give an empty inner", "^$S", "^$S^$S", "0 |||"},
            {"only the first two markers count", "^$E", "a^$Eb^$Ec^$Ed", "1 c^$Ed|a|b|c^$Ed"},
        };
        for (const auto& row : rows) {
            QByteArray text = row.text;
            QByteArray b("old"), i("old"), a("old");
            const int result = CParseCommand().Parse(row.marker, text, b, i, a);
            const QByteArray got = QByteArray::number(result) + ' ' + text + '|' + b + '|' + i + '|' + a;
            QVERIFY2(got == row.expected, row.name + QByteArray(": ") + got);
        }
    }
};

QTEST_APPLESS_MAIN(tst_ScriptCommand)
#include "tst_ScriptCommand.moc"
