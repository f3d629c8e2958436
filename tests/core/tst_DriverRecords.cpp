// Golden bytes of the driver, communication, terminal and function keys blocks.

#include "ArchiveTestSupport.h"
#include "CCommParameter.h"
#include "CDriverParameter.h"
#include "CFunctionKeysParameter.h"
#include "CTerminalParameter.h"

#include <QTest>

class tst_DriverRecords : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void commBlockBytes_data()
    {
        QTest::addColumn<int>("connector");
        QTest::addColumn<QByteArray>("name");
        QTest::addColumn<QByteArray>("bytes");
        QTest::newRow("default record is twelve bytes without name")
            << 1 << QByteArray("COM9") << Bytes("01 00 80 25 4E 00 08 00 01 00 02 00");
        QTest::newRow("connector -1 adds the name")
            << -1 << QByteArray("COM3") << Bytes("FF FF 80 25 4E 00 08 00 01 00 02 00 04 'COM3'");
        QTest::newRow("300-character name takes the long length form")
            << -1 << QByteArray(300, 'A')
            << Bytes("FF FF 80 25 4E 00 08 00 01 00 02 00 FF 2C 01") + QByteArray(300, 'A');
    }

    void commBlockBytes()
    {
        QFETCH(int, connector);
        QFETCH(QByteArray, name);
        QFETCH(QByteArray, bytes);
        CCommParameter comm;
        comm.m_nConnector = connector;
        comm.m_strConnector = name;
        QCOMPARE(Stored(comm), bytes);

        CCommParameter read;
        const LoadOutcome outcome = Loaded(bytes, read);
        QVERIFY(!outcome.closed);
        QCOMPARE(outcome.position, bytes.size());
        QCOMPARE(read.m_nConnector, connector);
        QCOMPARE(read.m_strConnector, connector == -1 ? name : QByteArray());
        QCOMPARE(read.m_nBaudRate, 9600);
        QCOMPARE(read.m_cParity, int('N'));
        QCOMPARE(read.m_nDataBits, 8);
        QCOMPARE(read.m_nStopBits, 1);
        QCOMPARE(read.m_nFlowControl, 2);
    }

    void commBlockWithoutNameReadsSixWordsOnly()
    {
        CCommParameter read;
        read.m_strConnector = "kept";
        const LoadOutcome outcome = Loaded(Bytes("05 00 00 4B 45 00 07 00 02 00 01 00 04 'COM3'"), read);
        QVERIFY(!outcome.closed);
        QCOMPARE(outcome.position, 12);
        QCOMPARE(read.m_nConnector, 5);
        QCOMPARE(read.m_strConnector, QByteArray("kept"));
        QCOMPARE(read.m_nBaudRate, 19200);
        QCOMPARE(read.m_cParity, int('E'));
        QCOMPARE(read.m_nDataBits, 7);
        QCOMPARE(read.m_nStopBits, 2);
        QCOMPARE(read.m_nFlowControl, 1);
    }

    void commBlockKeepsOnlySixteenBitsOfTheBaudRate()
    {
        CCommParameter comm;
        comm.m_nBaudRate = 115200;
        const QByteArray bytes = Stored(comm);
        QCOMPARE(bytes.mid(2, 2), Bytes("00 C2"));
        CCommParameter read;
        Loaded(bytes, read);
        QCOMPARE(read.m_nBaudRate, 49664);
    }

    void commBlockCutShortKeepsFieldsReadBefore()
    {
        CCommParameter read;
        read.m_strConnector = "old";
        const LoadOutcome outcome = Loaded(Bytes("FF FF 00 4B 45 00 07 00 02 00 01 00 09 'COM'"), read);
        QVERIFY(outcome.closed);
        QCOMPARE(outcome.errorOffset, 12);
        QCOMPARE(outcome.errorReason, QString("string length 9 beyond the end of the file"));
        QCOMPARE(read.m_nFlowControl, 1);
        QCOMPARE(read.m_strConnector, QByteArray("old"));
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

    void terminalBlockWordsAreUnsigned_data()
    {
        QTest::addColumn<int>("value");
        QTest::addColumn<QByteArray>("word");
        QTest::addColumn<int>("readBack");
        QTest::newRow("70000 keeps its low 16 bits") << 70000 << Bytes("70 11") << 4464;
        QTest::newRow("word FFFF reads as 65535, not -1") << 65535 << Bytes("FF FF") << 65535;
        QTest::newRow("-1 is written as FFFF") << -1 << Bytes("FF FF") << 65535;
    }

    void terminalBlockWordsAreUnsigned()
    {
        QFETCH(int, value);
        CTerminalParameter terminal;
        terminal.m_nRows = value;
        const QByteArray bytes = Stored(terminal);
        QTEST(bytes.mid(2, 2), "word");
        CTerminalParameter read;
        Loaded(bytes, read);
        QTEST(read.m_nRows, "readBack");
    }

    void terminalBlockCutShortKeepsTheLastFields()
    {
        CTerminalParameter changed;
        changed.m_nColumns = 132;
        changed.m_nRows = 50;
        changed.m_nEmulation = 4;
        changed.m_bReceiveCRLF = 0;
        changed.m_bSendCRLF = 1;
        changed.m_bLocalEcho = 1;
        changed.m_bLineWrap = 1;
        changed.m_bShowControlChars = 1;
        changed.m_bBlockCursor = 1;
        changed.m_bScrollbar = 0;

        CTerminalParameter defaults;
        CTerminalParameter read = changed;
        const LoadOutcome outcome = Loaded(Stored(defaults).left(12), read);
        QVERIFY(outcome.closed);
        QCOMPARE(outcome.errorOffset, 12);
        QCOMPARE(read.m_bLocalEcho, 0);
        QCOMPARE(read.m_bLineWrap, 1);
        QCOMPARE(read.m_bShowControlChars, 1);
        QCOMPARE(read.m_bBlockCursor, 1);
        QCOMPARE(read.m_bScrollbar, 0);
    }

    void functionKeysOfANewDriverTake24Bytes()
    {
        CFunctionKeysParameter keys;
        keys.AppendEmptyKeys();
        QCOMPARE(Stored(keys), Bytes("00 00 00 00 08 00 00 00 00 00 00 00 00 00 08 00 00 00 00 00 00 00 00 00"));
    }

    void functionKeysKeepEveryEntry()
    {
        CFunctionKeysParameter keys;
        keys.m_bShowKeys = 1;
        for (int i = 0; i < 16; ++i) {
            keys.m_Names.append("F" + QByteArray::number(i + 1));
            keys.m_Commands.append(i == 2 ? QByteArray("PRINT\r") : QByteArray::number(i));
        }
        const QByteArray bytes = Stored(keys);
        QVERIFY(bytes.contains(Bytes("06 'PRINT' 0D")));

        CFunctionKeysParameter read;
        QVERIFY(!Loaded(bytes, read).closed);
        QCOMPARE(read.m_bShowKeys, 1);
        QCOMPARE(read.m_Names, keys.m_Names);
        QCOMPARE(read.m_Commands, keys.m_Commands);
        QCOMPARE(read.GetCommand(2), QByteArray("PRINT\r"));
        QCOMPARE(Stored(read), bytes);
    }

    void functionKeysCutShortKeepTheOldLists()
    {
        CFunctionKeysParameter read;
        read.m_Names = {"old"};
        const LoadOutcome outcome = Loaded(Bytes("01 00 00 00 03 00 01 'a' 01 'b'"), read);
        QVERIFY(outcome.closed);
        QCOMPARE(outcome.errorOffset, 10);
        QCOMPARE(read.m_bShowKeys, 1);
        QCOMPARE(read.m_Names, QByteArrayList{"old"});
    }

    void driverBlockBytes_data()
    {
        QTest::addColumn<QByteArray>("name");
        QTest::addColumn<int>("excel");
        QTest::addColumn<QByteArray>("bytes");
        QTest::newRow("new driver Balance") << QByteArray("Balance") << 0 << Bytes("07 'Balance' 0B 'Balance.tbb' 00 00");
        QTest::newRow("spreadsheet switch is 16 bits") << QByteArray("M") << 1 << Bytes("01 'M' 05 'M.tbb' 01 00");
        QTest::newRow("300-character name takes FF and 16 bits")
            << QByteArray(300, 'n') << 0
            << Bytes("FF 2C 01") + QByteArray(300, 'n') + Bytes("FF 30 01") + QByteArray(300, 'n') + ".tbb" + Bytes("00 00");
    }

    void driverBlockBytes()
    {
        QFETCH(QByteArray, name);
        QFETCH(int, excel);
        QFETCH(QByteArray, bytes);
        CDriverParameter driver;
        driver.SetName(name);
        driver.SetFileName(name + ".tbb");
        driver.SetExcel(excel);
        QCOMPARE(Stored(driver), bytes);

        CDriverParameter read;
        QVERIFY(!Loaded(bytes, read).closed);
        QCOMPARE(read.GetName(), name);
        QCOMPARE(read.GetFileName(), name + ".tbb");
        QCOMPARE(read.GetExcel(), excel);
    }
};

QTEST_GUILESS_MAIN(tst_DriverRecords)
#include "tst_DriverRecords.moc"
