#include "CUsbPort.h"

#include <algorithm>
#include <chrono>
#include <thread>

namespace {

constexpr CD2xx::DWORD MaxDword = 0xFFFFFFFF;
// A library that completes a wait with no event and no error is not spun on.
constexpr auto EmptyWaitBackoff = std::chrono::milliseconds(10);

} // namespace

CUsbPort::CUsbPort(const QByteArray& serialNumber) : m_strSerialNumber(serialNumber)
{
}

CUsbPort::~CUsbPort()
{
    Close();
}

bool CUsbPort::Open(QString* error)
{
    Close();
    m_bLibraryUnavailable = false;
    m_bWoken = false;
    const QString name = QString::fromLocal8Bit(m_strSerialNumber);
    if (!m_d2xx.LoadD2xx()) {
        *error = QStringLiteral("Cannot open USB converter %1: %2").arg(name, m_d2xx.GetLastError());
        m_bLibraryUnavailable = true;
        m_d2xx.FreeD2xx();
        return false;
    }
    // Normal attributes, opened by serial number, for blocking calls.
    m_handle = m_d2xx.FT_W32_CreateFile(m_strSerialNumber.constData(), CD2xx::GENERIC_READ | CD2xx::GENERIC_WRITE, 0,
                                        nullptr, CD2xx::OPEN_EXISTING,
                                        CD2xx::FILE_ATTRIBUTE_NORMAL | CD2xx::FT_OPEN_BY_SERIAL_NUMBER, nullptr);
    if (!IsOpen()) {
        *error = QStringLiteral("Cannot open USB converter %1: not plugged in").arg(name);
        Release();
        return false;
    }
    if (!m_d2xx.FT_W32_SetupComm(m_handle, CDeviceControlBlock::InputQueueSize, CDeviceControlBlock::OutputQueueSize)) {
        *error = QStringLiteral("Cannot open USB converter %1: queue set-up refused").arg(name);
        m_d2xx.FT_W32_CloseHandle(m_handle);
        m_handle = CD2xx::InvalidHandle;
        Release();
        return false;
    }
    m_d2xx.FT_W32_SetCommMask(m_handle, CD2xx::EV_RXCHAR);
    // Reads return at once with what is there; a write gives up after 100 ms.
    CD2xx::FTTIMEOUTS timeouts = {MaxDword, 0, 0, 0, WriteTimeoutMs};
    m_d2xx.FT_W32_SetCommTimeouts(m_handle, &timeouts);
    return true;
}

void CUsbPort::Release()
{
    m_handle = CD2xx::InvalidHandle;
    m_d2xx.FreeD2xx();
}

void CUsbPort::CloseKeepingOutput()
{
    if (!IsOpen())
        return;
    m_d2xx.FT_Close(m_handle);
    Release();
}

int CUsbPort::OutputCount()
{
    CD2xx::DWORD errors = 0;
    CD2xx::FTCOMSTAT status = {};
    if (!IsOpen() || !m_d2xx.FT_W32_ClearCommError(m_handle, &errors, &status))
        return 0;
    return int(std::min<CD2xx::DWORD>(status.cbOutQue, 0x7FFFFFFF));
}

void CUsbPort::Close()
{
    if (!IsOpen())
        return;
    m_d2xx.FT_W32_EscapeCommFunction(m_handle, CD2xx::CLRDTR);
    m_d2xx.FT_W32_PurgeComm(m_handle, CD2xx::PURGE_ALL);
    m_d2xx.FT_Close(m_handle);
    Release();
}

bool CUsbPort::GetState(CDeviceControlBlock& dcb)
{
    return IsOpen() && m_d2xx.FT_W32_GetCommState(m_handle, &dcb);
}

bool CUsbPort::SetState(const CDeviceControlBlock& dcb, QString* error)
{
    CDeviceControlBlock block = dcb;
    if (IsOpen() && m_d2xx.FT_W32_SetCommState(m_handle, &block))
        return true;
    *error = QStringLiteral("USB converter %1 refused the line settings (%2 baud)")
                 .arg(QString::fromLocal8Bit(m_strSerialNumber))
                 .arg(dcb.BaudRate);
    return false;
}

void CUsbPort::SetDtr(bool raised)
{
    if (IsOpen())
        m_d2xx.FT_W32_EscapeCommFunction(m_handle, raised ? CD2xx::SETDTR : CD2xx::CLRDTR);
}

void CUsbPort::SetRts(bool raised)
{
    if (IsOpen())
        m_d2xx.FT_W32_EscapeCommFunction(m_handle, raised ? CD2xx::SETRTS : CD2xx::CLRRTS);
}

int CUsbPort::InputCount()
{
    CD2xx::DWORD errors = 0;
    CD2xx::FTCOMSTAT status = {};
    if (!IsOpen() || !m_d2xx.FT_W32_ClearCommError(m_handle, &errors, &status))
        return 0;
    return int(std::min<CD2xx::DWORD>(status.cbInQue, 0x7FFFFFFF));
}

QByteArray CUsbPort::Read(int maxBytes)
{
    if (!IsOpen() || maxBytes <= 0)
        return QByteArray();
    QByteArray data(maxBytes, '\0');
    CD2xx::DWORD got = 0;
    if (!m_d2xx.FT_W32_ReadFile(m_handle, data.data(), CD2xx::DWORD(maxBytes), &got, nullptr))
        return QByteArray();
    data.truncate(int(std::min<CD2xx::DWORD>(got, CD2xx::DWORD(maxBytes))));
    return data;
}

CCommPort::WriteResult CUsbPort::WriteByte(char byte, int /*timeoutMs: the 100 ms write time-out is shorter*/)
{
    if (m_bWoken)
        return Cancelled;
    if (!IsOpen())
        return Failed;
    CD2xx::DWORD written = 0;
    if (!m_d2xx.FT_W32_WriteFile(m_handle, &byte, 1, &written, nullptr))
        return Failed;
    return written == 1 ? Written : TimedOut;
}

bool CUsbPort::StartEvents()
{
    return IsOpen() && m_d2xx.FT_W32_SetCommMask(m_handle, CD2xx::EV_RXCHAR | CD2xx::EV_CTS | CD2xx::EV_DSR | CD2xx::EV_ERR);
}

CCommPort::WaitResult CUsbPort::WaitEvents()
{
    WaitResult result;
    while (!m_bWoken) {
        CD2xx::ULONG mask = 0;
        const bool completed = m_d2xx.FT_W32_WaitCommEvent(m_handle, &mask, nullptr);
        if (m_bWoken)
            break;
        if (!completed) {
            result.lineLost = true;
            result.events = EventError;
            result.reason = QStringLiteral("the USB converter stopped answering");
            break;
        }
        result.events = mask & AllEvents;
        if (result.events != 0)
            break;
        std::this_thread::sleep_for(EmptyWaitBackoff);
    }
    return result;
}

void CUsbPort::Wake()
{
    m_bWoken = true;
    if (IsOpen())
        m_d2xx.FT_W32_SetCommMask(m_handle, 0);
}
