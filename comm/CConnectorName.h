#pragma once

#include <QByteArray>
#include <QString>

// The connector of a line as the user names it, in driver files, on the
// settings page and on the command line:
//   "None" or ""             no connector, never opens
//   "COM1" .. "COM255"       serial port n, /dev/ttyS(n-1)
//   "/dev/ttyUSB0"           an absolute device path, opened as it stands
//   "ttyUSB0"                a bare device name below /dev
//   anything with FT or VD   the serial number of a USB serial converter
// An absolute path is always a device path, also when it contains FT or VD
// ("/dev/serial/by-id/usb-FTDI_..." names a kernel tty, not a serial number).
class CConnectorName
{
public:
    enum Kind { None, ComPort, DevicePath, UsbConverter, Invalid };

    static CConnectorName Parse(const QByteArray& text);
    static CConnectorName FromComNumber(int number);
    static CConnectorName FromDevicePath(const QByteArray& path);
    // What the settings page and the command line say about an Invalid name.
    static QString BadNameMessage(const QString& text);

    Kind GetKind() const { return m_kind; }
    bool IsUsb() const { return m_kind == UsbConverter; }
    bool CanOpen() const { return m_kind == ComPort || m_kind == DevicePath || m_kind == UsbConverter; }
    int GetComNumber() const { return m_nComNumber; }        // 1..255 for ComPort, else 0
    QByteArray GetDevicePath() const { return m_strDevicePath; } // ComPort and DevicePath
    QByteArray GetSerialNumber() const { return m_kind == UsbConverter ? m_strText : QByteArray(); }

    // The text to store: "None", "COM3", "/dev/ttyUSB0" (a bare name gains
    // its /dev/), the serial number, or an invalid text unchanged.
    QByteArray ToString() const;

private:
    Kind m_kind = None;
    int m_nComNumber = 0;
    QByteArray m_strText;
    QByteArray m_strDevicePath;
};
