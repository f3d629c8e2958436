#include "CParse.h"
#include "CParseCommand.h"
#include "CScriptCommand.h"
#include "ResourceIds.h"

#include <QTest>

#include <stdexcept>

namespace {

QByteArray Run(const QByteArray& command, const QByteArray& input)
{
    QByteArray output = input;
    const int result = CScriptCommand::Execute(command, input, output);
    if (result != 1)
        return QByteArray("result ") + QByteArray::number(result);
    return output;
}

const QByteArray kEsc("\x1b");

} // namespace

class tst_ScriptCommand : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void execute_data()
    {
        QTest::addColumn<QByteArray>("command");
        QTest::addColumn<QByteArray>("input");
        QTest::addColumn<QByteArray>("output");

        const QByteArray weight("  12.5 mg");
        QTest::newRow("TrimLeft removes every white-space kind")
            << QByteArray("TrimLeft()") << QByteArray(" \t\n\v\f\rx \t") << QByteArray("x \t");
        QTest::newRow("TrimLeft keeps other control bytes")
            << QByteArray("TrimLeft()") << QByteArray("\x02 x") << QByteArray("\x02 x");
        QTest::newRow("TrimAll removes every space") << QByteArray("TrimAll()") << weight
                                                     << QByteArray("12.5mg");
        QTest::newRow("TrimAll keeps tabs") << QByteArray("TrimAll()") << QByteArray(" a\tb ")
                                            << QByteArray("a\tb");
        QTest::newRow("ChangeSpaces replaces each run") << QByteArray("ChangeSpaces(;)") << weight
                                                        << QByteArray(";12.5;mg");
        QTest::newRow("ChangeSpaces leaves tabs")
            << QByteArray("ChangeSpaces(;)") << QByteArray("1\t 2\t") << QByteArray("1\t;2\t");
        QTest::newRow("ChangeSpaces with a longer string")
            << QByteArray("ChangeSpaces(abc)") << QByteArray("1 2") << QByteArray("1abc2");
        QTest::newRow("ChangeSpaces without argument removes spaces")
            << QByteArray("ChangeSpaces()") << weight << QByteArray("12.5mg");
        QTest::newRow("ChangeSpaces ignores a second argument")
            << QByteArray("ChangeSpaces(x, y)") << QByteArray("a b") << QByteArray("axb");
        QTest::newRow("SkipCharacters drops the first bytes") << QByteArray("SkipCharacters(2)")
                                                              << weight << QByteArray("12.5 mg");
        QTest::newRow("SkipCharacters beyond the end gives empty")
            << QByteArray("SkipCharacters(99)") << QByteArray("abc") << QByteArray();
        QTest::newRow("SkipCharacters of exactly the length gives empty")
            << QByteArray("SkipCharacters(3)") << QByteArray("abc") << QByteArray();
        QTest::newRow("SkipCharacters negative leaves the string")
            << QByteArray("SkipCharacters(-5)") << QByteArray("abc") << QByteArray("abc");
        QTest::newRow("SkipCharacters ignores text after the parenthesis")
            << QByteArray("SkipCharacters(2) 5") << QByteArray("abcdefg") << QByteArray("cdefg");
        QTest::newRow("RemoveCharacters at the front") << QByteArray("RemoveCharacters(0, 2)")
                                                       << weight << QByteArray("12.5 mg");
        QTest::newRow("RemoveCharacters beyond the end keeps the front")
            << QByteArray("RemoveCharacters(2, 99)") << QByteArray("abcde") << QByteArray("ab");
        QTest::newRow("RemoveCharacters with negative count repeats bytes")
            << QByteArray("RemoveCharacters(2, -2)") << QByteArray("abcde") << QByteArray("ababcde");
        QTest::newRow("RemoveCharacters with negative position")
            << QByteArray("RemoveCharacters(-1, 2)") << QByteArray("abcde") << QByteArray("bcde");
        QTest::newRow("RemoveCharacters reads its count after the parenthesis")
            << QByteArray("RemoveCharacters(1) 3") << QByteArray("abcdef") << QByteArray("aef");
        QTest::newRow("RemoveCharacters ignores surplus values")
            << QByteArray("RemoveCharacters(1, 1, 5, 6, 7, 8)") << QByteArray("abc")
            << QByteArray("ac");
        QTest::newRow("RemoveCharacters does not overflow on huge values")
            << QByteArray("RemoveCharacters(2147483647, 2147483647)") << QByteArray("abc")
            << QByteArray("abc");
        QTest::newRow("RemoveCharacters saturates numbers beyond 32 bits")
            << QByteArray("RemoveCharacters(99999999999999999999, 1)") << QByteArray("abc")
            << QByteArray("abc");
        QTest::newRow("RemoveCharacters escape form removes every sequence")
            << QByteArray("RemoveCharacters(27, 2)") << QByteArray("A" + kEsc + "xB" + kEsc + "y")
            << QByteArray("AB");
        QTest::newRow("RemoveCharacters escape form without ESC leaves the string")
            << QByteArray("RemoveCharacters(27, 3)") << QByteArray("a long string")
            << QByteArray("a long string");
        QTest::newRow("RemoveCharacters escape form with zero count ends unchanged")
            << QByteArray("RemoveCharacters(27, 0)") << QByteArray("a" + kEsc + "b")
            << QByteArray("a" + kEsc + "b");
        QTest::newRow("RemoveCharacters escape form with missing count ends unchanged")
            << QByteArray("RemoveCharacters(27)") << QByteArray(kEsc + "b") << QByteArray(kEsc + "b");
        QTest::newRow("RemoveCharacters position 27 cannot be addressed")
            << QByteArray("RemoveCharacters(27, 1)") << QByteArray(30, 'x') << QByteArray(30, 'x');
        QTest::newRow("InsertCharacter at the front") << QByteArray("InsertCharacter(0, #)") << weight
                                                      << QByteArray("#  12.5 mg");
        QTest::newRow("InsertCharacter negative position inserts at the front")
            << QByteArray("InsertCharacter(-3, x)") << QByteArray("ab") << QByteArray("xab");
        QTest::newRow("InsertCharacter beyond the end appends")
            << QByteArray("InsertCharacter(9, x)") << QByteArray("ab") << QByteArray("abx");
        QTest::newRow("InsertCharacter without character inserts NUL")
            << QByteArray("InsertCharacter(2)") << QByteArray("abc") << QByteArray("ab\0c", 4);
        QTest::newRow("InsertCharacter takes the first byte of the token")
            << QByteArray("InsertCharacter(0, xyz)") << QByteArray("a") << QByteArray("xa");
        QTest::newRow("InsertCharacter with a token decoding to nothing inserts NUL")
            << QByteArray("InsertCharacter(0, <NUL>)") << QByteArray("a") << QByteArray("\0a", 2);
        QTest::newRow("InsertCharacter ignores surplus characters")
            << QByteArray("InsertCharacter(0, a, b, c, d, e, f)") << QByteArray("z")
            << QByteArray("az");
        QTest::newRow("ChangeCharacter uses the second argument")
            << QByteArray("ChangeCharacter(0, X, Y)") << QByteArray("abc") << QByteArray("Xbc");
        QTest::newRow("ChangeCharacter at the last byte")
            << QByteArray("ChangeCharacter(2, <LF>)") << QByteArray("abc") << QByteArray("ab\n");
        QTest::newRow("ChangeCharacter ignores surplus arguments")
            << QByteArray("ChangeCharacter(1, X, Y, Z, W, V)") << QByteArray("abc")
            << QByteArray("aXc");
        QTest::newRow("ChangeCharacter without character writes NUL")
            << QByteArray("ChangeCharacter(1)") << QByteArray("abc") << QByteArray("a\0c", 3);
        QTest::newRow("ChangeCharacters CR to space")
            << QByteArray("ChangeCharacters(<CR>, <SPC>)") << QByteArray("a\rb\r")
            << QByteArray("a b ");
        QTest::newRow("ChangeCharacters without target writes NUL")
            << QByteArray("ChangeCharacters(a)") << QByteArray("bab") << QByteArray("b\0b", 3);
        QTest::newRow("ChangeCharacters of a high byte")
            << QByteArray("ChangeCharacters(\xb0, o)") << QByteArray("25\xb0" "C")
            << QByteArray("25oC");
        QTest::newRow("ChangeCharacters to a comma (the empty argument after it)")
            << QByteArray("ChangeCharacters(a, ,)") << QByteArray("a-a") << QByteArray(",-,");
        QTest::newRow("ChangeSpaces to a control code name")
            << QByteArray("ChangeSpaces(<HT>)") << QByteArray("  12.5 mg") << QByteArray("\t12.5\tmg");
        QTest::newRow("ChangeCharacters ignores surplus arguments")
            << QByteArray("ChangeCharacters(a, b, c, d, e, f)") << QByteArray("aa")
            << QByteArray("bb");
        QTest::newRow("number token stops at the first non-digit")
            << QByteArray("SkipCharacters(2x5)") << QByteArray("abcd") << QByteArray("cd");
        QTest::newRow("token without digits reads as zero")
            << QByteArray("SkipCharacters(x)") << QByteArray("abcd") << QByteArray("abcd");
        QTest::newRow("number with plus sign") << QByteArray("SkipCharacters(+1)")
                                               << QByteArray("abcd") << QByteArray("bcd");
        QTest::newRow("runs of delimiters count as one")
            << QByteArray("RemoveCharacters( ,, 1 ,,, 2 ))") << QByteArray("abcde") << QByteArray("ade");
        QTest::newRow("missing closing parenthesis is accepted")
            << QByteArray("RemoveCharacters(0, 1") << QByteArray("abc") << QByteArray("bc");
        QTest::newRow("embedded NUL in the input is kept")
            << QByteArray("SkipCharacters(1)") << QByteArray("a\0b", 3) << QByteArray("\0b", 2);
        QTest::newRow("empty input gives empty output")
            << QByteArray("TrimLeft()") << QByteArray() << QByteArray();
    }

    void execute()
    {
        QFETCH(QByteArray, command);
        QFETCH(QByteArray, input);
        QTEST(Run(command, input), "output");
    }

    void unknownCommandLeavesOutput_data()
    {
        QTest::addColumn<QByteArray>("command");
        QTest::newRow("wrong case") << QByteArray("trimall()");
        QTest::newRow("no parenthesis") << QByteArray("TrimAll");
        QTest::newRow("space before parenthesis") << QByteArray("TrimAll ()");
        QTest::newRow("empty text") << QByteArray();
        QTest::newRow("prefix of a name") << QByteArray("Trim()");
        QTest::newRow("name with NUL") << QByteArray("TrimAll\0()", 10);
    }

    void unknownCommandLeavesOutput()
    {
        QFETCH(QByteArray, command);
        QByteArray output("out put");
        QCOMPARE(CScriptCommand::Execute(command, QByteArray(" input "), output), 1);
        QCOMPARE(output, QByteArray("out put"));
    }

    void changeCharacterOutsideFails_data()
    {
        QTest::addColumn<QByteArray>("command");
        QTest::addColumn<QByteArray>("input");
        QTest::newRow("position equal to the length") << QByteArray("ChangeCharacter(3, x)")
                                                      << QByteArray("abc");
        QTest::newRow("negative position") << QByteArray("ChangeCharacter(-1, x)") << QByteArray("abc");
        QTest::newRow("empty string") << QByteArray("ChangeCharacter(0, x)") << QByteArray();
    }

    void changeCharacterOutsideFails()
    {
        QFETCH(QByteArray, command);
        QFETCH(QByteArray, input);
        QByteArray output("unchanged");
        QVERIFY_THROWS_EXCEPTION(std::invalid_argument,
                                 CScriptCommand::Execute(command, input, output));
        QCOMPARE(output, QByteArray("unchanged"));
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

    void parse_data()
    {
        QTest::addColumn<QByteArray>("marker");
        QTest::addColumn<QByteArray>("text");
        QTest::addColumn<int>("result");
        QTest::addColumn<QByteArray>("newText");
        QTest::addColumn<QByteArray>("before");
        QTest::addColumn<QByteArray>("inner");
        QTest::addColumn<QByteArray>("after");
        QTest::newRow("two markers") << QByteArray("^$E") << QByteArray("AB^$ECD^$EEF") << 2
                                     << QByteArray("EF") << QByteArray("AB") << QByteArray("CD")
                                     << QByteArray("EF");
        QTest::newRow("no marker leaves the text") << QByteArray("^$F") << QByteArray("AB^$ECD") << -1
                                                   << QByteArray("AB^$ECD") << QByteArray()
                                                   << QByteArray() << QByteArray();
        QTest::newRow("one marker fills before and inner")
            << QByteArray("^$F") << QByteArray("x^$Ffile.txt") << -1 << QByteArray("x^$Ffile.txt")
            << QByteArray("x") << QByteArray("file.txt") << QByteArray();
        QTest::newRow("adjacent markers give an empty inner")
            << QByteArray("^$S") << QByteArray("^$S^$S") << 0 << QByteArray() << QByteArray()
            << QByteArray() << QByteArray();
        QTest::newRow("only the first two markers count")
            << QByteArray("^$E") << QByteArray("a^$Eb^$Ec^$Ed") << 1 << QByteArray("c^$Ed")
            << QByteArray("a") << QByteArray("b") << QByteArray("c^$Ed");
    }

    void parse()
    {
        QFETCH(QByteArray, marker);
        QFETCH(QByteArray, text);
        QByteArray b("old"), i("old"), a("old");
        QTEST(CParseCommand().Parse(marker, text, b, i, a), "result");
        QTEST(text, "newText");
        QTEST(b, "before");
        QTEST(i, "inner");
        QTEST(a, "after");
    }
};

QTEST_APPLESS_MAIN(tst_ScriptCommand)
#include "tst_ScriptCommand.moc"
