#include "CConnectorName.h"

#include <QTest>

Q_DECLARE_METATYPE(CConnectorName::Kind)

class tst_CConnectorName : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void parse_data();
    void parse();
    void fromComNumber_data();
    void fromComNumber();
};

void tst_CConnectorName::parse_data()
{
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<CConnectorName::Kind>("kind");
    QTest::addColumn<QByteArray>("devicePath");
    QTest::addColumn<QByteArray>("serialNumber");
    QTest::addColumn<QByteArray>("written");

    using N = CConnectorName;
    QTest::newRow("None in any case never opens") << QByteArray("nOnE") << N::None << QByteArray() << QByteArray() << QByteArray("None");
    QTest::newRow("com12 in lower case is written COM12")
        << QByteArray("com12") << N::ComPort << QByteArray("/dev/ttyS11") << QByteArray() << QByteArray("COM12");
    QTest::newRow("COM255 is the last port")
        << QByteArray("COM255") << N::ComPort << QByteArray("/dev/ttyS254") << QByteArray() << QByteArray("COM255");
    QTest::newRow("COM256 is no port") << QByteArray("COM256") << N::Invalid << QByteArray() << QByteArray() << QByteArray("COM256");
    QTest::newRow("COM007 with leading zeros is no port")
        << QByteArray("COM007") << N::Invalid << QByteArray() << QByteArray() << QByteArray("COM007");
    QTest::newRow("an absolute path opens as it stands")
        << QByteArray("/dev/ttyUSB0") << N::DevicePath << QByteArray("/dev/ttyUSB0") << QByteArray() << QByteArray("/dev/ttyUSB0");
    QTest::newRow("a bare name lives below /dev")
        << QByteArray("ttyACM1") << N::DevicePath << QByteArray("/dev/ttyACM1") << QByteArray() << QByteArray("/dev/ttyACM1");
    QTest::newRow("a path naming FTDI is still a path")
        << QByteArray("/dev/serial/by-id/usb-FTDI_FT232R_USB_UART_A5-if00-port0") << N::DevicePath
        << QByteArray("/dev/serial/by-id/usb-FTDI_FT232R_USB_UART_A5-if00-port0") << QByteArray()
        << QByteArray("/dev/serial/by-id/usb-FTDI_FT232R_USB_UART_A5-if00-port0");
    QTest::newRow("FT in a name selects the USB converter")
        << QByteArray("FT12AB34") << N::UsbConverter << QByteArray() << QByteArray("FT12AB34") << QByteArray("FT12AB34");
    QTest::newRow("VD anywhere selects the USB converter")
        << QByteArray("XVD99") << N::UsbConverter << QByteArray() << QByteArray("XVD99") << QByteArray("XVD99");
    QTest::newRow("ft in lower case is a device name, the rule is case-sensitive")
        << QByteArray("ft12") << N::DevicePath << QByteArray("/dev/ft12") << QByteArray() << QByteArray("/dev/ft12");
    QTest::newRow("a relative path is refused")
        << QByteArray("../etc/passwd") << N::Invalid << QByteArray() << QByteArray() << QByteArray("../etc/passwd");
}

void tst_CConnectorName::parse()
{
    QFETCH(QByteArray, text);
    QFETCH(CConnectorName::Kind, kind);
    QFETCH(QByteArray, devicePath);
    QFETCH(QByteArray, serialNumber);
    QFETCH(QByteArray, written);

    const CConnectorName name = CConnectorName::Parse(text);
    QCOMPARE(name.GetKind(), kind);
    QCOMPARE(name.GetDevicePath(), devicePath);
    QCOMPARE(name.GetSerialNumber(), serialNumber);
    QCOMPARE(name.CanOpen(), kind != CConnectorName::None && kind != CConnectorName::Invalid);
    QCOMPARE(name.ToString(), written);

    const CConnectorName again = CConnectorName::Parse(name.ToString());
    QCOMPARE(again.GetKind(), kind);
    QCOMPARE(again.ToString(), written);
}

void tst_CConnectorName::fromComNumber_data()
{
    QTest::addColumn<int>("number");
    QTest::addColumn<bool>("valid");
    QTest::addColumn<QByteArray>("written");
    QTest::newRow("3 is COM3") << 3 << true << QByteArray("COM3");
    QTest::newRow("0 is no port") << 0 << false << QByteArray("COM0");
}

void tst_CConnectorName::fromComNumber()
{
    QFETCH(int, number);
    QFETCH(bool, valid);
    QFETCH(QByteArray, written);
    const CConnectorName name = CConnectorName::FromComNumber(number);
    QCOMPARE(name.CanOpen(), valid);
    QCOMPARE(name.GetComNumber(), valid ? number : 0);
    QCOMPARE(name.ToString(), written);
}

QTEST_GUILESS_MAIN(tst_CConnectorName)
#include "tst_CConnectorName.moc"
