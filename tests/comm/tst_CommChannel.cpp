// The channel on real pseudo-terminal pairs: the test plays the instrument
// on the master side.
#include "CommTestSupport.h"

#include "CDeviceControlBlock.h"
#include "CSerialPort.h"

#include <QTemporaryFile>

#include <ctime>

namespace {

qint64 TimeToClose(CComm& channel)
{
    QElapsedTimer timer;
    timer.start();
    channel.SetPortOpen(false);
    return timer.elapsed();
}

} // namespace

class tst_CommChannel : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void putsLineSettingsInForce();
    void refusedSettingsLeaveThePortOpenWithoutReader();
    void connectorsThatDoNotOpen();
    void busyLineNamesWhoHoldsIt();
    void carriesEveryByteBothWays();
    void notificationWaitsForTheAcknowledge();
    void bufferStopsReadingWhileTheOwnerLagsAndLosesNothing();
    void peerHangingUpIsReportedOnceThenClosed();
    void hangUpWaitsForThePendingAcknowledge();
    void waitingReaderUsesNoProcessor();
    void writingToAPeerThatNeverReadsIsBounded();

private:
    // Recent kernels give every pseudo-terminal 8 data bits without parity,
    // whatever is set; the character format is then checked on the termios
    // bits the channel asks for, not on what the pseudo-terminal keeps.
    bool m_bPtyKeepsFormat = true;
};

void tst_CommChannel::initTestCase()
{
    CPtyPair pty;
    termios tio = SettingsOf(pty.Slave());
    tio.c_cflag = (tio.c_cflag & ~tcflag_t(CSIZE)) | CS7 | PARENB;
    tcsetattr(pty.Slave(), TCSANOW, &tio);
    const termios kept = SettingsOf(pty.Slave());
    m_bPtyKeepsFormat = (kept.c_cflag & (CSIZE | PARENB)) == (CS7 | PARENB);
    if (!m_bPtyKeepsFormat)
        qInfo("this kernel's pseudo-terminals keep 8 data bits without parity");
}

void tst_CommChannel::putsLineSettingsInForce()
{
    struct Row
    {
        const char* name;
        int baud, dataBits, parity, stopBits, flow;
        int speedCode; // 0: no standard code
        int size, parityFlags;
        bool twoStopBits, rtsCts, xonXoff;
    };
    const Row rows[] = {
        {"9600 8N1 without flow control", 9600, 8, 'N', 1, 0, B9600, CS8, 0, false, false, false},
        {"odd parity, 7 data bits, Xon/Xoff", 19200, 7, 'O', 1, 1, B19200, CS7, PARENB | PARODD, false, false,
         true},
        {"even parity, two stop bits, Rts/Cts", 115200, 8, 'E', 2, 2, B115200, CS8, PARENB, true, true,
         false},
        {"mark parity; Dtr/Dsr gives RTS/CTS together with XON/XOFF", 4800, 8, 'M', 1, 3, B4800, CS8,
         PARENB | PARODD | CMSPAR, false, true, true},
        {"14400 baud, a rate without a standard code", 14400, 8, 'N', 1, 0, 0, CS8, 0, false, false, false},
    };
    for (const Row& row : rows) {
        qInfo("%s", row.name);
        CPtyPair pty;
        CComm channel;
        const CCommParameter parameters =
            Line(PathOf(pty), row.baud, row.dataBits, row.parity, row.stopBits, row.flow);
        QVERIFY(channel.OpenPort(parameters));
        QVERIFY(channel.IsReaderRunning());

        // What the channel asks of the driver.
        CDeviceControlBlock block;
        block.ApplyLineSettings(parameters);
        const CSerialPort::LineFlags asked = CSerialPort::TermiosFlags(block);
        QCOMPARE(int(asked.cflag & CSIZE), row.size);
        QCOMPARE(int(asked.cflag & (PARENB | PARODD | CMSPAR)), row.parityFlags);

        // What the line has.
        const termios tio = SettingsOf(pty.Slave());
        QCOMPARE(LineBaudRate(pty.Slave()), unsigned(row.baud));
        if (row.speedCode != 0)
            QCOMPARE(int(cfgetospeed(&tio)), row.speedCode);
        const tcflag_t format = m_bPtyKeepsFormat ? CSIZE | PARENB | PARODD | CMSPAR : PARODD | CMSPAR;
        QCOMPARE(int(tio.c_cflag & format), int(asked.cflag & format));
        QCOMPARE(bool(tio.c_cflag & CSTOPB), row.twoStopBits);
        QCOMPARE(bool(tio.c_cflag & CRTSCTS), row.rtsCts);
        QCOMPARE(bool(tio.c_iflag & IXON), row.xonXoff);
        QCOMPARE(bool(tio.c_iflag & INPCK), row.parityFlags != 0);
    }
}

