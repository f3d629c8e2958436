#include "CDeviceControlBlock.h"

#include "CCommParameter.h"

#include <QTest>

#include <cstring>

namespace {

QByteArray Bytes(const CDeviceControlBlock& block)
{
    return QByteArray(reinterpret_cast<const char*>(&block), sizeof block);
}

quint32 FlagWord(const CDeviceControlBlock& block)
{
    quint32 word;
    std::memcpy(&word, reinterpret_cast<const char*>(&block) + 8, 4);
    return word;
}

} // namespace

class tst_CDeviceControlBlock : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void defaultRecordGivesTheGoldenBlock();
    void flowControl_data();
    void flowControl();
    void characterFormat_data();
    void characterFormat();
};

void tst_CDeviceControlBlock::defaultRecordGivesTheGoldenBlock()
{
    CDeviceControlBlock block;
    block.ApplyLineSettings(CCommParameter());
    // Length 28, 9600 baud, flags 0x2017 (binary, parity check, CTS flow, DTR
    // enable, RTS handshake), XonLim 6348, XoffLim 25395, 8 data bits, no
    // parity, one stop bit, XON 0x11, XOFF 0x13.
    const QByteArray golden = QByteArray::fromHex("1c000000" "80250000" "17200000" "0000" "cc18" "3363"
                                                  "08" "00" "00" "11" "13" "00" "00" "00" "0000");
    QCOMPARE(Bytes(block).toHex(' '), golden.toHex(' '));
}

void tst_CDeviceControlBlock::flowControl_data()
{
    QTest::addColumn<int>("flow");
    QTest::addColumn<quint32>("flags");
    QTest::newRow("none: DTR and RTS enabled") << 0 << 0x1013u;
    QTest::newRow("Xon/Xoff adds XON/XOFF out and in") << 1 << 0x1313u;
    QTest::newRow("Rts/Cts: CTS flow and RTS handshake") << 2 << 0x2017u;
    QTest::newRow("Dtr/Dsr: RTS/CTS with XON/XOFF, no DSR flow") << 3 << 0x2317u;
    QTest::newRow("an unknown code is none") << 9 << 0x1013u;
}

void tst_CDeviceControlBlock::flowControl()
{
    QFETCH(int, flow);
    QFETCH(quint32, flags);
    CCommParameter parameters;
    parameters.m_nFlowControl = flow;
    CDeviceControlBlock block;
    // Flags set before (DSR sensitivity, abort on error) stay.
    block.fDsrSensitivity = 1;
    block.fAbortOnError = 1;
    block.ApplyLineSettings(parameters);
    QCOMPARE(FlagWord(block), flags | 0x40u | 0x4000u);
}

void tst_CDeviceControlBlock::characterFormat_data()
{
    QTest::addColumn<int>("parity");
    QTest::addColumn<int>("stopBits");
    QTest::addColumn<int>("parityCode");
    QTest::addColumn<int>("stopCode");
    QTest::newRow("even, two stop bits") << int('E') << 2 << 2 << 2;
    QTest::newRow("mark") << int('M') << 1 << 3 << 0;
    QTest::newRow("space") << int('S') << 1 << 4 << 0;
    QTest::newRow("none") << int('N') << 2 << 0 << 2;
    QTest::newRow("parity X and stop bits 3 keep the block's") << int('X') << 3 << 2 << 1;
    QTest::newRow("lower-case e is no parity letter") << int('e') << 0 << 2 << 1;
}

void tst_CDeviceControlBlock::characterFormat()
{
    QFETCH(int, parity);
    QFETCH(int, stopBits);
    QFETCH(int, parityCode);
    QFETCH(int, stopCode);
    CCommParameter parameters;
    parameters.m_cParity = parity;
    parameters.m_nStopBits = stopBits;
    CDeviceControlBlock block;
    block.Parity = CDeviceControlBlock::EvenParity;
    block.StopBits = CDeviceControlBlock::OneAndHalfStopBits;
    block.ApplyLineSettings(parameters);
    QCOMPARE(int(block.Parity), parityCode);
    QCOMPARE(int(block.StopBits), stopCode);
}

QTEST_GUILESS_MAIN(tst_CDeviceControlBlock)
#include "tst_CDeviceControlBlock.moc"
