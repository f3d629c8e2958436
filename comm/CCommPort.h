#pragma once

#include "CDeviceControlBlock.h"

#include <QByteArray>
#include <QString>

#include <cstdint>

// One open device behind a channel: the serial-port back-end (CSerialPort,
// termios on a device node) or the USB converter back-end (CUsbPort, the
// D2XX library). The channel owns it; while a reader runs it calls only
// WaitEvents() and Read(), any thread may call Wake(), the write path is
// serialised by the channel, everything else runs on the owner's thread.
class CCommPort
{
public:
    // Event bits of WaitEvents(), those of the Win32-compatible event mask.
    static constexpr std::uint32_t EventData = 0x01;
    static constexpr std::uint32_t EventCts = 0x08;
    static constexpr std::uint32_t EventDsr = 0x10;
    static constexpr std::uint32_t EventError = 0x80;
    static constexpr std::uint32_t AllEvents = EventData | EventCts | EventDsr | EventError;

    struct WaitResult
    {
        std::uint32_t events = 0;   // EventData .. EventError
        bool lineLost = false;      // the device is gone; EventError is set too
        QString reason;             // why, for the channel's error text
    };

    enum WriteResult { Written, TimedOut, Failed, Cancelled };

    virtual ~CCommPort() = default;

    // Opens the device; false with the reason in *error.
    virtual bool Open(QString* error) = 0;
    // Drops DTR, flushes both directions and closes the handle. Idempotent.
    virtual void Close() = 0;
    // Closes without throwing away the bytes still on their way out (a
    // program that ends after sending). Idempotent.
    virtual void CloseKeepingOutput() = 0;
    // The handle the notifications carry in wParam.
    virtual std::intptr_t Handle() const = 0;

    virtual bool GetState(CDeviceControlBlock& dcb) = 0;
    // False with the reason in *error when the device refuses a setting.
    virtual bool SetState(const CDeviceControlBlock& dcb, QString* error) = 0;
    virtual void SetDtr(bool raised) = 0;
    virtual void SetRts(bool raised) = 0;

    // Bytes waiting in the input queue.
    virtual int InputCount() = 0;
    // Bytes written but not yet sent on the line.
    virtual int OutputCount() = 0;
    // Everything waiting, at most maxBytes, without blocking.
    virtual QByteArray Read(int maxBytes) = 0;
    // One byte, waiting at most timeoutMs for room; Cancelled once Wake()
    // was called.
    virtual WriteResult WriteByte(char byte, int timeoutMs) = 0;

    // Arms event watching; called before the reader thread starts.
    virtual bool StartEvents() = 0;
    // Blocks until at least one event, the loss of the device or Wake().
    // Bytes waiting to be read are an event (EventData).
    virtual WaitResult WaitEvents() = 0;
    // Makes WaitEvents() and WriteByte() return at once, now and from now on.
    virtual void Wake() = 0;
};
