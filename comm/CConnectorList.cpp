#include "CConnectorList.h"

#include "CD2xx.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <algorithm>

namespace {

// A USB device directory has these attributes; its interfaces do not.
constexpr int MaxLevelsToUsbDevice = 4;

QByteArray ReadAttribute(const QString& path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return QByteArray();
    return file.read(256).trimmed();
}

// "ttyUSB10" -> ("ttyUSB", 10), so ttyUSB2 comes before ttyUSB10.
bool DeviceOrder(const QString& a, const QString& b)
{
    auto split = [](const QString& name) {
        qsizetype digits = name.size();
        while (digits > 0 && name.at(digits - 1).isDigit())
            --digits;
        return std::make_pair(name.left(digits), name.mid(digits).toLongLong());
    };
    return split(a) < split(b);
}

QStringList TtyNames(const QString& sysfsRoot)
{
    QStringList names = QDir(sysfsRoot + QStringLiteral("/class/tty"))
                            .entryList(QDir::Dirs | QDir::NoDotAndDotDot | QDir::System);
    std::sort(names.begin(), names.end(), DeviceOrder);
    return names;
}

// Sysfs writes a '/' of a device name as '!' ("pts!3" is /dev/pts/3).
QByteArray DevicePathOf(const QString& devRoot, const QString& ttyName)
{
    QString name = ttyName;
    name.replace(QLatin1Char('!'), QLatin1Char('/'));
    return (devRoot + QLatin1Char('/') + name).toLocal8Bit();
}

// The serial number of the USB device above a tty's device directory.
QByteArray UsbSerialOf(const QString& ttyDir)
{
    QString dir = QFileInfo(ttyDir + QStringLiteral("/device")).canonicalFilePath();
    for (int level = 0; !dir.isEmpty() && level <= MaxLevelsToUsbDevice; ++level) {
        if (QFileInfo::exists(dir + QStringLiteral("/idVendor")))
            return ReadAttribute(dir + QStringLiteral("/serial"));
        dir = QFileInfo(dir).path();
    }
    return QByteArray();
}

bool IsSerialDeviceName(const QString& name)
{
    for (const char* prefix : {"ttyS", "ttyUSB", "ttyACM"}) {
        const QLatin1String start(prefix);
        if (name.startsWith(start) && name.size() > start.size() &&
            std::all_of(name.begin() + start.size(), name.end(), [](QChar c) { return c.isDigit(); }))
            return true;
    }
    return false;
}

// A tty with a device behind it; an 8250 port slot without a UART reports
// the port type 0 (unknown).
bool IsRealSerialDevice(const QString& ttyDir)
{
    if (!QFileInfo::exists(ttyDir + QStringLiteral("/device")))
        return false;
    const QString typeFile = ttyDir + QStringLiteral("/type");
    return !QFileInfo::exists(typeFile) || ReadAttribute(typeFile) != "0";
}

} // namespace

QString CConnectorList::SysfsRoot()
{
    const QString root = qEnvironmentVariable("ORVALIS_SYSFS_ROOT");
    return root.isEmpty() ? QStringLiteral("/sys") : root;
}

QByteArrayList CConnectorList::ListedConverters(const QByteArrayList& serialNumbers)
{
    QByteArrayList listed;
    for (const QByteArray& serialNumber : serialNumbers) {
        if (serialNumber.contains("VD") && !listed.contains(serialNumber))
            listed.append(serialNumber);
    }
    return listed;
}

QByteArrayList CConnectorList::UsbConverters()
{
    if (const std::optional<QByteArrayList> fromLibrary = CD2xx::ListSerialNumbers())
        return ListedConverters(*fromLibrary);
    QByteArrayList fromKernel;
    for (const UsbTty& tty : KernelUsbTtys(SysfsRoot()))
        fromKernel.append(tty.serialNumber);
    return ListedConverters(fromKernel);
}

QByteArrayList CConnectorList::SerialDevices()
{
    return SerialDevices(SysfsRoot(), QStringLiteral("/dev"));
}

QByteArrayList CConnectorList::SerialDevices(const QString& sysfsRoot, const QString& devRoot)
{
    QByteArrayList devices;
    const QString classDir = sysfsRoot + QStringLiteral("/class/tty/");
    for (const QString& name : TtyNames(sysfsRoot)) {
        if (!IsSerialDeviceName(name) || !IsRealSerialDevice(classDir + name))
            continue;
        const QByteArray path = DevicePathOf(devRoot, name);
        if (QFileInfo::exists(QString::fromLocal8Bit(path)))
            devices.append(path);
    }
    const QDir byId(devRoot + QStringLiteral("/serial/by-id"));
    for (const QString& name : byId.entryList(QDir::Files | QDir::System, QDir::Name))
        devices.append(byId.filePath(name).toLocal8Bit());
    return devices;
}

QList<CConnectorList::UsbTty> CConnectorList::KernelUsbTtys(const QString& sysfsRoot, const QString& devRoot)
{
    QList<UsbTty> ttys;
    const QString classDir = sysfsRoot + QStringLiteral("/class/tty/");
    for (const QString& name : TtyNames(sysfsRoot)) {
        const QByteArray serialNumber = UsbSerialOf(classDir + name);
        if (!serialNumber.isEmpty())
            ttys.append({DevicePathOf(devRoot, name), serialNumber});
    }
    return ttys;
}

QByteArray CConnectorList::FindKernelDevice(const QByteArray& serialNumber)
{
    for (const UsbTty& tty : KernelUsbTtys(SysfsRoot())) {
        if (tty.serialNumber == serialNumber)
            return tty.devicePath;
    }
    return QByteArray();
}
