// A stand-in for FTDI's D2XX library, for the tests of the USB converter
// back-end: the 31 functions the program binds, three converters
// ("FT1A2B3C", "VD000017", "XVD99") each backed by a pseudo-terminal whose
// other end the test holds, and FakeD2xx_* functions with which a test
// pulls a converter out and looks at what the program asked for.
#include <fcntl.h>
#include <pty.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <cstring>
#include <mutex>

namespace {

using DWORD = std::uint32_t;
using BOOL = int;
using FT_STATUS = std::uint32_t;
using FT_HANDLE = void*;

constexpr FT_STATUS FT_OK = 0;
constexpr FT_STATUS FT_INVALID_HANDLE = 1;
constexpr FT_STATUS FT_DEVICE_NOT_FOUND = 2;
constexpr FT_STATUS FT_IO_ERROR = 4;
constexpr DWORD FT_OPEN_BY_SERIAL_NUMBER = 1;
constexpr DWORD FT_LIST_BY_INDEX = 0x40000000;
constexpr DWORD FT_LIST_NUMBER_ONLY = 0x80000000;
constexpr DWORD EV_RXCHAR = 0x01;
constexpr DWORD SETRTS = 3;
constexpr DWORD CLRRTS = 4;
constexpr DWORD SETDTR = 5;
constexpr DWORD CLRDTR = 6;
constexpr int DcbSize = 28;
const FT_HANDLE InvalidHandle = reinterpret_cast<FT_HANDLE>(~std::uintptr_t(0));

struct Device
{
    const char* serial;
    int master = -1;
    int slave = -1;
    bool open = false;
    bool unplugged = false;
    DWORD mask = 0;
    int countAtReport = 0;
    unsigned reads = 0;
    unsigned readsAtReport = 0;
    unsigned char dcb[DcbSize] = {};
    int dtr = 0;
    int rts = 0;
    int closes = 0;
};

std::mutex g_mutex;
std::condition_variable g_changed;
Device g_devices[] = {{"FT1A2B3C"}, {"VD000017"}, {"XVD99"}};
DWORD g_refusedBaud = 0;

// Win32 block: DWORD length, DWORD baud, DWORD flag bits, WORD reserved,
// WORD XonLim, WORD XoffLim, BYTE ByteSize, Parity, StopBits, XonChar, ...
void PutDword(unsigned char* at, DWORD value)
{
    std::memcpy(at, &value, 4);
}

DWORD GetDword(const unsigned char* at)
{
    DWORD value;
    std::memcpy(&value, at, 4);
    return value;
}

void DefaultDcb(unsigned char* dcb)
{
    std::memset(dcb, 0, DcbSize);
    PutDword(dcb, DcbSize);
    PutDword(dcb + 4, 9600);
    PutDword(dcb + 8, 1); // binary
    dcb[18] = 8;
}

Device* Find(const char* serial)
{
    for (Device& device : g_devices) {
        if (serial != nullptr && std::strcmp(device.serial, serial) == 0)
            return &device;
    }
    return nullptr;
}

Device* FromHandle(FT_HANDLE handle)
{
    for (Device& device : g_devices) {
        if (&device == handle && device.open)
            return &device;
    }
    return nullptr;
}

int Waiting(const Device& device)
{
    int count = 0;
    ioctl(device.slave, FIONREAD, &count);
    return count;
}

// Runs change on the open converter behind handle, under the lock; false
// for a handle that is not open.
template <typename Change> int OnDevice(FT_HANDLE handle, Change change)
{
    std::lock_guard lock(g_mutex);
    Device* device = FromHandle(handle);
    if (device == nullptr)
        return 0;
    change(*device);
    return 1;
}

// Runs change on the converter of that serial number, under the lock.
template <typename Change> void OnSerial(const char* serial, Change change)
{
    std::lock_guard lock(g_mutex);
    if (Device* device = Find(serial))
        change(*device);
}

} // namespace

