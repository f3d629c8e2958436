#include "CSerialPort.h"

#include "CComm.h"
#include "CDeviceAccess.h"

// The kernel's termios2 (TCGETS2/TCSETS2) carries any baud rate; glibc's
// <termios.h> must not be included next to it.
#include <asm/termbits.h>
#include <linux/serial.h>
#include <sys/eventfd.h>
#include <sys/file.h>
#include <sys/ioctl.h>
#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstring>

namespace {

// How often the modem lines and error counters are looked at while no data
// comes; only where the driver has them.
constexpr int WatchIntervalMs = 50;
// Back-off after a wake-up that brought nothing (POLLIN with no byte).
constexpr int SpuriousWakeBackoffMs = 10;
constexpr int ReadChunk = 65536;

struct BaudCode
{
    unsigned rate;
    unsigned code;
};

constexpr BaudCode StandardRates[] = {
    {50, B50},         {75, B75},           {110, B110},         {134, B134},         {150, B150},
    {200, B200},       {300, B300},         {600, B600},         {1200, B1200},       {1800, B1800},
    {2400, B2400},     {4800, B4800},       {9600, B9600},       {19200, B19200},     {38400, B38400},
    {57600, B57600},   {115200, B115200},   {230400, B230400},   {460800, B460800},   {500000, B500000},
    {576000, B576000}, {921600, B921600},   {1000000, B1000000}, {1152000, B1152000}, {1500000, B1500000},
    {2000000, B2000000}, {2500000, B2500000}, {3000000, B3000000}, {3500000, B3500000}, {4000000, B4000000},
};

unsigned CodeOfRate(unsigned rate)
{
    for (const BaudCode& entry : StandardRates) {
        if (entry.rate == rate)
            return entry.code;
    }
    return BOTHER;
}

unsigned RateOf(const termios2& tio)
{
    const unsigned code = tio.c_cflag & CBAUD;
    if (code == BOTHER)
        return tio.c_ospeed;
    for (const BaudCode& entry : StandardRates) {
        if (entry.code == code)
            return entry.rate;
    }
    return 0;
}

unsigned SizeFlag(int dataBits)
{
    switch (dataBits) {
    case 5: return CS5;
    case 6: return CS6;
    case 7: return CS7;
    case 8: return CS8;
    default: return ~0u;
    }
}

int DataBitsOf(tcflag_t cflag)
{
    switch (cflag & CSIZE) {
    case CS5: return 5;
    case CS6: return 6;
    case CS7: return 7;
    default: return 8;
    }
}

// PARENB, PARODD, CMSPAR for the block's parity code; ~0 for an unknown code.
unsigned ParityFlags(std::uint8_t parity)
{
    switch (parity) {
    case CDeviceControlBlock::NoParity: return 0;
    case CDeviceControlBlock::OddParity: return PARENB | PARODD;
    case CDeviceControlBlock::EvenParity: return PARENB;
    case CDeviceControlBlock::MarkParity: return PARENB | CMSPAR | PARODD;
    case CDeviceControlBlock::SpaceParity: return PARENB | CMSPAR;
    default: return ~0u;
    }
}

std::uint8_t ParityOf(tcflag_t cflag)
{
    if (!(cflag & PARENB))
        return CDeviceControlBlock::NoParity;
    if (cflag & CMSPAR)
        return (cflag & PARODD) ? CDeviceControlBlock::MarkParity : CDeviceControlBlock::SpaceParity;
    return (cflag & PARODD) ? CDeviceControlBlock::OddParity : CDeviceControlBlock::EvenParity;
}

QString SystemError(int error)
{
    return QString::fromLocal8Bit(std::strerror(error));
}

// Raw mode: no line editing, echo, signals or character translation.
void MakeRaw(termios2& tio)
{
    tio.c_iflag &= ~tcflag_t(IGNBRK | BRKINT | PARMRK | ISTRIP | INLCR | IGNCR | ICRNL | IXON | IXOFF | IXANY |
                             INPCK | IGNPAR | IUCLC | IMAXBEL);
    tio.c_oflag &= ~tcflag_t(OPOST);
    tio.c_lflag &= ~tcflag_t(ECHO | ECHONL | ECHOE | ECHOK | ICANON | ISIG | IEXTEN);
    tio.c_cflag |= CREAD | CLOCAL;
    tio.c_cc[VMIN] = 1;
    tio.c_cc[VTIME] = 0;
}

// The character format and handshake bits of c_cflag.
constexpr tcflag_t LineFlagMask = CSIZE | PARENB | PARODD | CMSPAR | CSTOPB | CRTSCTS;

} // namespace

