#include "CComm.h"

#include "CCommEvent.h"
#include "CCommParameter.h"
#include "CConnectorList.h"
#include "CConnectorName.h"
#include "CSerialPort.h"
#include "CTerminalDisplayInput.h"
#include "CUsbPort.h"

#include <QCoreApplication>
#include <QObject>

#include <pthread.h>
#include <sys/resource.h>
#include <unistd.h>

#include <chrono>
#include <cstring>
#include <system_error>

Q_LOGGING_CATEGORY(lcComm, "orvalis.comm")

namespace {

// Flow control codes of the line record that drive a modem line.
constexpr int FlowRtsCts = 2;
constexpr int FlowDtrDsr = 3;

// Handles of open lines: never reused, so a late notification of a closed
// line can never be taken for one of a line opened since.
std::atomic<qint64> g_nNextPortHandle = 1;

// How often a close repeats its wake-up while the reader has not ended.
constexpr auto RewakeInterval = std::chrono::milliseconds(20);
constexpr auto SlowReaderWarning = std::chrono::seconds(2);

// The reader should not fall behind the line on a busy machine; raising the
// priority needs a privilege, and without it the reader runs as it is.
void RaiseReaderPriority()
{
    pthread_setname_np(pthread_self(), "orvalis-comm");
    if (setpriority(PRIO_PROCESS, id_t(gettid()), -10) != 0)
        qCDebug(lcComm) << "reader keeps its normal priority:" << strerror(errno);
}

// One byte given timeoutMs to find room; with a stop flag the time is
// given in slices of CComm::StopSliceMs, and a byte still without room when
// the flag is set times out after its slice.
CCommPort::WriteResult WriteWithin(CCommPort& port, char byte, int timeoutMs, const std::atomic<bool>* stop)
{
    for (int left = timeoutMs;;) {
        const int slice = stop ? qMin(left, CComm::StopSliceMs) : left;
        const CCommPort::WriteResult result = port.WriteByte(byte, slice);
        left -= slice;
        if (result != CCommPort::TimedOut || left <= 0 || (stop && *stop))
            return result;
    }
}

struct LineEventEntry
{
    std::uint32_t portEvent;
    quint16 commEvent;
    qint64 lParam;
};

// The order in which events seen together are reported.
constexpr LineEventEntry LineEvents[] = {
    {CCommPort::EventData, CComm::EventData, CCommEvent::DataReceived},
    {CCommPort::EventCts, CComm::EventCts, CCommEvent::CtsChanged},
    {CCommPort::EventDsr, CComm::EventDsr, CCommEvent::DsrChanged},
    {CCommPort::EventError, CComm::EventLineError, CCommEvent::LineError},
};

} // namespace

CComm::CComm() = default;

CComm::~CComm()
{
    m_sender.StopTransmission();
    ClosePort();
}

int CComm::Create(QObject* owner)
{
    CCommEvent::RegisterTypes();
    m_pOwner = owner;
    // Called on the transfer thread: the owner hears of it on its own.
    m_sender.SetTransferNotifications(
        [this](qint64 sent, qint64 total) {
            QCoreApplication::postEvent(m_pOwner, new CCommEvent(CCommEvent::SendProgress(), sent, total, this));
        },
        [this] { QCoreApplication::postEvent(m_pOwner, new CCommEvent(CCommEvent::EndOfTransmission(), 0, 0, this)); });
    return 1;
}

QString CComm::GetLastError() const
{
    std::lock_guard lock(m_stateMutex);
    return m_strLastError;
}

void CComm::SetLastError(const QString& text)
{
    std::lock_guard lock(m_stateMutex);
    m_strLastError = text;
}

bool CComm::IsFrom(const CCommEvent& event) const
{
    return event.Channel() == this && m_nPortHandle != -1 && event.wParam() == m_nPortHandle;
}

int CComm::OpenPort(const CCommParameter& parameters, bool /*unused*/)
{
    // Closed first: the reader of the line open now still reads the name.
    ClosePort();
    m_strConnector = parameters.GetConnector();
    m_nConnector = parameters.m_nConnector;
    if (!OpenHandle())
        return 0;

    CDeviceControlBlock dcb;
    if (!m_pPort->GetState(dcb)) {
        SetLastError(QStringLiteral("Cannot read the line settings of %1").arg(QString::fromLocal8Bit(m_strConnector)));
        return 0;
    }
    dcb.ApplyLineSettings(parameters);
    QString error;
    if (!m_pPort->SetState(dcb, &error)) {
        SetLastError(error);
        return 0;
    }
    if (!StartReader()) {
        ClosePort();
        return 0;
    }
    m_nFlowControl = parameters.m_nFlowControl;
    m_pPort->SetDtr(true);
    m_bDtrRaised = true;
    if (IsModemLineFree(LineRts)) {
        m_pPort->SetRts(true);
        m_bRtsRaised = true;
    }
    return 1;
}

