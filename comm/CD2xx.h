#pragma once

#include "CDeviceControlBlock.h"

#include <QByteArray>
#include <QByteArrayList>
#include <QString>

#include <cstdint>
#include <optional>

// Run-time binding of FTDI's D2XX library (libftd2xx.so), which drives USB
// serial converters by serial number through Win32-compatible functions.
// The program never links it: a channel binds it while a USB line is open
// (one binding per channel, so closing one line never unbinds another), and
// the settings page loads it briefly to list the converters.
// ORVALIS_D2XX_LIBRARY names another library file (tests use a fake one).
class CD2xx
{
public:
    // Win32-compatible types of the library's interface.
    using DWORD = std::uint32_t;
    using ULONG = std::uint32_t;
    using WORD = std::uint16_t;
    using USHORT = std::uint16_t;
    using UCHAR = std::uint8_t;
    using BOOL = int;
    using HANDLE = void*;
    using FT_HANDLE = void*;
    using FT_STATUS = std::uint32_t;
    using FT_DEVICE = std::uint32_t;

    struct FTCOMSTAT
    {
        DWORD flags;     // fCtsHold .. fReserved bits
        DWORD cbInQue;
        DWORD cbOutQue;
    };

    struct FTTIMEOUTS
    {
        DWORD ReadIntervalTimeout;
        DWORD ReadTotalTimeoutMultiplier;
        DWORD ReadTotalTimeoutConstant;
        DWORD WriteTotalTimeoutMultiplier;
        DWORD WriteTotalTimeoutConstant;
    };

    struct FTOVERLAPPED
    {
        DWORD Internal;
        DWORD InternalHigh;
        DWORD Offset;
        DWORD OffsetHigh;
        HANDLE hEvent;
    };

    using LPFTDCB = CDeviceControlBlock*;

    static constexpr FT_STATUS FT_OK = 0;
    static inline const FT_HANDLE InvalidHandle = reinterpret_cast<FT_HANDLE>(~std::uintptr_t(0));

    // FT_ListDevices flags.
    static constexpr DWORD FT_OPEN_BY_SERIAL_NUMBER = 0x00000001;
    static constexpr DWORD FT_LIST_BY_INDEX = 0x40000000;
    static constexpr DWORD FT_LIST_NUMBER_ONLY = 0x80000000;
    // FT_W32_CreateFile arguments.
    static constexpr DWORD GENERIC_READ = 0x80000000;
    static constexpr DWORD GENERIC_WRITE = 0x40000000;
    static constexpr DWORD OPEN_EXISTING = 3;
    static constexpr DWORD FILE_ATTRIBUTE_NORMAL = 0x00000080;
    static constexpr DWORD FILE_FLAG_OVERLAPPED = 0x40000000;
    // FT_W32_EscapeCommFunction.
    static constexpr DWORD SETRTS = 3;
    static constexpr DWORD CLRRTS = 4;
    static constexpr DWORD SETDTR = 5;
    static constexpr DWORD CLRDTR = 6;
    // FT_W32_PurgeComm: abort and clear both directions.
    static constexpr DWORD PURGE_ALL = 0x0F;
    // Event mask bits.
    static constexpr ULONG EV_RXCHAR = 0x0001;
    static constexpr ULONG EV_CTS = 0x0008;
    static constexpr ULONG EV_DSR = 0x0010;
    static constexpr ULONG EV_ERR = 0x0080;

