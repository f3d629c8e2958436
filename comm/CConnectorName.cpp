#include "CConnectorName.h"

namespace {

constexpr int MaxComNumber = 255;

// "COM" followed by digits only, in any case: "COM7", "com12", "COM0".
bool LooksLikeComPort(const QByteArray& text)
{
    if (text.size() < 4 || text.left(3).compare("COM", Qt::CaseInsensitive) != 0)
        return false;
    for (char c : text.mid(3)) {
        if (c < '0' || c > '9')
            return false;
    }
    return true;
}

// 1..255 written without leading zeros; 0 for anything else ("COM0", "COM007").
int ComNumberOf(const QByteArray& text)
{
    const QByteArray digits = text.mid(3);
    if (digits.startsWith('0') || digits.size() > 3)
        return 0;
    const int number = digits.toInt();
    return number <= MaxComNumber ? number : 0;
}

bool IsBareDeviceName(const QByteArray& text)
{
    return !text.contains('/') && text != "." && text != ".." &&
           !text.contains(' ') && !text.contains('\0');
}

} // namespace

CConnectorName CConnectorName::Parse(const QByteArray& text)
{
    CConnectorName name;
    name.m_strText = text;
    if (text.isEmpty() || text.compare("None", Qt::CaseInsensitive) == 0) {
        name.m_kind = None;
        return name;
    }
    if (text.startsWith('/'))
        return FromDevicePath(text);
    if (text.contains("FT") || text.contains("VD")) {
        name.m_kind = UsbConverter;
        return name;
    }
    if (LooksLikeComPort(text)) {
        if (const int number = ComNumberOf(text))
            return FromComNumber(number);
        name.m_kind = Invalid;
        return name;
    }
    if (!IsBareDeviceName(text)) {
        name.m_kind = Invalid;
        return name;
    }
    return FromDevicePath("/dev/" + text);
}

CConnectorName CConnectorName::FromComNumber(int number)
{
    CConnectorName name;
    if (number < 1 || number > MaxComNumber) {
        name.m_kind = Invalid;
        name.m_strText = "COM" + QByteArray::number(number);
        return name;
    }
    name.m_kind = ComPort;
    name.m_nComNumber = number;
    name.m_strText = "COM" + QByteArray::number(number);
    name.m_strDevicePath = "/dev/ttyS" + QByteArray::number(number - 1);
    return name;
}

CConnectorName CConnectorName::FromDevicePath(const QByteArray& path)
{
    CConnectorName name;
    name.m_kind = path.startsWith('/') && path.size() > 1 && !path.contains('\0') ? DevicePath : Invalid;
    name.m_strText = path;
    if (name.m_kind == DevicePath)
        name.m_strDevicePath = path;
    return name;
}

QString CConnectorName::BadNameMessage(const QString& text)
{
    return QStringLiteral("Bad connector \"%1\": expected COMn, a device path, a device name, "
                          "a converter's serial number or None")
        .arg(text);
}

QByteArray CConnectorName::ToString() const
{
    if (m_kind == None)
        return "None";
    return m_strText;
}
