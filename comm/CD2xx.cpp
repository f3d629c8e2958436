#include "CD2xx.h"

#include <dlfcn.h>

#include <cstring>
#include <type_traits>

namespace {

// A broken library could report any count; nobody plugs in more converters.
constexpr CD2xx::DWORD MaxListedDevices = 256;
// FT_ListDevices writes a serial number of at most this many characters.
constexpr int SerialNumberBufferSize = 32;

QString DlError()
{
    const char* text = dlerror();
    return text ? QString::fromLocal8Bit(text) : QStringLiteral("unknown error");
}

} // namespace

CD2xx::~CD2xx()
{
    FreeD2xx();
}

QByteArray CD2xx::LibraryName()
{
    const QByteArray name = qgetenv("ORVALIS_D2XX_LIBRARY");
    return name.isEmpty() ? QByteArray("libftd2xx.so") : name;
}

bool CD2xx::LoadD2xx()
{
    FreeD2xx();
    m_strLastError.clear();
    const QByteArray library = LibraryName();
    m_pLibrary = dlopen(library.constData(), RTLD_NOW | RTLD_LOCAL);
    if (m_pLibrary == nullptr) {
        m_strLastError = DlError();
        return false;
    }
    auto bind = [&](const char* name, auto& slot) {
        void* address = dlsym(m_pLibrary, name);
        if (address == nullptr) {
            m_strLastError = QStringLiteral("%1: no function %2").arg(QString::fromLocal8Bit(library), QLatin1String(name));
            return false;
        }
        slot = reinterpret_cast<std::remove_reference_t<decltype(slot)>>(address);
        return true;
    };
#define ORVALIS_D2XX_BIND(name, ...) if (!bind(#name, name)) return false;
    ORVALIS_D2XX_FUNCTIONS(ORVALIS_D2XX_BIND)
#undef ORVALIS_D2XX_BIND
    return true;
}

bool CD2xx::FreeD2xx()
{
#define ORVALIS_D2XX_CLEAR(name, ...) name = nullptr;
    ORVALIS_D2XX_FUNCTIONS(ORVALIS_D2XX_CLEAR)
#undef ORVALIS_D2XX_CLEAR
    if (m_pLibrary != nullptr) {
        dlclose(m_pLibrary);
        m_pLibrary = nullptr;
    }
    return true;
}

int CD2xx::BoundCount() const
{
    int count = 0;
#define ORVALIS_D2XX_COUNT(name, ...) count += name != nullptr ? 1 : 0;
    ORVALIS_D2XX_FUNCTIONS(ORVALIS_D2XX_COUNT)
#undef ORVALIS_D2XX_COUNT
    return count;
}

std::optional<QByteArrayList> CD2xx::ListSerialNumbers()
{
    void* library = dlopen(LibraryName().constData(), RTLD_NOW | RTLD_LOCAL);
    if (library == nullptr)
        return std::nullopt;
    auto listDevices = reinterpret_cast<FT_ListDevices_t>(dlsym(library, "FT_ListDevices"));
    if (listDevices == nullptr) {
        dlclose(library);
        return std::nullopt;
    }
    QByteArrayList serialNumbers;
    DWORD count = 0;
    if (listDevices(&count, nullptr, FT_LIST_NUMBER_ONLY) == FT_OK) {
        for (DWORD index = 0; index < count && index < MaxListedDevices; ++index) {
            // The index travels in the pointer argument itself.
            char buffer[SerialNumberBufferSize + 1] = {};
            if (listDevices(reinterpret_cast<void*>(std::uintptr_t(index)), buffer,
                            FT_LIST_BY_INDEX | FT_OPEN_BY_SERIAL_NUMBER) != FT_OK)
                continue;
            serialNumbers.append(QByteArray(buffer, int(strnlen(buffer, SerialNumberBufferSize))));
        }
    }
    dlclose(library);
    return serialNumbers;
}