CSerialPort::CSerialPort(const QByteArray& devicePath) : m_strPath(devicePath)
{
}

CSerialPort::~CSerialPort()
{
    Close();
}

bool CSerialPort::Open(QString* error)
{
    Close();
    const int fd = ::open(m_strPath.constData(), O_RDWR | O_NONBLOCK | O_NOCTTY | O_CLOEXEC);
    if (fd < 0) {
        *error = CDeviceAccess::Explain(m_strPath, errno);
        return false;
    }
    termios2 tio{};
    if (ioctl(fd, TCGETS2, &tio) != 0) {
        *error = QStringLiteral("Cannot open %1: not a serial device (%2)")
                     .arg(QString::fromLocal8Bit(m_strPath), SystemError(errno));
        ::close(fd);
        return false;
    }
    // TIOCEXCL keeps other programs out, but not root; the lock keeps out
    // every program that asks for it, this one included.
    if (flock(fd, LOCK_EX | LOCK_NB) != 0) {
        // Closed first, so that the holder found is not this very open.
        ::close(fd);
        *error = CDeviceAccess::Explain(m_strPath, EBUSY);
        return false;
    }
    ioctl(fd, TIOCEXCL);
    const int wakeFd = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
    if (wakeFd < 0) {
        *error = QStringLiteral("Cannot open %1: %2").arg(QString::fromLocal8Bit(m_strPath), SystemError(errno));
        ::close(fd);
        return false;
    }
    m_fd = fd;
    m_wakeFd = wakeFd;
    return true;
}

void CSerialPort::CloseKeepingOutput()
{
    if (m_fd < 0)
        return;
    // The kernel sends what is left before it hangs up the line.
    ioctl(m_fd, TIOCNXCL);
    ::close(m_fd);
    ::close(m_wakeFd);
    m_fd = -1;
    m_wakeFd = -1;
}

void CSerialPort::Close()
{
    if (m_fd < 0)
        return;
    SetDtr(false);
    ioctl(m_fd, TCFLSH, TCIOFLUSH);
    ioctl(m_fd, TIOCNXCL);
    ::close(m_fd);
    ::close(m_wakeFd);
    m_fd = -1;
    m_wakeFd = -1;
}

bool CSerialPort::GetState(CDeviceControlBlock& dcb)
{
    termios2 tio{};
    if (m_fd < 0 || ioctl(m_fd, TCGETS2, &tio) != 0)
        return false;
    dcb = CDeviceControlBlock();
    dcb.BaudRate = RateOf(tio);
    dcb.ByteSize = std::uint8_t(DataBitsOf(tio.c_cflag));
    dcb.Parity = ParityOf(tio.c_cflag);
    dcb.StopBits = (tio.c_cflag & CSTOPB) ? CDeviceControlBlock::TwoStopBits : CDeviceControlBlock::OneStopBit;
    dcb.fBinary = 1;
    dcb.fParity = (tio.c_iflag & INPCK) ? 1 : 0;
    dcb.fOutxCtsFlow = (tio.c_cflag & CRTSCTS) ? 1 : 0;
    dcb.fRtsControl = (tio.c_cflag & CRTSCTS) ? CDeviceControlBlock::RtsHandshake : CDeviceControlBlock::RtsEnable;
    dcb.fDtrControl = CDeviceControlBlock::DtrEnable;
    dcb.fOutX = (tio.c_iflag & IXON) ? 1 : 0;
    dcb.fInX = (tio.c_iflag & IXOFF) ? 1 : 0;
    dcb.XonChar = char(tio.c_cc[VSTART]);
    dcb.XoffChar = char(tio.c_cc[VSTOP]);
    return true;
}

CSerialPort::LineFlags CSerialPort::TermiosFlags(const CDeviceControlBlock& dcb)
{
    LineFlags flags;
    flags.cflag = SizeFlag(dcb.ByteSize) | ParityFlags(dcb.Parity) | CREAD | CLOCAL;
    if (dcb.StopBits != CDeviceControlBlock::OneStopBit)
        flags.cflag |= CSTOPB;
    if (dcb.fOutxCtsFlow || dcb.fRtsControl == CDeviceControlBlock::RtsHandshake)
        flags.cflag |= CRTSCTS;
    if (dcb.fParity && dcb.Parity != CDeviceControlBlock::NoParity)
        flags.iflag |= INPCK;
    if (dcb.fOutX)
        flags.iflag |= IXON;
    if (dcb.fInX)
        flags.iflag |= IXOFF;
    flags.xon = std::uint8_t(dcb.XonChar);
    flags.xoff = std::uint8_t(dcb.XoffChar);
    return flags;
}

