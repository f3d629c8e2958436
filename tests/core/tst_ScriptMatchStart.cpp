#include "CScript.h"
#include "TestIncludes.h"

namespace {

constexpr int kUnset = 1000;

} // namespace

class tst_ScriptMatchStart : public QObject
{
    Q_OBJECT

private Q_SLOTS:
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
            // An earlier wildcard wins over an exact match; a later input
            // string with the same first byte is never chosen.
            {{}, {"~a", "Sb"}, 'S', true, 0, '~', 'a'},
            {{}, {"A1", "A2"}, 'A', true, 0, 'A', '1'},
            // Case-sensitive; no match leaves the last input's end byte.
            {{}, {"a;", "b:"}, 'A', false, -1, kUnset, ':'},
            // No match or no input strings with an end setting keep its byte.
            {"<ETX>", {"AB", "CD"}, 'X', false, -1, kUnset, 3},
            {"<CR>", {}, 'X', false, -1, kUnset, 13},
            // Input strings are decoded; one decoding to nothing is skipped
            // and leaves the end byte; an empty one matches nothing.
            {{}, {"<STX>data<ETX>"}, 2, true, 0, 2, 3},
            {{}, {"<NUL>", "~"}, 'x', true, 1, '~', '~'},
            {{}, {""}, 0, false, -1, kUnset, kUnset},
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
};

QTEST_APPLESS_MAIN(tst_ScriptMatchStart)
#include "tst_ScriptMatchStart.moc"
