#pragma once

#include <QByteArray>
#include <QString>

// The serial-number record sent by the "^$S" macro: one Motorola S3 record
// (32-bit address, four data bytes) carrying the serial number, 22
// characters, no line terminator: "S3" "09" address(8) number(8) checksum(2).
class CSerialNumberRecord
{
public:
    static constexpr int MinSerialNumber = 0;
    static constexpr int MaxSerialNumber = 9999;

    // Builds the record for the address text (read by ReadAddress). Always
    // succeeds; the number is written as its 32-bit two's complement.
    static QByteArray BuildRecord(const QByteArray& addressText, int serialNumber);

    // The address text as an unsigned 32-bit number in the manner of
    // strtoul: leading blanks and a sign allowed, "0x"/"0X" hexadecimal, a
    // leading "0" octal, otherwise decimal; reading stops at the first byte
    // that does not fit; no digits give 0; beyond 32 bits gives 0xFFFFFFFF.
    static quint32 ReadAddress(const QByteArray& text);

    // Reads a serial number typed by the user: a decimal integer (blanks
    // around it allowed) in MinSerialNumber..MaxSerialNumber. On failure
    // returns false, leaves number unchanged and sets error to the message
    // of the serial-number dialog ("Please enter an integer.", "Please enter
    // an integer between 0 and 9999.").
    static bool ParseSerialNumber(const QString& text, int& number, QString* error = nullptr);
};
