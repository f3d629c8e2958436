#include "CScript.h"

#include <QTest>

namespace {

constexpr int kUnset = 1000;

} // namespace

class tst_ScriptMatchStart : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void matchStart_data()
    {
        QTest::addColumn<QByteArray>("endOfString");
        QTest::addColumn<QByteArrayList>("inputs");
        QTest::addColumn<int>("c");
        QTest::addColumn<bool>("matched");
        QTest::addColumn<int>("index");
        QTest::addColumn<int>("startChar");
        QTest::addColumn<int>("endChar");

        QTest::newRow("end of string uses its last byte")
            << QByteArray("<CR><LF>") << QByteArrayList {"S"} << int('S') << true << 0 << int('S')
            << int('\n');
        QTest::newRow("exact first byte without end setting ends at its last byte")
            << QByteArray() << QByteArrayList {"$ABC#", "~XY;"} << int('$') << true << 0 << int('$')
            << int('#');
        QTest::newRow("other bytes fall to the wildcard")
            << QByteArray() << QByteArrayList {"$ABC#", "~XY;"} << int('Q') << true << 1 << int('~')
            << int(';');
        QTest::newRow("earlier wildcard wins over an exact match")
            << QByteArray() << QByteArrayList {"~a", "Sb"} << int('S') << true << 0 << int('~')
            << int('a');
        QTest::newRow("later input string with the same first byte is never chosen")
            << QByteArray() << QByteArrayList {"A1", "A2"} << int('A') << true << 0 << int('A')
            << int('1');
        QTest::newRow("comparison is case-sensitive")
            << QByteArray() << QByteArrayList {"a;", "b:"} << int('A') << false << -1 << kUnset
            << int(':');
        QTest::newRow("no match leaves the last input's end byte")
            << QByteArray() << QByteArrayList {"AB", "CD"} << int('X') << false << -1 << kUnset
            << int('D');
        QTest::newRow("no match with end setting keeps its byte")
            << QByteArray("<ETX>") << QByteArrayList {"AB", "CD"} << int('X') << false << -1
            << kUnset << 3;
        QTest::newRow("no input strings with end setting")
            << QByteArray("<CR>") << QByteArrayList {} << int('X') << false << -1 << kUnset << 13;
        QTest::newRow("no input strings without end setting")
            << QByteArray() << QByteArrayList {} << int('X') << false << -1 << kUnset << kUnset;
        QTest::newRow("input strings are decoded")
            << QByteArray() << QByteArrayList {"<STX>data<ETX>"} << 2 << true << 0 << 2 << 3;
        QTest::newRow("input decoding to nothing is skipped and leaves the end byte")
            << QByteArray() << QByteArrayList {"<NUL>", "~"} << int('x') << true << 1 << int('~')
            << int('~');
        QTest::newRow("empty input string")
            << QByteArray() << QByteArrayList {""} << 0 << false << -1 << kUnset << kUnset;
        QTest::newRow("end setting decoding to nothing uses the input strings")
            << QByteArray("<NUL>") << QByteArrayList {"Ax"} << int('A') << true << 0 << int('A')
            << int('x');
        QTest::newRow("high byte given sign-extended")
            << QByteArray() << QByteArrayList {"\xb0" "C\xff"} << -80 << true << 0 << -80 << -1;
        QTest::newRow("high byte given unsigned")
            << QByteArray() << QByteArrayList {"\xb0" "C\xff"} << 176 << true << 0 << -80 << -1;
    }

    void matchStart()
    {
        QFETCH(QByteArray, endOfString);
        QFETCH(QByteArrayList, inputs);
        QFETCH(int, c);
        CScript script;
        script.m_strEndOfString = endOfString;
        script.m_InputStrings = inputs;
        int start = kUnset, end = kUnset, found = kUnset;
        QTEST(script.MatchStart(c, start, end, found), "matched");
        QTEST(found, "index");
        QTEST(start, "startChar");
        QTEST(end, "endChar");
    }
};

QTEST_APPLESS_MAIN(tst_ScriptMatchStart)
#include "tst_ScriptMatchStart.moc"
