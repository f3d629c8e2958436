// The USB converter back-end over a fake D2XX library, the kernel fallback
// and the converter listings over a fake sysfs tree.
#include "CommTestSupport.h"

#include "CConnectorList.h"
#include "CD2xx.h"
#include "CDeviceControlBlock.h"
#include "CLineReconnector.h"

// The fake library's own controls; the test links the library that the
// channel opens, so both see the same converters.
extern "C" {
int FakeD2xx_PeerFd(const char* serial);
void FakeD2xx_Unplug(const char* serial);
void FakeD2xx_RefuseBaud(std::uint32_t baud);
void FakeD2xx_Dcb(const char* serial, unsigned char* out);
long FakeD2xx_Value(const char* serial, const char* what);
void FakeD2xx_Reset();
}

namespace {

bool SendTo(int fd, const QByteArray& bytes)
{
    return ::write(fd, bytes.constData(), size_t(bytes.size())) == bytes.size();
}

QByteArray ReceiveFrom(int fd, int count)
{
    QByteArray data;
    QElapsedTimer timer;
    timer.start();
    while (data.size() < count && timer.elapsed() < 2000) {
        pollfd p = {fd, POLLIN, 0};
        poll(&p, 1, 20);
        char buffer[256];
        const ssize_t got = ::read(fd, buffer, sizeof buffer);
        if (got > 0)
            data.append(buffer, got);
    }
    return data;
}

// A sysfs tree as the kernel lays it out: /class/tty/<name> links to the tty's
// directory below /devices, whose "device" link leads to the port, below the
// USB interface, below the USB device with its idVendor and serial.
class FakeSysfs
{
public:
    QString Root() const { return m_dir.path(); }

    void AddUsbTty(const QString& name, const QByteArray& serialNumber, int usbDevice)
    {
        const QString usb = QStringLiteral("devices/usb%1/%1-1").arg(usbDevice);
        Write(usb + QStringLiteral("/idVendor"), "0403");
        Write(usb + QStringLiteral("/serial"), serialNumber + '\n');
        AddTty(name, usb + QStringLiteral("/%1-1:1.0/port").arg(usbDevice), QByteArray());
    }
    // A tty of a device without a serial number, e.g. an on-board UART.
    void AddPlainTty(const QString& name, const QByteArray& portType)
    {
        AddTty(name, QStringLiteral("devices/platform/serial8250/%1").arg(name), portType);
    }
    // A tty the kernel has no device for (a virtual console).
    void AddVirtualTty(const QString& name) { QDir(Root()).mkpath(QStringLiteral("class/tty/") + name); }
    // Unplugged: the kernel forgets the tty.
    void RemoveTty(const QString& name)
    {
        QFile::remove(QDir(Root()).filePath(QStringLiteral("class/tty/") + name));
    }

private:
    void AddTty(const QString& name, const QString& deviceDir, const QByteArray& portType)
    {
        const QString ttyDir = deviceDir + QStringLiteral("/tty/") + name;
        QDir root(Root());
        root.mkpath(ttyDir);
        root.mkpath(QStringLiteral("class/tty"));
        QFile::link(QStringLiteral("../../.."), root.filePath(ttyDir + QStringLiteral("/device")));
        QFile::link(QStringLiteral("../../") + ttyDir, root.filePath(QStringLiteral("class/tty/") + name));
        if (!portType.isEmpty())
            Write(ttyDir + QStringLiteral("/type"), portType + '\n');
    }
    void Write(const QString& relative, const QByteArray& content)
    {
        const QString path = QDir(Root()).filePath(relative);
        QDir().mkpath(QFileInfo(path).path());
        QFile file(path);
        if (file.open(QIODevice::WriteOnly))
            file.write(content);
    }

    QTemporaryDir m_dir;
};

// The line settings block the library was given.
QByteArray BlockOf(const char* serial)
{
    unsigned char bytes[28];
    FakeD2xx_Dcb(serial, bytes);
    return QByteArray(reinterpret_cast<const char*>(bytes), sizeof bytes);
}

// /dev/pts/N appears in sysfs as "pts!N".
QString SysfsNameOf(const CPtyPair& pty)
{
    return QString::fromLocal8Bit(PathOf(pty).mid(5)).replace(QLatin1Char('/'), QLatin1Char('!'));
}

} // namespace

