// Golden bytes of the driver, communication, terminal, function keys and
// script blocks; the script block stores the input strings before the
// sequences, the sequences as "CStringArray" objects with MFC object tags.

#include "ArchiveTestSupport.h"
#include "CCommParameter.h"
#include "CDriverParameter.h"
#include "CFunctionKeysParameter.h"
#include "CScript.h"
#include "CTerminalParameter.h"
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

class tst_DriverRecords : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void commBlockBytes()
    {
        // Twelve bytes, the name only for connector -1; only 16 bits of the
        // baud rate.
        CCommParameter comm;
        comm.m_strConnector = "COM9";
        QCOMPARE(Stored(comm), Bytes("01 00 80 25 4E 00 08 00 01 00 02 00"));
        comm.m_nConnector = -1;
        comm.m_strConnector = "COM3";
        comm.m_nBaudRate = 115200;
        QCOMPARE(Stored(comm), Bytes("FF FF 00 C2 4E 00 08 00 01 00 02 00 04 'COM3'"));

        // Read into a record named "kept": connector, name, baud rate, parity,
        // data bits, stop bits, flow control; the bytes read or the damage.
        const struct
        {
            const char* bytes;
            QByteArray fields;
            qint64 read;
            QString damage;
        } rows[] = {
            {"FF FF 80 25 4E 00 08 00 01 00 02 00 04 'COM3'", "-1 COM3 9600 N 8 1 2", 17, {}},
            // Without connector -1 the name is not read; the baud rate word is unsigned.
            {"05 00 00 4B 45 00 07 00 02 00 01 00 04 'COM3'", "5 kept 19200 E 7 2 1", 12, {}},
            {"01 00 00 C2 4E 00 08 00 01 00 02 00", "1 kept 49664 N 8 1 2", 12, {}},
            // Cut short: the fields read before are kept.
            {"FF FF 00 4B 45 00 07 00 02 00 01 00 09 'COM'", "-1 kept 19200 E 7 2 1", 12,
             "string length 9 beyond the end of the file"},
        };
        for (const auto& row : rows) {
            CCommParameter read;
            read.m_strConnector = "kept";
            const LoadOutcome outcome = Loaded(Bytes(row.bytes), read);
            const QByteArray fields = QByteArray::number(read.m_nConnector) + ' ' + read.m_strConnector +
                                      ' ' + QByteArray::number(read.m_nBaudRate) + ' ' +
                                      char(read.m_cParity) + ' ' + QByteArray::number(read.m_nDataBits) +
                                      ' ' + QByteArray::number(read.m_nStopBits) + ' ' +
                                      QByteArray::number(read.m_nFlowControl);
            QVERIFY2(fields == row.fields, fields);
            QVERIFY2(outcome.closed == !row.damage.isEmpty() && outcome.errorReason == row.damage, row.bytes);
            QVERIFY2((row.damage.isEmpty() ? outcome.position : outcome.errorOffset) == row.read, row.bytes);
        }
    }

    void terminalBlockBytes()
    {
        CTerminalParameter terminal;
        const QByteArray bytes = Stored(terminal);
        QCOMPARE(bytes, Bytes("50 00 18 00 02 00 01 00 00 00 00 00 00 00 00 00 00 00 01 00"));

        CTerminalParameter read;
        read.m_nColumns = 132;
        read.m_bScrollbar = 0;
        const LoadOutcome outcome = Loaded(bytes, read);
        QVERIFY(!outcome.closed);
        QCOMPARE(Stored(read), bytes);
    }

    void driverBlockBytes()
    {
        const struct
        {
            QByteArray name;
            int excel;
            QByteArray bytes;
        } rows[] = {
            {"Balance", 0, Bytes("07 'Balance' 0B 'Balance.tbb' 00 00")},
            {"M", 1, Bytes("01 'M' 05 'M.tbb' 01 00")}, // the spreadsheet switch is 16 bits
        };
        for (const auto& row : rows) {
            CDriverParameter driver;
            driver.SetName(row.name);
            driver.SetFileName(row.name + ".tbb");
            driver.SetExcel(row.excel);
            QCOMPARE(Stored(driver), row.bytes);
        }
    }

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
};

QTEST_GUILESS_MAIN(tst_DriverRecords)
#include "tst_DriverRecords.moc"
