// The channel on a real serial port with a loopback plug (TX to RX). Runs
// only when ORVALIS_TEST_SERIAL_DEVICE names the port, e.g. /dev/ttyUSB0.
#include "CommTestSupport.h"

class tst_SerialDevice : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        m_strDevice = qgetenv("ORVALIS_TEST_SERIAL_DEVICE");
        if (m_strDevice.isEmpty())
            QSKIP("needs a serial port with a loopback plug named by ORVALIS_TEST_SERIAL_DEVICE");
    }

    void keepsTheCharacterFormat()
    {
        CComm channel;
        QVERIFY2(channel.OpenPort(Line(m_strDevice, 9600, 7, 'E')), qPrintable(channel.GetLastError()));
        const int fd = ::open(m_strDevice.constData(), O_RDONLY | O_NONBLOCK | O_NOCTTY);
        if (fd < 0)
            QSKIP("the port is open exclusively; reading its settings needs root");
        termios tio{};
        tcgetattr(fd, &tio);
        ::close(fd);
        QCOMPARE(int(tio.c_cflag & (CSIZE | PARENB | PARODD)), int(CS7 | PARENB));
    }

    void bytesComeBackThroughTheLoopback()
    {
        RecordingOwner owner;
        CComm channel;
        owner.Add(channel);
        QVERIFY2(channel.OpenPort(Line(m_strDevice)), qPrintable(channel.GetLastError()));
        const QByteArray bytes("loop\0back\xff", 10);
        channel.SetOutput(bytes);
        QVERIFY(owner.WaitForData(channel, int(bytes.size())));
        QCOMPARE(owner.received.value(&channel), bytes);
    }

private:
    QByteArray m_strDevice;
};

QTEST_GUILESS_MAIN(tst_SerialDevice)
#include "tst_SerialDevice.moc"