bool CComm::IsModemLineFree(ModemLine line) const
{
    return line == LineDtr ? m_nFlowControl != FlowDtrDsr : m_nFlowControl != FlowRtsCts;
}

bool CComm::SetModemLine(ModemLine line, bool raised)
{
    if (!m_pPort || !IsModemLineFree(line))
        return false;
    if (line == LineDtr) {
        m_pPort->SetDtr(raised);
        m_bDtrRaised = raised;
    } else {
        m_pPort->SetRts(raised);
        m_bRtsRaised = raised;
    }
    return true;
}

int CComm::OpenTerminal(const CCommParameter& parameters, const CTerminalParameter& terminal)
{
    OpenPort(parameters);
    m_terminal = terminal;
    m_displaySettings = CTerminalDisplaySettings::FromTerminalParameter(terminal);
    if (m_pDisplay != nullptr)
        m_pDisplay->ApplySettings(m_displaySettings);
    return 1;
}

void CComm::SetPortOpen(bool open)
{
    if (!open) {
        ClosePort();
        return;
    }
    if (!IsPortOpen())
        OpenHandle();
}

bool CComm::OpenHandle()
{
    const CConnectorName name = CConnectorName::Parse(m_strConnector);
    const QString text = QString::fromLocal8Bit(m_strConnector);
    QString error;
    std::unique_ptr<CCommPort> port;
    Backend backend = SerialPortBackend;
    if (name.GetKind() == CConnectorName::None) {
        error = QStringLiteral("No connector chosen");
    } else if (!name.CanOpen()) {
        error = QStringLiteral("Unknown connector \"%1\"").arg(text);
    } else if (name.IsUsb()) {
        port = OpenUsbConverter(name.GetSerialNumber(), &backend, &error);
    } else {
        port = std::make_unique<CSerialPort>(name.GetDevicePath());
        if (!port->Open(&error))
            port.reset();
    }
    if (port == nullptr) {
        qCDebug(lcComm) << error;
        SetLastError(error);
        return false;
    }
    std::lock_guard lock(m_writeMutex);
    m_pPort = std::move(port);
    m_backend = backend;
    m_nPortHandle = g_nNextPortHandle.fetch_add(1);
    m_bStopping = false;
    m_bLineLost = false;
    {
        std::lock_guard state(m_stateMutex);
        m_bAcknowledged = true;
        m_bLossPosted = false;
        m_strLastError.clear();
    }
    qCDebug(lcComm) << "opened" << text << "as line" << m_nPortHandle;
    return true;
}

// The library when it is installed; otherwise the kernel's own driver of the
// converter, found by its serial number.
std::unique_ptr<CCommPort> CComm::OpenUsbConverter(const QByteArray& serialNumber, Backend* backend, QString* error)
{
    auto usb = std::make_unique<CUsbPort>(serialNumber);
    *backend = D2xxBackend;
    if (usb->Open(error))
        return usb;
    *backend = SerialPortBackend;
    if (!usb->LibraryUnavailable())
        return nullptr;
    const QByteArray device = CConnectorList::FindKernelDevice(serialNumber);
    if (device.isEmpty()) {
        *error = QStringLiteral("Cannot open USB converter %1: not plugged in (no D2XX library, and no USB serial "
                                "device with that serial number)")
                     .arg(QString::fromLocal8Bit(serialNumber));
        return nullptr;
    }
    auto serial = std::make_unique<CSerialPort>(device);
    if (!serial->Open(error))
        return nullptr;
    return serial;
}

void CComm::ClosePort(bool keepOutput)
{
    if (m_pPort == nullptr)
        return;
    StopReader();
    std::lock_guard lock(m_writeMutex);
    if (keepOutput)
        m_pPort->CloseKeepingOutput();
    else
        m_pPort->Close();
    m_pPort.reset();
    {
        std::lock_guard state(m_stateMutex);
        m_bBuffered = false;
        m_input = QByteArray();
        m_bInputNews = m_bLossPending = false;
        m_nPendingEvents = 0;
    }
    m_bDtrRaised = m_bRtsRaised = false;
    qCDebug(lcComm) << "closed line" << m_nPortHandle;
    m_nPortHandle = -1;
}

