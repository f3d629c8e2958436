// The line settings' vocabulary: parity and flow-control words, connector
// names, and the device control block they give.

#include "CCommParameter.h"
#include "CConnectorName.h"
#include "CDeviceControlBlock.h"
#include "CLineSettingsText.h"

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

class tst_LineSettings : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void parityWords_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<int>("parity");
        QTest::addColumn<QString>("written");
        QTest::newRow("letter") << "E" << int('E') << "E";
        QTest::newRow("lower-case letter") << "o" << int('O') << "O";
        QTest::newRow("word in any case") << "sPaCe" << int('S') << "S";
        QTest::newRow("none") << "none" << int('N') << "N";
        QTest::newRow("unknown word") << "even-ish" << -1 << "";
        QTest::newRow("empty text") << "" << -1 << "";
    }

    void parityWords()
    {
        QFETCH(QString, text);
        QFETCH(int, parity);
        QCOMPARE(CLineSettingsText::ParseParity(text), parity);
        QTEST(CLineSettingsText::ParityToString(parity), "written");
    }

    void flowControlWords_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<int>("flowControl");
        QTest::addColumn<QString>("written");
        QTest::newRow("none is 0") << "None" << 0 << "None";
        QTest::newRow("xon/xoff is 1") << "xon/xoff" << 1 << "Xon/Xoff";
        QTest::newRow("rts/cts is 2") << "RTS/CTS" << 2 << "Rts/Cts";
        QTest::newRow("unknown word") << "hardware" << -1 << "";
    }

    void flowControlWords()
    {
        QFETCH(QString, text);
        QFETCH(int, flowControl);
        QCOMPARE(CLineSettingsText::ParseFlowControl(text), flowControl);
        QTEST(CLineSettingsText::FlowControlToString(flowControl), "written");
        QCOMPARE(CLineSettingsText::FlowControlToString(4), QString());
    }

    void summary()
    {
        CCommParameter line;
        QCOMPARE(CLineSettingsText::Summary(line), QStringLiteral("9600 8N1 Rts/Cts"));
        line.m_nBaudRate = 115200;
        line.m_nDataBits = 7;
        line.m_cParity = 'E';
        line.m_nStopBits = 2;
        line.m_nFlowControl = 0;
        QCOMPARE(CLineSettingsText::Summary(line), QStringLiteral("115200 7E2 None"));
        // A damaged record still says what it holds.
        line.m_cParity = 'Q';
        line.m_nFlowControl = 9;
        QCOMPARE(CLineSettingsText::Summary(line), QStringLiteral("115200 7?2 ?"));
    }

    // The longest connector is kept whole; one longer keeps its start and its name.
    void shortConnector()
    {
        QCOMPARE(CLineSettingsText::ShortConnector(QStringLiteral("COM1")), QStringLiteral("COM1"));
        QCOMPARE(CLineSettingsText::ShortConnector(QStringLiteral("/dev/serial/by-id/ab")),
                 QStringLiteral("/dev/serial/by-id/ab"));
        QCOMPARE(CLineSettingsText::ShortConnector(QStringLiteral("/work/build/demo/balance-sim-tty")),
                 QStringLiteral("/work/\u2026lance-sim-tty"));
    }

    // The kind of a connector name, its device path or serial number, and the
    // name as written back (parsed again it stays).
    void parse()
    {
        using N = CConnectorName;
        const QByteArray ftdi("/dev/serial/by-id/usb-FTDI_FT232R_USB_UART_A5-if00-port0");
        const struct
        {
            QByteArray text;
            N::Kind kind;
            QByteArray devicePath, serialNumber, written;
        } rows[] = {
            {"nOnE", N::None, {}, {}, "None"}, // never opens
            // COM ports: any case, up to COM255, no leading zeros.
            {"com12", N::ComPort, "/dev/ttyS11", {}, "COM12"},
            {"COM255", N::ComPort, "/dev/ttyS254", {}, "COM255"},
            {"COM256", N::Invalid, {}, {}, "COM256"},
            {"COM007", N::Invalid, {}, {}, "COM007"},
            // An absolute path opens as it stands, a bare name lives below /dev,
            // a path naming FTDI is still a path.
            {"/dev/ttyUSB0", N::DevicePath, "/dev/ttyUSB0", {}, "/dev/ttyUSB0"},
            {"ttyACM1", N::DevicePath, "/dev/ttyACM1", {}, "/dev/ttyACM1"},
            {ftdi, N::DevicePath, ftdi, {}, ftdi},
            // FT or VD anywhere in a name selects the USB converter; the rule is case-sensitive.
            {"FT12AB34", N::UsbConverter, {}, "FT12AB34", "FT12AB34"},
            {"XVD99", N::UsbConverter, {}, "XVD99", "XVD99"},
            {"ft12", N::DevicePath, "/dev/ft12", {}, "/dev/ft12"},
            {"../etc/passwd", N::Invalid, {}, {}, "../etc/passwd"}, // a relative path is refused
        };
        for (const auto& row : rows) {
            const CConnectorName name = CConnectorName::Parse(row.text);
            QVERIFY2(name.GetKind() == row.kind && name.ToString() == row.written, row.text);
            QVERIFY2(name.GetDevicePath() == row.devicePath && name.GetSerialNumber() == row.serialNumber,
                     row.text);
            QVERIFY2(name.CanOpen() == (row.kind != N::None && row.kind != N::Invalid), row.text);
            const CConnectorName again = CConnectorName::Parse(name.ToString());
            QVERIFY2(again.GetKind() == row.kind && again.ToString() == row.written, row.text);
        }
    }

    void fromComNumber()
    {
        const CConnectorName com3 = CConnectorName::FromComNumber(3);
        QVERIFY(com3.CanOpen());
        QCOMPARE(com3.GetComNumber(), 3);
        QCOMPARE(com3.ToString(), QByteArray("COM3"));
        const CConnectorName com0 = CConnectorName::FromComNumber(0);
        QVERIFY(!com0.CanOpen());
        QCOMPARE(com0.GetComNumber(), 0);
        QCOMPARE(com0.ToString(), QByteArray("COM0"));
    }

    void defaultRecordGivesTheGoldenBlock()
    {
        CDeviceControlBlock block;
        block.ApplyLineSettings(CCommParameter());
        // Length 28, 9600 baud, flags 0x2017 (binary, parity check, CTS flow, DTR
        // enable, RTS handshake), XonLim 6348, XoffLim 25395, 8 data bits, no
        // parity, one stop bit, XON 0x11, XOFF 0x13.
        const QByteArray golden =
            QByteArray::fromHex("1c000000 80250000 17200000 0000 cc18 3363 08 00 00 11 13 00 00 00 0000");
        QCOMPARE(Bytes(block).toHex(' '), golden.toHex(' '));
    }

    void flowControl_data()
    {
        QTest::addColumn<int>("flow");
        QTest::addColumn<quint32>("flags");
        QTest::newRow("none: DTR and RTS enabled") << 0 << 0x1013u;
        QTest::newRow("Xon/Xoff adds XON/XOFF out and in") << 1 << 0x1313u;
        QTest::newRow("Rts/Cts: CTS flow and RTS handshake") << 2 << 0x2017u;
        QTest::newRow("Dtr/Dsr: RTS/CTS with XON/XOFF, no DSR flow") << 3 << 0x2317u;
        QTest::newRow("an unknown code is none") << 9 << 0x1013u;
    }

    void flowControl()
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

    void characterFormat_data()
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

    void characterFormat()
    {
        QFETCH(int, parity);
        QFETCH(int, stopBits);
        CCommParameter parameters;
        parameters.m_cParity = parity;
        parameters.m_nStopBits = stopBits;
        CDeviceControlBlock block;
        block.Parity = CDeviceControlBlock::EvenParity;
        block.StopBits = CDeviceControlBlock::OneAndHalfStopBits;
        block.ApplyLineSettings(parameters);
        QTEST(int(block.Parity), "parityCode");
        QTEST(int(block.StopBits), "stopCode");
    }
};

QTEST_GUILESS_MAIN(tst_LineSettings)
#include "tst_LineSettings.moc"
