#pragma once

#include "CByteOutput.h"
#include "CCommandSender.h"
#include "CTerminalDisplaySettings.h"
#include "CTerminalParameter.h"

#include <QByteArray>
#include <QLoggingCategory>
#include <QString>

#include <atomic>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <thread>

class CCommEvent;
class CCommParameter;
class CCommPort;
class CTerminalDisplayInput;
class QObject;

Q_DECLARE_LOGGING_CATEGORY(lcComm)

// One serial line: opens a connector by name (see CConnectorName) over the
// serial-port back-end (termios) or the USB converter back-end (D2XX, or the
// kernel's tty of the converter when the library is not installed), puts the
// line settings in force, and runs a reader thread that tells the owner about
// every line event with a posted CCommEvent::ComMessage.
//
// The owner's side, on the owner's thread, for every ComMessage:
//   if (!channel.IsFrom(event)) -> not this channel's (another channel, or a
//                                  late one of a line closed since): ignore
//   if (event.lParam() & 4)     -> GetCommEvent() is 2: read with GetInput()
//   channel.Acknowledge()       -> always, also when nothing was read
// The channel posts nothing more until then: notifications never overtake
// each other. Each event reports one of data (lParam 4, last event 2), CTS
// (1, 3), DSR (2, 4) and line error (3, 1005), in that order for events seen
// together.
//
// The reader reads the line itself, into a buffer of at most
// InputBufferLimit bytes, also while a notification waits for the owner;
// GetInput() and GetInBufferCount() hand over from that buffer and never
// call the system, so a busy kernel cannot hold up the owner's thread.
// While the buffer is full the reader leaves the bytes to the kernel (and
// to flow control) and waits until the owner takes some.
//
// A vanished device (a converter pulled out, the other end of a
// pseudo-terminal closed) is reported once as a line error, after the
// bytes read before it were reported; IsLineLost() is true from then on
// until the next open, and when the owner acknowledges that notification
// the channel closes itself (IsPortOpen() false, the reason in
// GetLastError()).
//
// Threads: everything runs on the owner's thread except SetOutput(), which
// another thread (a file transfer) may call at the same time. Closing never
// waits for the owner. The owner must outlive the open line (a channel that
// is a member of its owner closes in its destructor, before the owner is
// gone).
class CComm : public CByteOutput
{
public:
    // GetCommEvent() codes.
    static constexpr quint16 EventNone = 0;
    static constexpr quint16 EventData = 2;
    static constexpr quint16 EventCts = 3;
    static constexpr quint16 EventDsr = 4;
    static constexpr quint16 EventLineError = 1005;

    // At most this much is read by one GetInput(), the size of the input
    // queue; the length of a block so always fits a signed 16-bit count.
    static constexpr int InputQueueSize = 31744;
    // The reader's buffer: twice the input queue, so its count still fits
    // GetInBufferCount().
    static constexpr int InputBufferLimit = 2 * InputQueueSize;
    static constexpr int DefaultWriteTimeoutMs = 1000;

    enum Backend { SerialPortBackend, D2xxBackend };

    CComm();
    ~CComm() override;
    CComm(const CComm&) = delete;
    CComm& operator=(const CComm&) = delete;

    // Makes owner the receiver of this channel's notifications. Nonzero.
    int Create(QObject* owner);
    QObject* GetOwner() const { return m_pOwner; }

    // Closes the line if open, opens the connector of the record, puts its
    // line settings in force, starts the reader and raises DTR. Nonzero on
    // success. 0 with the channel closed when the connector cannot be opened;
    // 0 with the port open and no reader when the device refuses the
    // settings. GetLastError() tells why.
    int OpenPort(const CCommParameter& parameters, bool unused = false);
    // OpenPort, then sets the display (when one is attached) to the
    // terminal record's settings and keeps the record for OnChar(). 1.
    int OpenTerminal(const CCommParameter& parameters, const CTerminalParameter& terminal);
    // TRUE opens the port of the connector last given to OpenPort, without
    // settings or reader; FALSE closes the channel.
    void SetPortOpen(bool open);
    bool IsPortOpen() const { return m_pPort != nullptr; }
    bool IsReaderRunning() const { return m_reader.joinable(); }
    bool IsLineLost() const { return m_bLineLost; }
    Backend GetBackend() const { return m_backend; }
    // The modem lines DTR and RTS. A flow control that drives a line keeps
    // it (Rts/Cts: RTS, Dtr/Dsr: DTR); the others are the user's, raised
    // when the line opens. SetModemLine switches a free line of an open
    // port: false when closed or not free.
    enum ModemLine { LineDtr, LineRts };
    bool IsModemLineFree(ModemLine line) const;
    bool SetModemLine(ModemLine line, bool raised);
    bool IsModemLineRaised(ModemLine line) const { return line == LineDtr ? m_bDtrRaised : m_bRtsRaised; }

    // Why the last open failed or the line was lost, for the owner to show:
    // "Cannot open /dev/ttyUSB0: Permission denied (is the user in the
    // dialout group?)". Empty after a successful open.
    QString GetLastError() const;

    // wParam of this channel's notifications while the line is open; a
    // number never used by another line of this process, -1 when closed.
    qint64 GetPortHandle() const { return m_nPortHandle; }
    // The notification belongs to this channel and to the line open now.
    bool IsFrom(const CCommEvent& event) const;
    // Lets the next notification come; on the owner's thread.
    void Acknowledge();
    void SetAcknowledge() { Acknowledge(); }