bool CComm::StartReader()
{
    if (!m_pPort->StartEvents()) {
        SetLastError(QStringLiteral("Cannot watch %1 for events").arg(QString::fromLocal8Bit(m_strConnector)));
        return false;
    }
    m_nLastEvent = EventNone;
    {
        std::lock_guard lock(m_stateMutex);
        m_bReaderDone = false;
        m_bBuffered = true;
        m_input.reserve(InputBufferLimit);
        m_nReaderHandle = m_nPortHandle;
    }
    try {
        m_reader = std::thread(&CComm::ReaderMain, this);
    } catch (const std::system_error& failure) {
        std::lock_guard lock(m_stateMutex);
        m_bReaderDone = true;
        m_bBuffered = false;
        m_strLastError = QStringLiteral("Cannot start the reader of %1: %2")
                             .arg(QString::fromLocal8Bit(m_strConnector), QString::fromLocal8Bit(failure.what()));
        return false;
    }
    return true;
}

// Wakes the reader from its wait for the line and waits until it has ended,
// waking it again meanwhile in case the wake-up came before it started to
// wait.
void CComm::StopReader()
{
    {
        // Under the lock: nothing is posted from here on.
        std::lock_guard lock(m_stateMutex);
        m_bStopping = true;
    }
    m_stateChanged.notify_all();
    m_pPort->Wake();
    if (!m_reader.joinable())
        return;
    const auto start = std::chrono::steady_clock::now();
    bool warned = false;
    std::unique_lock lock(m_stateMutex);
    while (!m_stateChanged.wait_for(lock, RewakeInterval, [this] { return m_bReaderDone; })) {
        lock.unlock();
        m_pPort->Wake();
        if (!warned && std::chrono::steady_clock::now() - start > SlowReaderWarning) {
            qCWarning(lcComm) << "the reader of" << m_strConnector << "does not end";
            warned = true;
        }
        lock.lock();
    }
    lock.unlock();
    m_reader.join();
}

void CComm::ReaderMain()
{
    RaiseReaderPriority();
    while (!m_bStopping) {
        if (!TakeFromLine()) {
            WaitForRoom();
            continue;
        }
        const CCommPort::WaitResult result = m_pPort->WaitEvents();
        if (m_bStopping)
            break;
        if (result.lineLost) {
            // What the device gave before it went still reaches the owner.
            TakeFromLine();
            qCDebug(lcComm) << "line" << m_strConnector << "lost:" << result.reason;
            SetLastError(QStringLiteral("Connection to %1 lost: %2").arg(QString::fromLocal8Bit(m_strConnector), result.reason));
        }
        std::lock_guard lock(m_stateMutex);
        m_nPendingEvents |= result.events & ~CCommPort::EventData;
        m_bLossPending = m_bLossPending || result.lineLost;
        PostNextLocked();
        if (result.lineLost)
            break;
    }
    std::lock_guard lock(m_stateMutex);
    m_bReaderDone = true;
    m_stateChanged.notify_all();
}

// Reads what the line has, as much as the buffer takes; false when the
// buffer is full. The read runs outside the lock: the owner never waits
// for the system.
bool CComm::TakeFromLine()
{
    qsizetype room = 0;
    {
        std::lock_guard lock(m_stateMutex);
        room = InputBufferLimit - m_input.size();
    }
    if (room <= 0)
        return false;
    const QByteArray bytes = m_pPort->Read(int(room));
    std::lock_guard lock(m_stateMutex);
    if (!bytes.isEmpty()) {
        m_input += bytes;
        m_bInputNews = true;
        PostNextLocked();
    }
    return m_input.size() < InputBufferLimit;
}

// Until the owner has taken bytes from the full buffer, or the line closes.
// Line events wait meanwhile; they come after the bytes anyway.
void CComm::WaitForRoom()
{
    std::unique_lock lock(m_stateMutex);
    m_stateChanged.wait(lock, [this] { return m_bStopping || m_input.size() < InputBufferLimit; });
}