extern "C" {

FT_STATUS FT_ListDevices(void* arg1, void* arg2, DWORD flags)
{
    std::lock_guard lock(g_mutex);
    if (flags == FT_LIST_NUMBER_ONLY) {
        *static_cast<DWORD*>(arg1) = 3;
        return FT_OK;
    }
    if (flags == (FT_LIST_BY_INDEX | FT_OPEN_BY_SERIAL_NUMBER)) {
        const auto index = reinterpret_cast<std::uintptr_t>(arg1);
        if (index >= 3)
            return FT_DEVICE_NOT_FOUND;
        std::strncpy(static_cast<char*>(arg2), g_devices[index].serial, 31);
        return FT_OK;
    }
    return FT_IO_ERROR;
}

FT_HANDLE FT_W32_CreateFile(const char* name, DWORD, DWORD, void*, DWORD, DWORD flags, FT_HANDLE)
{
    std::lock_guard lock(g_mutex);
    Device* device = Find(name);
    if (device == nullptr || device->open || !(flags & FT_OPEN_BY_SERIAL_NUMBER))
        return InvalidHandle;
    if (openpty(&device->master, &device->slave, nullptr, nullptr, nullptr) != 0)
        return InvalidHandle;
    termios raw{};
    tcgetattr(device->slave, &raw);
    cfmakeraw(&raw);
    tcsetattr(device->slave, TCSANOW, &raw);
    tcsetattr(device->master, TCSANOW, &raw);
    fcntl(device->slave, F_SETFL, O_NONBLOCK);
    device->open = true;
    device->unplugged = false;
    device->mask = 0;
    device->countAtReport = 0;
    device->reads = device->readsAtReport = 0;
    device->dtr = 0;
    device->rts = 0;
    // A converter keeps its line settings from one open to the next.
    if (device->dcb[0] == 0)
        DefaultDcb(device->dcb);
    return device;
}

BOOL FT_W32_CloseHandle(FT_HANDLE handle)
{
    return OnDevice(handle, [&](Device& device) {
        device.open = false;
        ::close(device.slave);
        device.slave = -1;
        ++device.closes;
        g_changed.notify_all();
    });
}

FT_STATUS FT_Close(FT_HANDLE handle)
{
    return FT_W32_CloseHandle(handle) ? FT_OK : FT_INVALID_HANDLE;
}

BOOL FT_W32_ReadFile(FT_HANDLE handle, void* buffer, DWORD size, DWORD* got, void*)
{
    std::lock_guard lock(g_mutex);
    Device* device = FromHandle(handle);
    *got = 0;
    if (device == nullptr || device->unplugged)
        return 0;
    const ssize_t n = ::read(device->slave, buffer, size);
    *got = n > 0 ? DWORD(n) : 0;
    ++device->reads;
    return 1;
}

BOOL FT_W32_WriteFile(FT_HANDLE handle, void* buffer, DWORD size, DWORD* written, void*)
{
    std::lock_guard lock(g_mutex);
    Device* device = FromHandle(handle);
    *written = 0;
    if (device == nullptr || device->unplugged)
        return 0;
    const ssize_t n = ::write(device->slave, buffer, size);
    *written = n > 0 ? DWORD(n) : 0;
    return 1;
}

BOOL FT_W32_ClearCommError(FT_HANDLE handle, DWORD* errors, void* status)
{
    std::lock_guard lock(g_mutex);
    Device* device = FromHandle(handle);
    if (device == nullptr || device->unplugged)
        return 0;
    *errors = 0;
    DWORD comstat[3] = {0, DWORD(Waiting(*device)), 0};
    std::memcpy(status, comstat, sizeof comstat);
    return 1;
}

BOOL FT_W32_EscapeCommFunction(FT_HANDLE handle, DWORD function)
{
    return OnDevice(handle, [&](Device& device) {
        if (function == SETDTR)
            device.dtr = 1;
        else if (function == CLRDTR)
            device.dtr = 0;
        else if (function == SETRTS)
            device.rts = 1;
        else if (function == CLRRTS)
            device.rts = 0;
    });
}

BOOL FT_W32_GetCommState(FT_HANDLE handle, void* dcb)
{
    return OnDevice(handle, [&](Device& device) { std::memcpy(dcb, device.dcb, DcbSize); });
}

BOOL FT_W32_SetCommState(FT_HANDLE handle, void* dcb)
{
    std::lock_guard lock(g_mutex);
    Device* device = FromHandle(handle);
    if (device == nullptr || GetDword(static_cast<unsigned char*>(dcb) + 4) == g_refusedBaud)
        return 0;
    std::memcpy(device->dcb, dcb, DcbSize);
    return 1;
}

BOOL FT_W32_PurgeComm(FT_HANDLE, DWORD)
{
    return 1;
}
BOOL FT_W32_SetCommTimeouts(FT_HANDLE, DWORD*)
{
    return 1;
}
BOOL FT_W32_SetupComm(FT_HANDLE, DWORD, DWORD)
{
    return 1;
}

// Setting the mask completes a pending wait, as on Windows.
BOOL FT_W32_SetCommMask(FT_HANDLE handle, DWORD mask)
{
    return OnDevice(handle, [&](Device& device) {
        device.mask = mask;
        g_changed.notify_all();
    });
}

// Blocks until new received bytes (if the mask asks for them), a mask change or
// the converter being pulled out.
BOOL FT_W32_WaitCommEvent(FT_HANDLE handle, DWORD* events, void*)
{
    std::unique_lock lock(g_mutex);
    Device* device = FromHandle(handle);
    *events = 0;
    if (device == nullptr)
        return 0;
    const DWORD mask = device->mask;
    BOOL result = 1;
    for (;;) {
        if (device->unplugged) {
            result = 0;
            break;
        }
        if (device->mask != mask || mask == 0)
            break;
        const int count = Waiting(*device);
        if ((mask & EV_RXCHAR) && count > 0 &&
            (count > device->countAtReport || device->reads != device->readsAtReport)) {
            device->countAtReport = count;
            device->readsAtReport = device->reads;
            *events |= EV_RXCHAR;
        }
        if (*events != 0)
            break;
        g_changed.wait_for(lock, std::chrono::milliseconds(5));
    }
    return result;
}

// Bound by the program but never called: only the name has to be there.
#define FAKE_D2XX_BOUND_ONLY(name)                                                                           \
    FT_STATUS name()                                                                                         \
    {                                                                                                        \
        return FT_OK;                                                                                        \
    }
FAKE_D2XX_BOUND_ONLY(FT_W32_GetLastError)
FAKE_D2XX_BOUND_ONLY(FT_W32_GetCommModemStatus)
FAKE_D2XX_BOUND_ONLY(FT_GetDeviceInfo)
FAKE_D2XX_BOUND_ONLY(FT_Open)
FAKE_D2XX_BOUND_ONLY(FT_OpenEx)
FAKE_D2XX_BOUND_ONLY(FT_EE_Read)
FAKE_D2XX_BOUND_ONLY(FT_EE_Program)
FAKE_D2XX_BOUND_ONLY(FT_EraseEE)
FAKE_D2XX_BOUND_ONLY(FT_ReadEE)
FAKE_D2XX_BOUND_ONLY(FT_WriteEE)
FAKE_D2XX_BOUND_ONLY(FT_Read)
FAKE_D2XX_BOUND_ONLY(FT_Write)
FAKE_D2XX_BOUND_ONLY(FT_SetTimeouts)
FAKE_D2XX_BOUND_ONLY(FT_SetBaudRate)
FAKE_D2XX_BOUND_ONLY(FT_SetDataCharacteristics)
FAKE_D2XX_BOUND_ONLY(FT_SetFlowControl)

// ---- control of the fake, for the tests ----

// The test's end of the converter's line; -1 while it is not open.
int FakeD2xx_PeerFd(const char* serial)
{
    std::lock_guard lock(g_mutex);
    Device* device = Find(serial);
    return device != nullptr && device->open ? device->master : -1;
}

void FakeD2xx_Unplug(const char* serial)
{
    OnSerial(serial, [&](Device& device) {
        device.unplugged = true;
        g_changed.notify_all();
    });
}

void FakeD2xx_RefuseBaud(DWORD baud)
{
    std::lock_guard lock(g_mutex);
    g_refusedBaud = baud;
}

// The block the program set last, as raw bytes.
void FakeD2xx_Dcb(const char* serial, unsigned char* out)
{
    OnSerial(serial, [&](Device& device) { std::memcpy(out, device.dcb, DcbSize); });
}

// "dtr", "rts", "closes"; -1 for an unknown name.
long FakeD2xx_Value(const char* serial, const char* what)
{
    std::lock_guard lock(g_mutex);
    const Device* device = Find(serial);
    if (device == nullptr)
        return -1;
    const struct
    {
        const char* name;
        long value;
    } values[] = {
        {"dtr", device->dtr},
        {"rts", device->rts},
        {"closes", device->closes},
    };
    for (const auto& entry : values) {
        if (std::strcmp(entry.name, what) == 0)
            return entry.value;
    }
    return -1;
}

// Forgets every open converter's peer and all settings between tests.
void FakeD2xx_Reset()
{
    std::lock_guard lock(g_mutex);
    for (Device& device : g_devices) {
        if (device.master >= 0)
            ::close(device.master);
        if (device.slave >= 0 && !device.open)
            device.slave = -1;
        device.master = -1;
        device.closes = 0;
        DefaultDcb(device.dcb);
    }
    g_refusedBaud = 0;
}

} // extern "C"
