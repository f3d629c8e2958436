// Bytes of the script block: input strings before the sequences, the
// sequences as "CStringArray" objects with MFC object tags. A whole block of
// a driver is in the golden file of tst_CDriverFile.

#include "ArchiveTestSupport.h"
#include "CScript.h"

#include <QTest>

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
    void readsSequenceForms_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        QTest::addColumn<QByteArray>("sequences"); // commands joined by '/', sequences by '|'
        QTest::newRow("zero sequences") << Bytes("00 00 00 00 | 00 | 00 00 | 00 00") << QByteArray();
        QTest::newRow("absent first sequence drops all")
            << WithNewClass("00 00 00 00 | 00 | 00 00 | 02 00 | 00 00 |", "01 00 01 'a'") << QByteArray();
        QTest::newRow("absent later sequence stays absent")
            << WithNewClass("00 00 00 00 | 00 | 00 00 | 02 00 |", "01 00 01 'a' | 00 00")
            << QByteArray("a|null");
        QTest::newRow("back reference shares the sequence")
            << WithNewClass("00 00 00 00 | 00 | 00 00 | 02 00 |", "01 00 01 'a' | 02 00")
            << QByteArray("a|a");
    }

    void readsSequenceForms()
    {
        QFETCH(QByteArray, bytes);
        CScript read;
        const LoadOutcome outcome = Loaded(bytes, read);
        QVERIFY2(!outcome.closed, qPrintable(outcome.errorReason));
        QByteArrayList parts;
        for (const auto& sequence : read.m_Sequences)
            parts.append(sequence ? sequence->join('/') : QByteArray("null"));
        QTEST(parts.join('|'), "sequences");
        if (QTest::currentDataTag() == QByteArray("zero sequences")) {
            CScript empty;
            QCOMPARE(Stored(empty), bytes);
        }
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

    void damagedBlockKeepsWhatWasReadBefore_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        QTest::addColumn<qint64>("offset");
        QTest::addColumn<QString>("reason");
        QTest::addColumn<QByteArrayList>("inputs");
        QTest::newRow("huge sequence count fails at once")
            << Bytes("01 00 00 00 | 00 | 01 00 01 'X' | FF FF FF FF FF 7F | 00 00") << 9ll
            << "array count 2147483647 beyond the end of the file" << QByteArrayList{"X"};
        QTest::newRow("huge input string count fails at once")
            << Bytes("01 00 00 00 | 00 | FF FF 00 00 01 00 | 01 'X'") << 5ll
            << "array count 65536 beyond the end of the file" << QByteArrayList{"old"};
        QTest::newRow("huge end-of-string length fails at once")
            << Bytes("01 00 00 00 | FF 40 9C '<LF>'") << 4ll
            << "string length 40000 beyond the end of the file" << QByteArrayList{"old"};
    }

    void damagedBlockKeepsWhatWasReadBefore()
    {
        QFETCH(QByteArray, bytes);
        CScript read;
        read.m_InputStrings = {"old"};
        const auto oldSequence = Sequence({"TrimAll()"});
        read.m_Sequences = {oldSequence};
        const LoadOutcome outcome = Loaded(bytes, read);
        QVERIFY(outcome.closed);
        QTEST(outcome.errorReason, "reason");
        QTEST(outcome.errorOffset, "offset");
        QCOMPARE(read.m_bRegistered, 1);
        QTEST(read.m_InputStrings, "inputs");
        QCOMPARE(read.m_Sequences.size(), 1);
        QCOMPARE(read.m_Sequences.front(), oldSequence);
    }
};

QTEST_GUILESS_MAIN(tst_CScriptBlock)
#include "tst_CScriptBlock.moc"