void tst_CommChannel::refusedSettingsLeaveThePortOpenWithoutReader()
{
    CPtyPair pty;
    CComm channel;
    QCOMPARE(channel.OpenPort(Line(PathOf(pty), 9600, 9)), 0);
    QVERIFY(channel.IsPortOpen());
    QVERIFY(!channel.IsReaderRunning());
    QVERIFY2(channel.GetLastError().contains(QLatin1String("9 data bits are not possible")),
             qPrintable(channel.GetLastError()));
    QVERIFY(TimeToClose(channel) < 500);
    QVERIFY(!channel.IsPortOpen());
}

void tst_CommChannel::connectorsThatDoNotOpen()
{
    QTemporaryFile plainFile;
    QVERIFY(plainFile.open());
    const QByteArray file = plainFile.fileName().toLocal8Bit();
    const struct
    {
        QByteArray connector;
        const char* error;
    } rows[] = {
        {"None", "No connector chosen"},
        {"COM0", "Unknown connector \"COM0\""},
        {"orvalis-no-such-tty", "Cannot open /dev/orvalis-no-such-tty: No such file or directory"},
        {file, "not a serial device"},
    };
    for (const auto& row : rows) {
        CComm channel;
        QCOMPARE(channel.OpenPort(Line(row.connector)), 0);
        QVERIFY(!channel.IsPortOpen());
        QVERIFY2(channel.GetLastError().contains(QLatin1String(row.error)),
                 qPrintable(channel.GetLastError()));
    }
}

void tst_CommChannel::busyLineNamesWhoHoldsIt()
{
    CPtyPair pty;
    CComm first;
    CComm channel;
    QVERIFY(first.OpenPort(Line(PathOf(pty))));
    QCOMPARE(channel.OpenPort(Line(PathOf(pty))), 0);
    QVERIFY(!channel.IsPortOpen());
    QCOMPARE(channel.GetLastError(),
             QStringLiteral("Cannot open %1: Device or resource busy (already open in this program)")
                 .arg(pty.SlaveName()));
    first.SetPortOpen(false);
    QVERIFY(channel.OpenPort(Line(PathOf(pty))));
}

// NUL and bytes above 0x7F; 100000 bytes in one block (many notifications)
// and in pieces of 7 bytes a write.
void tst_CommChannel::carriesEveryByteBothWays()
{
    QByteArray large;
    for (int i = 0; i < 100000; ++i)
        large.append(char(i * 7 + i / 256));
    const QByteArray small("A\0B\xff\x80\r\n\0", 8);
    for (const auto& [bytes, piece] : {std::pair(small, 8), std::pair(large, 100000), std::pair(large, 7)}) {
        OwnedLine line;
        auto& [pty, owner, channel, opened] = line;
        QVERIFY(opened);
        std::thread instrument = WriteAsInstrument(pty, bytes, piece);
        const bool arrived = owner.WaitForData(channel, int(bytes.size()), 10000);
        instrument.join();
        QVERIFY2(arrived && owner.received.value(&channel) == bytes, qPrintable(QString::number(piece)));
        QCOMPARE(owner.notifications.last().commEvent, CComm::EventData);
        const QByteArray sent = bytes.left(4096);
        channel.SetOutput(sent);
        QCOMPARE(pty.ReadMaster(int(sent.size())), sent);
    }
}

void tst_CommChannel::notificationWaitsForTheAcknowledge()
{
    OwnedLine line(true, false);
    auto& [pty, owner, channel, opened] = line;
    QVERIFY(opened);

    pty.WriteMaster("1");
    QVERIFY(owner.WaitForCount(1));

    // More data before the acknowledge: no second notification.
    pty.WriteMaster("2");
    QTest::qWait(150);
    QCOMPARE(owner.notifications.size(), 1);
    QVERIFY(QTest::qWaitFor([&] { return channel.GetInBufferCount() == 2; }));
    QCOMPARE(channel.GetInput(), QByteArray("12"));
    channel.Acknowledge();

    // Closing releases a reader that waits for the owner's acknowledge.
    QVERIFY(TimeToClose(channel) < 500);
    QVERIFY(!channel.IsReaderRunning());
}

void tst_CommChannel::bufferStopsReadingWhileTheOwnerLagsAndLosesNothing()
{
    OwnedLine line(false);
    auto& [pty, owner, channel, opened] = line;
    QVERIFY(opened);
    QByteArray bytes;
    for (int i = 0; bytes.size() < 3 * CComm::InputBufferLimit; ++i)
        bytes += QByteArray::number(i) + ' ';
    // One byte first, so that the reads of the rest cannot end on the bound by chance.
    pty.WriteMaster(bytes.left(1));
    QVERIFY(QTest::qWaitFor([&] { return channel.GetInBufferCount() == 1; }));
    std::atomic<bool> allWritten = false;
    std::thread instrument = WriteAsInstrument(pty, bytes.mid(1), bytes.size(), &allWritten);

    // Full, and no fuller: the rest waits in the kernel.
    QVERIFY(QTest::qWaitFor([&] { return channel.GetInBufferCount() == CComm::InputBufferLimit; }));
    QTest::qWait(200);
    QCOMPARE(channel.GetInBufferCount(), quint16(CComm::InputBufferLimit));
    QVERIFY(!allWritten);

    QByteArray received;
    QVERIFY(QTest::qWaitFor([&] { return (received += channel.GetInput()).size() >= bytes.size(); }, 10000));
    instrument.join();
    QCOMPARE(received, bytes);
}

