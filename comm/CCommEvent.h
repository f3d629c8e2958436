#pragma once

#include <QEvent>

class CComm;

// A notification of a serial line, posted to the owner of the channel.
// Three kinds, each a QEvent type registered once per process by name:
//   ComMessage         reader thread, one per line event; wParam = the port
//                      handle of the channel, lParam = 4 data received,
//                      1 CTS changed, 2 DSR changed, 3 line error
//   EndOfTransmission  file-sending thread, 0 / 0
//   SendProgress       file-sending thread, bytes sent so far / file length
// The channel pointer is an identity only: compare it, never dereference it
// without knowing the channel is alive (CComm::IsFrom does the comparison).
class CCommEvent : public QEvent
{
public:
    static constexpr const char* ComMessageName = "de.Veldrane.ComMessage";
    static constexpr const char* EndOfTransmissionName = "de.Veldrane.EndOfTransmission";
    static constexpr const char* SendProgressName = "de.Veldrane.SendProgress";

    // lParam values of ComMessage.
    enum LineEvent : qint64 { CtsChanged = 1, DsrChanged = 2, LineError = 3, DataReceived = 4 };

    CCommEvent(QEvent::Type type, qint64 wParam, qint64 lParam, const CComm* channel = nullptr);

    // Registers the three types (safe to call more than once and from any
    // thread); the program calls it once at start-up.
    static void RegisterTypes();
    static QEvent::Type ComMessage();
    static QEvent::Type EndOfTransmission();
    static QEvent::Type SendProgress();
    // The type registered under one of the three names; QEvent::None for
    // any other name.
    static QEvent::Type TypeOf(const char* name);
    // The name of a registered type; nullptr for any other type.
    static const char* NameOf(QEvent::Type type);

    qint64 wParam() const { return m_wParam; }
    qint64 lParam() const { return m_lParam; }
    const CComm* Channel() const { return m_pChannel; }

private:
    qint64 m_wParam;
    qint64 m_lParam;
    const CComm* m_pChannel;
};