bool CSerialPort::SetState(const CDeviceControlBlock& dcb, QString* error)
{
    const QString device = QString::fromLocal8Bit(m_strPath);
    termios2 tio{};
    if (m_fd < 0 || ioctl(m_fd, TCGETS2, &tio) != 0) {
        *error = QStringLiteral("Cannot read the line settings of %1: %2").arg(device, SystemError(errno));
        return false;
    }
    if (SizeFlag(dcb.ByteSize) == ~0u) {
        *error = QStringLiteral("%1: %2 data bits are not possible").arg(device).arg(dcb.ByteSize);
        return false;
    }
    if (ParityFlags(dcb.Parity) == ~0u) {
        *error = QStringLiteral("%1: parity code %2 is not possible").arg(device).arg(dcb.Parity);
        return false;
    }
    // Baud 0 would hang the line up.
    if (dcb.BaudRate == 0) {
        *error = QStringLiteral("%1: 0 baud is not a rate").arg(device);
        return false;
    }
    const LineFlags flags = TermiosFlags(dcb);
    MakeRaw(tio);
    const unsigned code = CodeOfRate(dcb.BaudRate);
    tio.c_cflag &= ~tcflag_t(CBAUD | CIBAUD | LineFlagMask);
    tio.c_cflag |= code | flags.cflag;
    tio.c_iflag |= flags.iflag;
    tio.c_ispeed = tio.c_ospeed = dcb.BaudRate;
    tio.c_cc[VSTART] = flags.xon;
    tio.c_cc[VSTOP] = flags.xoff;

    if (ioctl(m_fd, TCSETS2, &tio) != 0) {
        *error = QStringLiteral("%1 refused the line settings (%2 baud): %3").arg(device).arg(dcb.BaudRate).arg(SystemError(errno));
        return false;
    }
    // A driver that cannot do a rate runs at another one in silence.
    termios2 actual{};
    if (ioctl(m_fd, TCGETS2, &actual) != 0) {
        *error = QStringLiteral("Cannot read the line settings of %1: %2").arg(device, SystemError(errno));
        return false;
    }
    const unsigned actualRate = RateOf(actual);
    const bool rateKept = code != BOTHER ? (actual.c_cflag & CBAUD) == code
                                         : actualRate * 100ull >= dcb.BaudRate * 97ull && actualRate * 100ull <= dcb.BaudRate * 103ull;
    if (!rateKept) {
        *error = QStringLiteral("%1 refused %2 baud (it runs at %3)").arg(device).arg(dcb.BaudRate).arg(actualRate);
        return false;
    }
    // Some drivers fix the character format (a pseudo-terminal always has 8
    // data bits and no parity); the line works, so this is only noted.
    if ((actual.c_cflag & LineFlagMask) != (tio.c_cflag & LineFlagMask))
        qCInfo(lcComm) << device << "keeps its own character format: wanted flags" << Qt::oct
                       << (tio.c_cflag & LineFlagMask) << "has" << (actual.c_cflag & LineFlagMask);
    return true;
}

void CSerialPort::SetDtr(bool raised)
{
    int bits = TIOCM_DTR;
    if (m_fd >= 0)
        ioctl(m_fd, raised ? TIOCMBIS : TIOCMBIC, &bits);
}

void CSerialPort::SetRts(bool raised)
{
    int bits = TIOCM_RTS;
    if (m_fd >= 0)
        ioctl(m_fd, raised ? TIOCMBIS : TIOCMBIC, &bits);
}

int CSerialPort::InputCount()
{
    int count = 0;
    if (m_fd < 0 || ioctl(m_fd, FIONREAD, &count) != 0)
        return 0;
    return count;
}

int CSerialPort::OutputCount()
{
    int count = 0;
    if (m_fd < 0 || ioctl(m_fd, TIOCOUTQ, &count) != 0)
        return 0;
    return count;
}

QByteArray CSerialPort::Read(int maxBytes)
{
    QByteArray data;
    while (m_fd >= 0 && data.size() < maxBytes) {
        const qsizetype start = data.size();
        const qsizetype chunk = qMin<qsizetype>(maxBytes - start, ReadChunk);
        data.resize(start + chunk);
        const ssize_t got = ::read(m_fd, data.data() + start, size_t(chunk));
        data.resize(start + qMax<ssize_t>(got, 0));
        if (got < 0 && errno == EINTR)
            continue;
        if (got <= 0)
            break;
    }
    return data;
}