// Posts the first of what is pending, in the order data, CTS, DSR, line
// error, unless a notification still waits for the owner. Data is pending
// when bytes came, or the owner took some and left others, since the last
// report: an owner that leaves bytes unread is not flooded. The loss comes
// last, once every byte read before it was reported.
void CComm::PostNextLocked()
{
    if (!m_bAcknowledged || !m_bBuffered || m_bStopping)
        return;
    for (const LineEventEntry& entry : LineEvents) {
        const bool data = entry.portEvent == CCommPort::EventData;
        const bool loss = entry.portEvent == CCommPort::EventError && m_bLossPending;
        if (data ? !(m_bInputNews && !m_input.isEmpty()) : !(loss || (m_nPendingEvents & entry.portEvent)))
            continue;
        if (data)
            m_bInputNews = false;
        m_nPendingEvents &= ~entry.portEvent;
        if (loss) {
            m_bLossPending = false;
            m_bLineLost = true;
        }
        m_nLastEvent = entry.commEvent;
        if (m_pOwner == nullptr)
            continue;
        m_bAcknowledged = false;
        m_bLossPosted = loss;
        QCoreApplication::postEvent(m_pOwner, new CCommEvent(CCommEvent::ComMessage(), m_nReaderHandle, entry.lParam, this));
        return;
    }
}

void CComm::Acknowledge()
{
    bool closeNow = false;
    {
        std::lock_guard lock(m_stateMutex);
        m_bAcknowledged = true;
        closeNow = m_bLossPosted;
        m_bLossPosted = false;
        if (!closeNow)
            PostNextLocked();
    }
    // The owner has seen the loss: the line is closed from here on.
    if (closeNow)
        ClosePort();
}

quint16 CComm::GetInBufferCount()
{
    if (m_pPort == nullptr)
        return 0;
    std::lock_guard lock(m_stateMutex);
    return quint16(qMin<qsizetype>(m_bBuffered ? m_input.size() : m_pPort->InputCount(), 0xFFFF));
}

QByteArray CComm::GetInput()
{
    if (m_pPort == nullptr)
        return QByteArray();
    std::lock_guard lock(m_stateMutex);
    if (!m_bBuffered) {
        m_strInput = m_pPort->Read(InputQueueSize);
        return m_strInput;
    }
    m_strInput = m_input.first(qMin<qsizetype>(m_input.size(), InputQueueSize));
    m_input.remove(0, m_strInput.size());
    m_bInputNews = m_bInputNews || !m_strInput.isEmpty();
    PostNextLocked();
    // A reader waiting for room goes on (no system call without a waiter).
    if (!m_strInput.isEmpty())
        m_stateChanged.notify_all();
    return m_strInput;
}

void CComm::SetOutput(const QByteArray& text)
{
    Write(text, nullptr);
}

void CComm::SetOutputUntil(const QByteArray& text, const std::atomic<bool>& stop)
{
    Write(text, &stop);
}

void CComm::Write(const QByteArray& text, const std::atomic<bool>* stop)
{
    std::lock_guard lock(m_writeMutex);
    for (const char byte : text) {
        if (m_pPort == nullptr || m_bStopping)
            return;
        const CCommPort::WriteResult result = WriteWithin(*m_pPort, byte, m_nWriteTimeoutMs, stop);
        if (result == CCommPort::Failed || result == CCommPort::Cancelled)
            return;
        // A stopped transfer still sends its block while the line takes the
        // bytes; a line that takes none does not hold it.
        if (result == CCommPort::TimedOut && stop && *stop)
            return;
        if (result == CCommPort::TimedOut)
            qCDebug(lcComm) << "byte dropped on" << m_strConnector << ": no room within" << m_nWriteTimeoutMs << "ms";
    }
}

void CComm::OnChar(char character)
{
    if (m_pPort == nullptr)
        return;
    QByteArray text(1, character);
    if (character == '\r' && m_terminal.m_bSendCRLF)
        text += '\n';
    SendTyped(text);
    if (m_terminal.m_bLocalEcho && m_pDisplay != nullptr)
        m_pDisplay->DisplayInput(text);
}

// The one place typed text goes out; a file transfer holds it back here.
void CComm::SendTyped(const QByteArray& text)
{
    if (m_sender.IsSending()) {
        m_sender.SendTyped(text);
        return;
    }
    SetOutput(text);
}

bool CComm::WaitUntilSent(int timeoutMs)
{
    using Clock = std::chrono::steady_clock;
    const Clock::time_point deadline = Clock::now() + std::chrono::milliseconds(timeoutMs);
    for (;;) {
        {
            std::lock_guard lock(m_writeMutex);
            if (m_pPort == nullptr || m_pPort->OutputCount() == 0)
                return true;
        }
        if (Clock::now() >= deadline)
            return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
}

void CComm::CloseKeepingOutput()
{
    ClosePort(true);
}
