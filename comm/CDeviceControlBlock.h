#pragma once

#include <cstdint>

class CCommParameter;

// The 28-byte device-control block of the Win32-compatible serial functions
// (the USB converter library reads and writes it as is); the serial-port
// back-end translates it to and from termios. Field layout and bit order are
// those of the Win32 structure.
struct CDeviceControlBlock
{
    enum Parity : std::uint8_t { NoParity = 0, OddParity = 1, EvenParity = 2, MarkParity = 3, SpaceParity = 4 };
    enum StopBits : std::uint8_t { OneStopBit = 0, OneAndHalfStopBits = 1, TwoStopBits = 2 };
    enum DtrControl : std::uint32_t { DtrDisable = 0, DtrEnable = 1, DtrHandshake = 2 };
    enum RtsControl : std::uint32_t { RtsDisable = 0, RtsEnable = 1, RtsHandshake = 2, RtsToggle = 3 };

    std::uint32_t DCBlength = sizeof(CDeviceControlBlock);
    std::uint32_t BaudRate = 0;
    std::uint32_t fBinary : 1 = 0;
    std::uint32_t fParity : 1 = 0;
    std::uint32_t fOutxCtsFlow : 1 = 0;
    std::uint32_t fOutxDsrFlow : 1 = 0;
    std::uint32_t fDtrControl : 2 = 0;
    std::uint32_t fDsrSensitivity : 1 = 0;
    std::uint32_t fTXContinueOnXoff : 1 = 0;
    std::uint32_t fOutX : 1 = 0;
    std::uint32_t fInX : 1 = 0;
    std::uint32_t fErrorChar : 1 = 0;
    std::uint32_t fNull : 1 = 0;
    std::uint32_t fRtsControl : 2 = 0;
    std::uint32_t fAbortOnError : 1 = 0;
    std::uint32_t fDummy2 : 17 = 0;
    std::uint16_t wReserved = 0;
    std::uint16_t XonLim = 0;
    std::uint16_t XoffLim = 0;
    std::uint8_t ByteSize = 8;
    std::uint8_t Parity = NoParity;
    std::uint8_t StopBits = OneStopBit;
    char XonChar = 0;
    char XoffChar = 0;
    char ErrorChar = 0;
    char EofChar = 0;
    char EvtChar = 0;
    std::uint16_t wReserved1 = 0;

    // Puts the line settings of the record into force on a block read from
    // the port: baud, data bits, parity (a letter outside N/O/E/M/S leaves
    // it), stop bits (other than 1 or 2 leaves them), binary mode and parity
    // checking, the XON/XOFF limits and characters, and the flow control.
    void ApplyLineSettings(const CCommParameter& parameters);

    static constexpr std::uint16_t InputQueueSize = 31744;
    static constexpr std::uint16_t OutputQueueSize = 16384;
    static constexpr char Xon = 0x11;
    static constexpr char Xoff = 0x13;
};

static_assert(sizeof(CDeviceControlBlock) == 28, "the block is exchanged with the converter library as is");