void tst_CommChannel::peerHangingUpIsReportedOnceThenClosed()
{
    OwnedLine line;
    auto& [pty, owner, channel, opened] = line;
    QVERIFY(opened);

    pty.CloseMaster();
    QVERIFY(owner.WaitForCount(1));
    const Notification loss = owner.notifications.first();
    QCOMPARE(loss.commEvent, CComm::EventLineError);
    QVERIFY(loss.fromOpenLine);
    QVERIFY(!channel.IsPortOpen());
    QVERIFY(channel.IsLineLost());
    QVERIFY2(channel.GetLastError().startsWith(QStringLiteral("Connection to %1 lost").arg(pty.SlaveName())),
             qPrintable(channel.GetLastError()));
    QTest::qWait(200);
    QCOMPARE(owner.notifications.size(), 1);
}

void tst_CommChannel::hangUpWaitsForThePendingAcknowledge()
{
    OwnedLine line(true, false);
    auto& [pty, owner, channel, opened] = line;
    QVERIFY(opened);

    pty.WriteMaster("a");
    QVERIFY(owner.WaitForCount(1));
    // Read while the owner is busy: the hang-up does not take them away.
    pty.WriteMaster("bc");
    QVERIFY(QTest::qWaitFor([&] { return channel.GetInBufferCount() == 3; }));
    pty.CloseMaster();
    QTest::qWait(150);
    QCOMPARE(owner.notifications.size(), 1);
    QVERIFY(channel.IsPortOpen());

    // Acknowledged without reading: the bytes are reported again, then the loss.
    channel.Acknowledge();
    QVERIFY(owner.WaitForCount(2));
    QCOMPARE(owner.notifications.at(1).commEvent, CComm::EventData);
    QCOMPARE(channel.GetInput(), QByteArray("abc"));
    channel.Acknowledge();
    QVERIFY(owner.WaitForCount(3));
    QCOMPARE(owner.notifications.at(2).commEvent, CComm::EventLineError);
    QVERIFY(channel.IsLineLost());
    QVERIFY(channel.IsPortOpen());
    channel.Acknowledge();
    QVERIFY(!channel.IsPortOpen());
}

// An idle line, bytes left unread by the owner, a hang-up not acknowledged yet.
void tst_CommChannel::waitingReaderUsesNoProcessor()
{
    auto cpuSeconds = [] {
        timespec now{};
        clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
        return double(now.tv_sec) + double(now.tv_nsec) / 1e9;
    };
    for (const QByteArray situation : {"idle", "unread", "hang-up"}) {
        OwnedLine line(false, situation != "hang-up");
        auto& [pty, owner, channel, opened] = line;
        QVERIFY(opened);
        if (situation == "unread")
            pty.WriteMaster("left");
        else if (situation == "hang-up")
            pty.CloseMaster();
        QVERIFY(owner.WaitForCount(situation == "idle" ? 0 : 1));

        const double before = cpuSeconds();
        QThread::msleep(400);
        const double used = cpuSeconds() - before;
        QVERIFY2(used < 0.05,
                 qPrintable(situation + QStringLiteral(": %1 s of processor in 0.4 s").arg(used)));
        QCOMPARE(owner.notifications.size(), situation == "idle" ? 0 : 1);
        if (situation != "unread")
            continue;
        // New bytes on top of the unread ones are reported, once.
        pty.WriteMaster("b");
        QVERIFY(owner.WaitForCount(2));
        QTest::qWait(100);
        QCOMPARE(owner.notifications.size(), 2);
        QCOMPARE(channel.GetInput(), QByteArray("leftb"));
    }
}

void tst_CommChannel::writingToAPeerThatNeverReadsIsBounded()
{
    CPtyPair pty;
    CComm channel;
    QVERIFY(channel.OpenPort(Line(PathOf(pty))));
    FillTowardsMaster(pty);

    QElapsedTimer timer;
    channel.SetWriteTimeout(50);
    timer.start();
    channel.SetOutput("abc");
    const qint64 threeBytes = timer.elapsed();
    QVERIFY2(threeBytes >= 140 && threeBytes < 1000, qPrintable(QString::number(threeBytes)));

    // A transfer that goes on waits for every byte as plain output does; a
    // stopped one gives up at the first byte the line does not take.
    std::atomic<bool> stop{false};
    channel.SetWriteTimeout(300);
    timer.restart();
    channel.SetOutputUntil("abc", stop);
    const qint64 goingOn = timer.elapsed();
    QVERIFY2(goingOn >= 880, qPrintable(QString::number(goingOn)));
    stop = true;
    timer.restart();
    channel.SetOutputUntil("abc", stop);
    const qint64 stopped = timer.elapsed();
    QVERIFY2(stopped < 600, qPrintable(QString::number(stopped)));
}

QTEST_GUILESS_MAIN(tst_CommChannel)
#include "tst_CommChannel.moc"