    // The 31 functions, in binding order.
#define ORVALIS_D2XX_FUNCTIONS(X)                                                                \
    X(FT_ListDevices, FT_STATUS, void* arg1, void* arg2, DWORD flags)                            \
    X(FT_W32_CreateFile, FT_HANDLE, const char* name, DWORD access, DWORD shareMode,             \
      void* securityAttributes, DWORD creation, DWORD attributesAndFlags, HANDLE templateFile)   \
    X(FT_W32_CloseHandle, BOOL, FT_HANDLE handle)                                                \
    X(FT_W32_ReadFile, BOOL, FT_HANDLE handle, void* buffer, DWORD size, DWORD* bytesRead,       \
      FTOVERLAPPED* overlapped)                                                                  \
    X(FT_W32_WriteFile, BOOL, FT_HANDLE handle, void* buffer, DWORD size, DWORD* bytesWritten,   \
      FTOVERLAPPED* overlapped)                                                                  \
    X(FT_W32_GetLastError, DWORD, FT_HANDLE handle)                                              \
    X(FT_W32_ClearCommError, BOOL, FT_HANDLE handle, DWORD* errors, FTCOMSTAT* status)           \
    X(FT_W32_EscapeCommFunction, BOOL, FT_HANDLE handle, DWORD function)                         \
    X(FT_W32_GetCommModemStatus, BOOL, FT_HANDLE handle, DWORD* modemStatus)                     \
    X(FT_W32_GetCommState, BOOL, FT_HANDLE handle, LPFTDCB dcb)                                  \
    X(FT_W32_PurgeComm, BOOL, FT_HANDLE handle, DWORD flags)                                     \
    X(FT_W32_SetCommState, BOOL, FT_HANDLE handle, LPFTDCB dcb)                                  \
    X(FT_W32_SetCommTimeouts, BOOL, FT_HANDLE handle, FTTIMEOUTS* timeouts)                      \
    X(FT_W32_SetupComm, BOOL, FT_HANDLE handle, DWORD inQueue, DWORD outQueue)                   \
    X(FT_W32_SetCommMask, BOOL, FT_HANDLE handle, ULONG mask)                                    \
    X(FT_W32_WaitCommEvent, BOOL, FT_HANDLE handle, ULONG* mask, FTOVERLAPPED* overlapped)       \
    X(FT_GetDeviceInfo, FT_STATUS, FT_HANDLE handle, FT_DEVICE* device, DWORD* id,               \
      char* serialNumber, char* description, void* reserved)                                     \
    X(FT_Open, FT_STATUS, int index, FT_HANDLE* handle)                                          \
    X(FT_OpenEx, FT_STATUS, void* arg, DWORD flags, FT_HANDLE* handle)                           \
    X(FT_Close, FT_STATUS, FT_HANDLE handle)                                                     \
    X(FT_EE_Read, FT_STATUS, FT_HANDLE handle, void* programData)                                \
    X(FT_EE_Program, FT_STATUS, FT_HANDLE handle, void* programData)                             \
    X(FT_EraseEE, FT_STATUS, FT_HANDLE handle)                                                   \
    X(FT_ReadEE, FT_STATUS, FT_HANDLE handle, DWORD wordOffset, WORD* value)                     \
    X(FT_WriteEE, FT_STATUS, FT_HANDLE handle, DWORD wordOffset, WORD value)                     \
    X(FT_Read, FT_STATUS, FT_HANDLE handle, void* buffer, DWORD size, DWORD* bytesRead)          \
    X(FT_Write, FT_STATUS, FT_HANDLE handle, void* buffer, DWORD size, DWORD* bytesWritten)      \
    X(FT_SetTimeouts, FT_STATUS, FT_HANDLE handle, ULONG readTimeout, ULONG writeTimeout)        \
    X(FT_SetBaudRate, FT_STATUS, FT_HANDLE handle, ULONG baudRate)                               \
    X(FT_SetDataCharacteristics, FT_STATUS, FT_HANDLE handle, UCHAR wordLength, UCHAR stopBits,  \
      UCHAR parity)                                                                              \
    X(FT_SetFlowControl, FT_STATUS, FT_HANDLE handle, USHORT flowControl, UCHAR xonChar,         \
      UCHAR xoffChar)

#define ORVALIS_D2XX_POINTER(name, result, ...) using name##_t = result (*)(__VA_ARGS__); name##_t name = nullptr;
    ORVALIS_D2XX_FUNCTIONS(ORVALIS_D2XX_POINTER)
#undef ORVALIS_D2XX_POINTER

    static constexpr int FunctionCount = 31;

    CD2xx() = default;
    ~CD2xx();
    CD2xx(const CD2xx&) = delete;
    CD2xx& operator=(const CD2xx&) = delete;

    // Clears the table, loads the library and binds the 31 names in order.
    // False at the first failure (no library, a name not exported), with the
    // names bound so far left in the table and the library left loaded, so
    // the caller frees it with FreeD2xx().
    bool LoadD2xx();
    // Clears the table and unloads the library; always true.
    bool FreeD2xx();
    bool IsLoaded() const { return m_pLibrary != nullptr; }
    // Number of non-null entries in the table.
    int BoundCount() const;
    // Why the last LoadD2xx() failed: "libftd2xx.so: cannot open shared
    // object file: ...", "libftd2xx.so: no function FT_EraseEE".
    QString GetLastError() const { return m_strLastError; }

    // The library file: ORVALIS_D2XX_LIBRARY when set, else libftd2xx.so.
    static QByteArray LibraryName();

    // Serial numbers of all converters plugged in, in device-index order, from
    // a separate short-lived binding of FT_ListDevices alone. No value when
    // the library or the function is missing; an empty list when the library
    // reports an error for the count.
    static std::optional<QByteArrayList> ListSerialNumbers();

private:
    void* m_pLibrary = nullptr;
    QString m_strLastError;
};