    // The last line event: 0 at reader start, then 2, 3, 4 or 1005.
    quint16 GetCommEvent() const { return m_nLastEvent; }
    // Bytes waiting to be read (at most 65535); 0 when closed.
    quint16 GetInBufferCount();
    // Every byte waiting (at most InputQueueSize), NUL bytes included; ""
    // when closed.
    QByteArray GetInput();
    // Writes the bytes in order, one write per byte, each given at most
    // GetWriteTimeout() ms to find room on the line; a byte that does not is
    // dropped. Nothing when closed. Safe to call from a second thread.
    void SetOutput(const QByteArray& text) override;
    // The same for the file transfer: once stop is set, the first byte that
    // finds no room within StopSliceMs ends the write, so a stalled line
    // cannot hold a stopped transfer.
    void SetOutputUntil(const QByteArray& text, const std::atomic<bool>& stop) override;
    static constexpr int StopSliceMs = 100;
    // A typed character: carriage return gains a line feed when the terminal
    // record says so; shown on the display too with local echo. While a file
    // is sent it waits in the sender's queue instead.
    void OnChar(char character);

    // Command texts with the "^$F", "^$S" and "^$E" macros, file transfers
    // and the owner's handlers of the SendProgress and EndOfTransmission
    // notifications; the channel's CCommandSender does the work.
    int SendCommand(const QByteArray& text) { return m_sender.SendCommand(text); }
    int SendFile(const QString& path) { return m_sender.SendFile(path); }
    void OnSendProgress(qint64 sent, qint64 total) { m_sender.OnSendProgress(sent, total); }
    int OnEndOfTransmission() { return m_sender.OnEndOfTransmission(); }
    CCommandSender& Sender() { return m_sender; }
    const CCommandSender& Sender() const { return m_sender; }

    // Waits until the line has sent every byte written (at most timeoutMs);
    // false when bytes are left. True when closed.
    bool WaitUntilSent(int timeoutMs);
    // Closes like SetPortOpen(false) but leaves the bytes still on their
    // way out to the system, for a program that ends after sending.
    void CloseKeepingOutput();

    // The owner's terminal record (transmit CR -> CR/LF, local echo).
    void SetTerminalParameter(const CTerminalParameter& terminal) { m_terminal = terminal; }
    const CTerminalParameter& GetTerminalParameter() const { return m_terminal; }
    // The terminal screen, or nullptr; not owned.
    void SetDisplay(CTerminalDisplayInput* display) { m_pDisplay = display; }
    CTerminalDisplayInput* GetDisplay() const { return m_pDisplay; }
    // What OpenTerminal gave the display last (for a display attached later).
    const CTerminalDisplaySettings& GetDisplaySettings() const { return m_displaySettings; }

    QByteArray GetConnectorName() const { return m_strConnector; }
    int GetConnectorNumber() const { return m_nConnector; }

    void SetWriteTimeout(int milliseconds) { m_nWriteTimeoutMs = milliseconds; }
    int GetWriteTimeout() const { return m_nWriteTimeoutMs; }

private:
    bool OpenHandle();
    std::unique_ptr<CCommPort> OpenUsbConverter(const QByteArray& serialNumber, Backend* backend, QString* error);
    void ClosePort(bool keepOutput = false);
    bool StartReader();
    void StopReader();
    void ReaderMain();
    bool TakeFromLine();
    void WaitForRoom();
    void PostNextLocked();
    void SetLastError(const QString& text);
    void SendTyped(const QByteArray& text);
    void Write(const QByteArray& text, const std::atomic<bool>* stop);

    QObject* m_pOwner = nullptr;
    QByteArray m_strConnector;
    int m_nConnector = 1;
    int m_nFlowControl = 0;
    bool m_bDtrRaised = false;
    bool m_bRtsRaised = false;
    QByteArray m_strInput;
    CTerminalParameter m_terminal;
    CTerminalDisplayInput* m_pDisplay = nullptr;
    CTerminalDisplaySettings m_displaySettings;
    std::atomic<int> m_nWriteTimeoutMs = DefaultWriteTimeoutMs;

    // Replaced only on the owner's thread, under m_writeMutex, so the write
    // path of another thread never sees it half gone.
    std::unique_ptr<CCommPort> m_pPort;
    Backend m_backend = SerialPortBackend;
    qint64 m_nPortHandle = -1;
    std::mutex m_writeMutex;

    // Reader: stop flag, the acknowledge handshake and the end of the thread.
    std::thread m_reader;
    std::atomic<bool> m_bStopping = false;
    std::atomic<bool> m_bLineLost = false;
    std::atomic<quint16> m_nLastEvent = EventNone;
    mutable std::mutex m_stateMutex;
    std::condition_variable m_stateChanged;
    bool m_bAcknowledged = true;
    bool m_bLossPosted = false;     // the notification waiting is the loss
    bool m_bReaderDone = true;
    QString m_strLastError;
    // What the reader has read and not yet handed over, and what it still
    // has to report (under m_stateMutex).
    bool m_bBuffered = false;       // a reader fills m_input on this open
    QByteArray m_input;
    bool m_bInputNews = false;      // bytes came or went since the last report
    std::uint32_t m_nPendingEvents = 0;
    bool m_bLossPending = false;
    qint64 m_nReaderHandle = -1;

    // Last: its transfer thread writes through this channel, so it must end
    // before anything else of the channel goes.
    CCommandSender m_sender{*this};
};
