#pragma once

#include "CCommPort.h"

struct serial_icounter_struct;

// The serial-port back-end: a tty device node driven with termios and ioctl.
// Opened read/write, non-blocking, not as controlling terminal, exclusively
// (TIOCEXCL, and an flock so a second opener is refused also for root).
// Events: poll() for data and hang-up, the modem lines (TIOCMGET) and the
// error counters (TIOCGICOUNT) where the driver has them; a pseudo-terminal
// has neither, and then the reader sleeps in poll() until data or Wake().
// The channel's reader does all reading while it runs.
class CSerialPort : public CCommPort
{
public:
    explicit CSerialPort(const QByteArray& devicePath);
    ~CSerialPort() override;

    bool Open(QString* error) override;
    void Close() override;
    void CloseKeepingOutput() override;
    std::intptr_t Handle() const override { return m_fd; }
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

    // The termios bits a block stands for, besides the speed: c_cflag
    // (CSIZE, PARENB, PARODD, CMSPAR, CSTOPB, CRTSCTS, CREAD, CLOCAL),
    // c_iflag (INPCK, IXON, IXOFF) and the XON/XOFF characters.
    struct LineFlags
    {
        unsigned cflag = 0;
        unsigned iflag = 0;
        std::uint8_t xon = 0;
        std::uint8_t xoff = 0;
    };
    static LineFlags TermiosFlags(const CDeviceControlBlock& dcb);

private:
    struct ModemSnapshot
    {
        int lines = 0;
        int cts = 0, dsr = 0, errors = 0;   // counters
    };

    std::uint32_t ModemEvents(WaitResult& result);

    QByteArray m_strPath;
    int m_fd = -1;
    int m_wakeFd = -1;
    bool m_bWatchLines = false;
    bool m_bWatchCounters = false;
    ModemSnapshot m_modem;
};
