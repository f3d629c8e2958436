#include "CSerialNumberRecord.h"

namespace {

int DigitValue(char c)
{
    if (c >= '0' && c <= '9')
        return c - '0';
    if (c >= 'a' && c <= 'z')
        return c - 'a' + 10;
    if (c >= 'A' && c <= 'Z')
        return c - 'A' + 10;
    return 99;
}

bool IsBlank(char c)
{
    return c == ' ' || (c >= '\t' && c <= '\r');
}

QByteArray Hex(quint32 value, int digits)
{
    return QByteArray::number(value, 16).toUpper().rightJustified(digits, '0');
}

// Value of a hex pair as the record's checksum reads it back: a character
// above '9' counts as its code - 7 - '0' (right for '0'..'9' and 'A'..'F').
int PairValue(char high, char low)
{
    const auto nibble = [](char c) { return c > '9' ? c - 7 - '0' : c - '0'; };
    return nibble(high) * 16 + nibble(low);
}

} // namespace

quint32 CSerialNumberRecord::ReadAddress(const QByteArray& text)
{
    qsizetype i = 0;
    while (i < text.size() && IsBlank(text.at(i)))
        ++i;
    bool negative = false;
    if (i < text.size() && (text.at(i) == '+' || text.at(i) == '-'))
        negative = text.at(i++) == '-';
    int base = 10;
    if (i < text.size() && text.at(i) == '0') {
        base = 8;
        // "0x" counts as a prefix only when a hex digit follows; otherwise
        // the "0" alone is the number.
        if (i + 2 < text.size() && (text.at(i + 1) == 'x' || text.at(i + 1) == 'X')
            && DigitValue(text.at(i + 2)) < 16) {
            base = 16;
            i += 2;
        }
    }
    quint64 value = 0;
    bool overflow = false;
    for (; i < text.size() && DigitValue(text.at(i)) < base; ++i) {
        value = value * quint64(base) + quint64(DigitValue(text.at(i)));
        if (value > 0xFFFFFFFFull) {
            overflow = true;
            value = 0xFFFFFFFFull;
        }
    }
    if (overflow)
        return 0xFFFFFFFFu;
    return negative ? quint32(0u - quint32(value)) : quint32(value);
}

QByteArray CSerialNumberRecord::BuildRecord(const QByteArray& addressText, int serialNumber)
{
    QByteArray record = "S309" + Hex(ReadAddress(addressText), 8) + Hex(quint32(serialNumber), 8);
    // Checksum: ones' complement of the low byte of the sum of the pairs
    // after "S3" (count, four address bytes, four data bytes).
    int sum = 0;
    for (qsizetype i = 2; i + 1 < record.size(); i += 2)
        sum += PairValue(record.at(i), record.at(i + 1));
    record += Hex(quint32(0xFF - sum % 256), 2);
    return record;
}

bool CSerialNumberRecord::ParseSerialNumber(const QString& text, int& number, QString* error)
{
    const auto fail = [error](const QString& message) {
        if (error)
            *error = message;
        return false;
    };
    const QString trimmed = text.trimmed();
    qsizetype i = 0;
    if (i < trimmed.size() && (trimmed.at(i) == u'+' || trimmed.at(i) == u'-'))
        ++i;
    const qsizetype digitsStart = i;
    while (i < trimmed.size() && trimmed.at(i) >= u'0' && trimmed.at(i) <= u'9')
        ++i;
    if (i == digitsStart || i != trimmed.size())
        return fail(QStringLiteral("Please enter an integer."));
    bool ok = false;
    const qlonglong value = trimmed.toLongLong(&ok);
    if (!ok || value < MinSerialNumber || value > MaxSerialNumber) {
        return fail(QStringLiteral("Please enter an integer between %1 and %2.")
                        .arg(MinSerialNumber)
                        .arg(MaxSerialNumber));
    }
    number = int(value);
    return true;
}