class tst_UsbConverter : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();
    void bindsTheLibrary();
    void listsConvertersFromTheLibrary();
    void opensAConverterBySerialNumber();
    void freeModemLinesAreTheUsers();
    void pulledOutConverterIsReportedOnceThenClosed();
    void refusedSettingsLeaveTheConverterOpenWithoutReader();
    void withoutTheLibraryTheKernelTtyIsUsed();
    void reconnectFindsTheConverterAtItsNewNode();
    void kernelListsConvertersAndSerialDevices();
};

void tst_UsbConverter::init()
{
    qputenv("ORVALIS_D2XX_LIBRARY", FAKE_D2XX_LIBRARY);
    qunsetenv("ORVALIS_SYSFS_ROOT");
}

void tst_UsbConverter::cleanup()
{
    FakeD2xx_Reset();
    qunsetenv("ORVALIS_D2XX_LIBRARY");
    qunsetenv("ORVALIS_SYSFS_ROOT");
}

void tst_UsbConverter::bindsTheLibrary()
{
    const struct
    {
        QByteArray library;
        bool bound;
        int boundCount;
        const char* error;
    } rows[] = {
        {FAKE_D2XX_LIBRARY, true, 31, ""},
        {"/nonexistent/libftd2xx.so", false, 0, "cannot open"},
    };
    for (const auto& row : rows) {
        qputenv("ORVALIS_D2XX_LIBRARY", row.library);
        CD2xx d2xx;
        QCOMPARE(d2xx.LoadD2xx(), row.bound);
        QCOMPARE(d2xx.BoundCount(), row.boundCount);
        QVERIFY2(d2xx.GetLastError().contains(QLatin1String(row.error)), qPrintable(d2xx.GetLastError()));
        QVERIFY(d2xx.FreeD2xx());
    }
}

void tst_UsbConverter::listsConvertersFromTheLibrary()
{
    QCOMPARE(CD2xx::ListSerialNumbers(), std::optional(QByteArrayList{"FT1A2B3C", "VD000017", "XVD99"}));
    QCOMPARE(CConnectorList::UsbConverters(), (QByteArrayList{"VD000017", "XVD99"}));
}

void tst_UsbConverter::opensAConverterBySerialNumber()
{
    RecordingOwner owner;
    CComm channel;
    owner.Add(channel);
    QVERIFY(channel.OpenPort(Line("VD000017", 19200, 7, 'M', 2, 3)));
    QCOMPARE(channel.GetBackend(), CComm::D2xxBackend);
    QVERIFY(channel.IsReaderRunning());

    const char* serial = "VD000017";
    QCOMPARE(FakeD2xx_Value(serial, "dtr"), 1L);

    // The block whose bytes the device control block tests pin down.
    CDeviceControlBlock expected;
    expected.ApplyLineSettings(Line(serial, 19200, 7, 'M', 2, 3));
    QCOMPARE(BlockOf(serial).toHex(' '),
             QByteArray(reinterpret_cast<const char*>(&expected), sizeof expected).toHex(' '));

    const int peer = FakeD2xx_PeerFd(serial);
    QVERIFY(peer >= 0);
    QVERIFY(SendTo(peer, QByteArray("in\0put", 6)));
    QVERIFY(owner.WaitForData(channel, 6));
    QCOMPARE(owner.received.value(&channel), QByteArray("in\0put", 6));
    channel.SetOutput(QByteArray("out\0", 4));
    QCOMPARE(ReceiveFrom(peer, 4), QByteArray("out\0", 4));

    // Closing completes the library's wait for an event.
    QElapsedTimer timer;
    timer.start();
    channel.SetPortOpen(false);
    QVERIFY(timer.elapsed() < 500);
    QCOMPARE(FakeD2xx_Value(serial, "dtr"), 0L);
    QCOMPARE(FakeD2xx_Value(serial, "closes"), 1L);
}

