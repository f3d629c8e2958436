#pragma once

#include "CCommPort.h"
#include "CD2xx.h"

#include <atomic>

// The USB converter back-end: a converter named by its serial number, driven
// through the Win32-compatible functions of the D2XX library, bound for as
// long as the port is open. The converter is opened for blocking calls: the
// library's overlapped-result function is not among the bound names, so a
// pending request could not be completed. The time-outs set at open make a
// read return at once and bound a write to 100 ms; the reader's blocking
// FT_W32_WaitCommEvent is completed by setting the event mask to 0.
class CUsbPort : public CCommPort
{
public:
    explicit CUsbPort(const QByteArray& serialNumber);
    ~CUsbPort() override;

    bool Open(QString* error) override;
    void Close() override;
    void CloseKeepingOutput() override;
    std::intptr_t Handle() const override { return reinterpret_cast<std::intptr_t>(m_handle); }
    bool GetState(CDeviceControlBlock& dcb) override;
    bool SetState(const CDeviceControlBlock& dcb, QString* error) override;
    void SetDtr(bool raised) override;
    void SetRts(bool raised) override;
    int InputCount() override;
    int OutputCount() override;
    QByteArray Read(int maxBytes) override;
    WriteResult WriteByte(char byte, int timeoutMs) override;
    bool StartEvents() override;
    WaitResult WaitEvents() override;
    void Wake() override;

    // The last Open() failed because the library could not be bound (then
    // the kernel's own driver may have the converter).
    bool LibraryUnavailable() const { return m_bLibraryUnavailable; }

    static constexpr CD2xx::DWORD WriteTimeoutMs = 100;

private:
    bool IsOpen() const { return m_handle != CD2xx::InvalidHandle && m_handle != nullptr; }
    void Release();

    QByteArray m_strSerialNumber;
    CD2xx m_d2xx;
    CD2xx::FT_HANDLE m_handle = CD2xx::InvalidHandle;
    bool m_bLibraryUnavailable = false;
    std::atomic<bool> m_bWoken = false;
};