CCommPort::WriteResult CSerialPort::WriteByte(char byte, int timeoutMs)
{
    using Clock = std::chrono::steady_clock;
    const Clock::time_point deadline = Clock::now() + std::chrono::milliseconds(timeoutMs);
    for (;;) {
        if (m_fd < 0)
            return Failed;
        const ssize_t written = ::write(m_fd, &byte, 1);
        if (written == 1)
            return Written;
        if (written < 0 && errno == EINTR)
            continue;
        if (written < 0 && errno != EAGAIN)
            return Failed;
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Clock::now()).count();
        if (left <= 0)
            return TimedOut;
        pollfd fds[2] = {{m_fd, POLLOUT, 0}, {m_wakeFd, POLLIN, 0}};
        if (poll(fds, 2, int(left)) < 0 && errno != EINTR)
            return Failed;
        if (fds[1].revents)
            return Cancelled;
        if (fds[0].revents & (POLLERR | POLLHUP | POLLNVAL))
            return Failed;
    }
}

bool CSerialPort::StartEvents()
{
    if (m_fd < 0)
        return false;
    m_modem = ModemSnapshot();
    m_bWatchLines = ioctl(m_fd, TIOCMGET, &m_modem.lines) == 0;
    serial_icounter_struct counters{};
    m_bWatchCounters = ioctl(m_fd, TIOCGICOUNT, &counters) == 0;
    if (m_bWatchCounters) {
        m_modem.cts = counters.cts;
        m_modem.dsr = counters.dsr;
        m_modem.errors = counters.frame + counters.overrun + counters.parity + counters.brk + counters.buf_overrun;
    }
    return true;
}

std::uint32_t CSerialPort::ModemEvents(WaitResult& result)
{
    std::uint32_t events = 0;
    if (m_bWatchLines) {
        int lines = 0;
        if (ioctl(m_fd, TIOCMGET, &lines) == 0) {
            const int changed = lines ^ m_modem.lines;
            events |= (changed & TIOCM_CTS) ? EventCts : 0;
            events |= (changed & TIOCM_DSR) ? EventDsr : 0;
            m_modem.lines = lines;
        } else if (errno == EIO || errno == ENODEV) {
            result.lineLost = true;
            result.reason = SystemError(errno);
        }
    }
    serial_icounter_struct counters{};
    if (m_bWatchCounters && ioctl(m_fd, TIOCGICOUNT, &counters) == 0) {
        const int errors = counters.frame + counters.overrun + counters.parity + counters.brk + counters.buf_overrun;
        events |= counters.cts != m_modem.cts ? EventCts : 0;
        events |= counters.dsr != m_modem.dsr ? EventDsr : 0;
        events |= errors != m_modem.errors ? EventError : 0;
        m_modem.cts = counters.cts;
        m_modem.dsr = counters.dsr;
        m_modem.errors = errors;
    }
    return events;
}

CCommPort::WaitResult CSerialPort::WaitEvents()
{
    WaitResult result;
    bool backOff = false;
    for (;;) {
        int count = 0;
        if (ioctl(m_fd, FIONREAD, &count) != 0) {
            result.lineLost = true;
            result.reason = SystemError(errno);
        }
        if (count > 0)
            result.events |= EventData;
        result.events |= ModemEvents(result);
        if (result.lineLost)
            result.events |= EventError;
        if (result.events != 0)
            return result;

        const bool timed = m_bWatchLines || m_bWatchCounters || backOff;
        pollfd fds[2] = {{m_fd, short(backOff ? 0 : POLLIN), 0}, {m_wakeFd, POLLIN, 0}};
        const int ready = poll(fds, 2, timed ? (backOff ? SpuriousWakeBackoffMs : WatchIntervalMs) : -1);
        if (ready < 0 && errno != EINTR) {
            result.lineLost = true;
            result.reason = SystemError(errno);
            result.events |= EventError;
            return result;
        }
        if (fds[1].revents)
            return result;
        if (fds[0].revents & (POLLHUP | POLLERR | POLLNVAL)) {
            if (ioctl(m_fd, FIONREAD, &count) == 0 && count > 0)
                result.events |= EventData;
            result.lineLost = true;
            result.reason = QStringLiteral("the device hung up");
            result.events |= EventError;
            return result;
        }
        // POLLIN without a byte to count: do not spin on it.
        backOff = (fds[0].revents & POLLIN) && ioctl(m_fd, FIONREAD, &count) == 0 && count == 0;
    }
}

void CSerialPort::Wake()
{
    if (m_wakeFd < 0)
        return;
    const std::uint64_t one = 1;
    [[maybe_unused]] const ssize_t written = ::write(m_wakeFd, &one, sizeof one);
}