void tst_UsbConverter::freeModemLinesAreTheUsers()
{
    CComm channel;
    const char* serial = "VD000017";
    QVERIFY(channel.OpenPort(Line(serial, 9600, 8, 'N', 1, 0)));
    QCOMPARE(FakeD2xx_Value(serial, "rts"), 1L);
    QVERIFY(channel.SetModemLine(CComm::LineDtr, false));
    QCOMPARE(FakeD2xx_Value(serial, "dtr"), 0L);

    // Dtr/Dsr drives DTR: the program leaves it alone (Rts/Cts and RTS are
    // the window's tests).
    QVERIFY(channel.OpenPort(Line(serial, 9600, 8, 'N', 1, 3)));
    QVERIFY(!channel.SetModemLine(CComm::LineDtr, false));
    QCOMPARE(FakeD2xx_Value(serial, "dtr"), 1L);
}

void tst_UsbConverter::pulledOutConverterIsReportedOnceThenClosed()
{
    const char* serial = "VD000017";
    RecordingOwner owner;
    CComm channel;
    owner.Add(channel);
    QVERIFY(channel.OpenPort(Line(serial)));

    FakeD2xx_Unplug(serial);
    QVERIFY(owner.WaitForCount(1));
    QCOMPARE(owner.notifications.first().lParam, qint64(CCommEvent::LineError));
    QVERIFY(!channel.IsPortOpen());
    QVERIFY(channel.IsLineLost());
    QVERIFY2(channel.GetLastError().contains(QStringLiteral("Connection to VD000017 lost")),
             qPrintable(channel.GetLastError()));
    QCOMPARE(FakeD2xx_Value(serial, "closes"), 1L);
    QTest::qWait(150);
    QCOMPARE(owner.notifications.size(), 1);
}

void tst_UsbConverter::refusedSettingsLeaveTheConverterOpenWithoutReader()
{
    FakeD2xx_RefuseBaud(14400);
    CComm channel;
    QCOMPARE(channel.OpenPort(Line("VD000017", 14400)), 0);
    QVERIFY(channel.IsPortOpen());
    QVERIFY(!channel.IsReaderRunning());
    QCOMPARE(channel.GetLastError(),
             QStringLiteral("USB converter VD000017 refused the line settings (14400 baud)"));
    channel.SetPortOpen(false);
    QCOMPARE(FakeD2xx_Value("VD000017", "closes"), 1L);

    // A converter that is not plugged in leaves the line closed.
    QCOMPARE(channel.OpenPort(Line("FTNOPE")), 0);
    QVERIFY(!channel.IsPortOpen());
    QCOMPARE(channel.GetLastError(), QStringLiteral("Cannot open USB converter FTNOPE: not plugged in"));
}

void tst_UsbConverter::withoutTheLibraryTheKernelTtyIsUsed()
{
    CPtyPair pty;
    FakeSysfs sysfs;
    sysfs.AddUsbTty(SysfsNameOf(pty), "VD000017", 1);
    qputenv("ORVALIS_SYSFS_ROOT", sysfs.Root().toLocal8Bit());
    qputenv("ORVALIS_D2XX_LIBRARY", "/nonexistent/libftd2xx.so");

    QCOMPARE(CConnectorList::FindKernelDevice("VD000017"), PathOf(pty));
    RecordingOwner owner;
    CComm channel;
    owner.Add(channel);
    QVERIFY(channel.OpenPort(Line("VD000017", 4800, 8, 'E')));
    QCOMPARE(channel.GetBackend(), CComm::SerialPortBackend);
    QCOMPARE(LineBaudRate(pty.Slave()), 4800u);
    pty.WriteMaster("kernel");
    QVERIFY(owner.WaitForData(channel, 6));

    CComm absent;
    QCOMPARE(absent.OpenPort(Line("VD999")), 0);
    QVERIFY(!absent.IsPortOpen());
    QVERIFY2(absent.GetLastError().contains(QStringLiteral("VD999: not plugged in (no D2XX library")),
             qPrintable(absent.GetLastError()));
}

