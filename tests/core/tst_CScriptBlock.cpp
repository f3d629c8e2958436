// Bytes of the script block: input strings before the sequences, the
// sequences as "CStringArray" objects with MFC object tags. A whole block of
// a driver is in the golden file of tst_CDriverFile.

#include "ArchiveTestSupport.h"
#include "CScript.h"
#include "TestIncludes.h"

namespace {

std::shared_ptr<CStringArray> Sequence(const QByteArrayList& commands)
{
    return std::make_shared<CStringArray>(commands);
}

const char* const NewClass = "FF FF 00 00 0C 00 'CStringArray'";

QByteArray WithNewClass(const char* before, const char* after)
{
    return Bytes(before) + Bytes(NewClass) + Bytes(after);
}

} // namespace

class tst_CScriptBlock : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    // The sequences read: commands joined by '/', sequences by '|'.
    void readsSequenceForms()
    {
        const struct
        {
            QByteArray bytes, sequences;
        } rows[] = {
            {Bytes("00 00 00 00 | 00 | 00 00 | 00 00"), ""},
            // An absent first sequence drops all, a later one stays absent.
            {WithNewClass("00 00 00 00 | 00 | 00 00 | 02 00 | 00 00 |", "01 00 01 'a'"), ""},
            {WithNewClass("00 00 00 00 | 00 | 00 00 | 02 00 |", "01 00 01 'a' | 00 00"), "a|null"},
        };
        for (const auto& row : rows) {
            CScript read;
            const LoadOutcome outcome = Loaded(row.bytes, read);
            QVERIFY2(!outcome.closed, qPrintable(outcome.errorReason));
            QByteArrayList parts;
            for (const auto& sequence : read.m_Sequences)
                parts.append(sequence ? sequence->join('/') : QByteArray("null"));
            QCOMPARE(parts.join('|'), row.sequences);
        }
        CScript empty;
        QCOMPARE(Stored(empty), rows[0].bytes);
    }

    void sharedSequenceIsStoredOnce()
    {
        CScript script;
        const auto shared = Sequence({"TrimAll()"});
        script.m_InputStrings = {"A", "B"};
        script.m_Sequences = {shared, shared};
        const QByteArray bytes = Stored(script);
        QCOMPARE(bytes, WithNewClass("00 00 00 00 | 00 | 02 00 | 01 'A' | 01 'B' | 02 00 |",
                                     "01 00 09 'TrimAll()' | 02 00"));

        CScript read;
        QVERIFY(!Loaded(bytes, read).closed);
        QCOMPARE(read.m_Sequences.at(0), read.m_Sequences.at(1));
        QCOMPARE(Stored(read), bytes);
    }

    void absentFirstSequenceDropsAllWhenStoring()
    {
        CScript script;
        script.m_InputStrings = {"A", "B"};
        script.m_Sequences = {nullptr, Sequence({"TrimAll()"})};
        QCOMPARE(Stored(script), WithNewClass("00 00 00 00 | 00 | 02 00 | 01 'A' | 01 'B' | 02 00 | 00 00 |",
                                              "01 00 09 'TrimAll()'"));
        QCOMPARE(script.GetSequenceCount(), 0);
        QCOMPARE(script.GetInputStringCount(), 2);
    }

    // A huge count or length fails at once; what was read before stays.
    void damagedBlockKeepsWhatWasReadBefore()
    {
        const struct
        {
            QByteArray bytes;
            qint64 offset;
            QString reason;
            QByteArrayList inputs;
        } rows[] = {
            {Bytes("01 00 00 00 | 00 | 01 00 01 'X' | FF FF FF FF FF 7F | 00 00"),
             9,
             "array count 2147483647 beyond the end of the file",
             {"X"}},
            {Bytes("01 00 00 00 | FF 40 9C '<LF>'"),
             4,
             "string length 40000 beyond the end of the file",
             {"old"}},
        };
        for (const auto& row : rows) {
            CScript read;
            read.m_InputStrings = {"old"};
            const auto oldSequence = Sequence({"TrimAll()"});
            read.m_Sequences = {oldSequence};
            const LoadOutcome outcome = Loaded(row.bytes, read);
            QVERIFY(outcome.closed && outcome.errorReason == row.reason && outcome.errorOffset == row.offset);
            QCOMPARE(read.m_bRegistered, 1);
            QCOMPARE(read.m_InputStrings, row.inputs);
            QVERIFY(read.m_Sequences.size() == 1 && read.m_Sequences.front() == oldSequence);
        }
    }
};

QTEST_GUILESS_MAIN(tst_CScriptBlock)
#include "tst_CScriptBlock.moc"
