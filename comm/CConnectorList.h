#pragma once

#include <QByteArray>
#include <QByteArrayList>
#include <QList>
#include <QString>

// Where the connectors of this machine are found, for the settings page, the
// command line and the channel's kernel fallback for USB converters.
// ORVALIS_SYSFS_ROOT replaces /sys (tests build a fake tree).
class CConnectorList
{
public:
    // Serial numbers of the USB serial converters plugged in that contain
    // "VD", in device order: from the D2XX library when it is installed,
    // else from the kernel's USB serial ttys.
    static QByteArrayList UsbConverters();
    // Device paths of the serial devices present: /dev/ttyS*, /dev/ttyUSB*,
    // /dev/ttyACM* whose node exists and which the kernel knows as real
    // hardware (a ttyS without a UART behind it is left out), then the
    // stable names of /dev/serial/by-id, which survive replugging.
    static QByteArrayList SerialDevices();

    struct UsbTty
    {
        QByteArray devicePath;      // "/dev/ttyUSB0"
        QByteArray serialNumber;    // "VD000017"
    };
    // The kernel's ttys that belong to a USB device with a serial number, in
    // device order (ttyACM0, ttyUSB2, ttyUSB10).
    static QList<UsbTty> KernelUsbTtys(const QString& sysfsRoot, const QString& devRoot = QStringLiteral("/dev"));
    // The device path of the kernel tty of the converter with this serial
    // number; empty when none is plugged in.
    static QByteArray FindKernelDevice(const QByteArray& serialNumber);

    static QByteArrayList SerialDevices(const QString& sysfsRoot, const QString& devRoot);
    // The "VD" rule of the listing, kept apart so both sources share it.
    static QByteArrayList ListedConverters(const QByteArrayList& serialNumbers);

    static QString SysfsRoot();
};