void tst_UsbConverter::reconnectFindsTheConverterAtItsNewNode()
{
    const char* serial = "VD000017";
    CPtyPair first;
    first.CloseSlave();
    FakeSysfs sysfs;
    sysfs.AddUsbTty(SysfsNameOf(first), serial, 1);
    qputenv("ORVALIS_SYSFS_ROOT", sysfs.Root().toLocal8Bit());
    qputenv("ORVALIS_D2XX_LIBRARY", "/nonexistent/libftd2xx.so");
    RecordingOwner owner;
    CComm channel;
    owner.Add(channel);
    QVERIFY(channel.OpenPort(Line(serial)));
    CLineReconnector reconnector(channel);
    QSignalSpy reconnected(&reconnector, &CLineReconnector::reconnected);
    first.CloseMaster();
    QVERIFY(owner.WaitForCount(1) && !channel.IsPortOpen());
    sysfs.RemoveTty(SysfsNameOf(first));
    reconnector.Start(Line(serial));
    QTest::qWait(CDeviceWatch::LongestWaitMs() + 200);
    QVERIFY(reconnector.IsWaiting() && !channel.IsPortOpen());
    CPtyPair second;
    second.CloseSlave();
    sysfs.AddUsbTty(SysfsNameOf(second), serial, 2);
    QVERIFY(reconnected.wait(3 * CDeviceWatch::LongestWaitMs()));
    QVERIFY(reconnected.first().first().toString().startsWith(QStringLiteral("Reconnected to VD000017 at ")));
    QVERIFY(!reconnector.IsWaiting());
    QVERIFY(SendTo(second.Master(), "back"));
    QVERIFY(owner.WaitForData(channel, 4));
}

void tst_UsbConverter::kernelListsConvertersAndSerialDevices()
{
    FakeSysfs sysfs;
    sysfs.AddUsbTty(QStringLiteral("ttyUSB10"), "VD000099", 4);
    sysfs.AddUsbTty(QStringLiteral("ttyUSB2"), "XVD99", 3); // no device node
    sysfs.AddUsbTty(QStringLiteral("ttyUSB0"), "FT1A2B3C", 1);
    sysfs.AddUsbTty(QStringLiteral("ttyUSB1"), "VD000017", 2);
    sysfs.AddUsbTty(QStringLiteral("ttyACM0"), "ACM1", 5);
    sysfs.AddPlainTty(QStringLiteral("ttyS0"), "4");
    sysfs.AddPlainTty(QStringLiteral("ttyS1"), "0"); // no UART behind it
    sysfs.AddVirtualTty(QStringLiteral("ttyS2"));
    sysfs.AddVirtualTty(QStringLiteral("tty1"));
    qputenv("ORVALIS_SYSFS_ROOT", sysfs.Root().toLocal8Bit());
    qputenv("ORVALIS_D2XX_LIBRARY", "/nonexistent/libftd2xx.so");

    QCOMPARE(CConnectorList::UsbConverters(), (QByteArrayList{"VD000017", "XVD99", "VD000099"}));
    QCOMPARE(CConnectorList::FindKernelDevice("VD000099"), QByteArray("/dev/ttyUSB10"));
    QCOMPARE(CConnectorList::FindKernelDevice("VD"), QByteArray());

    QTemporaryDir dev;
    for (const char* node :
         {"ttyS0", "ttyS1", "ttyS2", "tty1", "ttyUSB0", "ttyUSB1", "ttyUSB10", "ttyACM0"}) {
        QFile file(dev.filePath(QLatin1String(node)));
        QVERIFY(file.open(QIODevice::WriteOnly));
    }
    // The stable names of the converters come after the device nodes.
    QVERIFY(QDir(dev.path()).mkpath(QStringLiteral("serial/by-id")));
    QVERIFY(QFile::link(dev.filePath(QStringLiteral("ttyUSB0")),
                        dev.filePath(QStringLiteral("serial/by-id/usb-FTDI_FT232R_FT1A2B3C-if00-port0"))));
    const QByteArray d = dev.path().toLocal8Bit() + '/';
    QCOMPARE(CConnectorList::SerialDevices(sysfs.Root(), dev.path()),
             (QByteArrayList{d + "ttyACM0", d + "ttyS0", d + "ttyUSB0", d + "ttyUSB1", d + "ttyUSB10",
                             d + "serial/by-id/usb-FTDI_FT232R_FT1A2B3C-if00-port0"}));
}

QTEST_GUILESS_MAIN(tst_UsbConverter)
#include "tst_UsbConverter.moc"
