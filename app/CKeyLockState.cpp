#include "CKeyLockState.h"

#include "CConnectorList.h"

#include <QDir>
#include <QFile>
#include <QGuiApplication>

#include <dlfcn.h>

namespace {

const char* const kSuffixes[] = {"::capslock", "::numlock", "::scrolllock"};
// The XKB names of the indicators.
const char* const kIndicatorNames[] = {"Caps Lock", "Num Lock", "Scroll Lock"};

// libX11's types as far as they are used here: Display* as an opaque
// pointer, Atom as unsigned long, Bool as int.
using XInternAtomFunction = unsigned long (*)(void* display, const char* name, int onlyIfExists);
using XkbGetNamedIndicatorFunction = int (*)(void* display, unsigned long name, int* index, int* state, void* map,
                                             int* real);

void* X11Display()
{
#if QT_CONFIG(xcb)
    if (const auto* x11 = qGuiApp ? qGuiApp->nativeInterface<QNativeInterface::QX11Application>() : nullptr)
        return x11->display();
#endif
    return nullptr;
}

} // namespace

// The X server's indicators through the program's own X connection.
struct CKeyLockState::CXkb
{
    void* library = nullptr;
    void* display = nullptr;
    XkbGetNamedIndicatorFunction getNamedIndicator = nullptr;
    unsigned long atoms[3] = {};

    ~CXkb()
    {
        if (library)
            dlclose(library);
    }
};

CKeyLockState::CKeyLockState()
{
    FindLeds(CConnectorList::SysfsRoot() + QStringLiteral("/class/leds"));
    void* display = X11Display();
    if (!display)
        return;
    void* library = dlopen("libX11.so.6", RTLD_LAZY | RTLD_LOCAL);
    if (!library)
        return;
    auto* xkb = new CXkb;
    xkb->library = library;
    xkb->display = display;
    const auto internAtom = reinterpret_cast<XInternAtomFunction>(dlsym(library, "XInternAtom"));
    xkb->getNamedIndicator = reinterpret_cast<XkbGetNamedIndicatorFunction>(dlsym(library, "XkbGetNamedIndicator"));
    if (!internAtom || !xkb->getNamedIndicator) {
        delete xkb;
        return;
    }
    for (int lock = CapsLock; lock <= ScrollLock; ++lock)
        xkb->atoms[lock] = internAtom(display, kIndicatorNames[lock], 0);
    m_pXkb = xkb;
}

CKeyLockState::CKeyLockState(const QString& ledFolder)
{
    FindLeds(ledFolder);
}

CKeyLockState::~CKeyLockState()
{
    delete m_pXkb;
}

void CKeyLockState::FindLeds(const QString& ledFolder)
{
    const QStringList leds = QDir(ledFolder).entryList(QDir::Dirs | QDir::NoDotAndDotDot | QDir::System);
    for (const QString& led : leds) {
        for (int lock = CapsLock; lock <= ScrollLock; ++lock) {
            if (led.endsWith(QLatin1String(kSuffixes[lock])))
                m_ledFiles[lock].append(ledFolder + QLatin1Char('/') + led + QStringLiteral("/brightness"));
        }
    }
}

bool CKeyLockState::IsOn(Lock lock) const
{
    if (m_pXkb) {
        int state = 0;
        // False when the server has no indicator of that name: the LEDs say.
        if (m_pXkb->getNamedIndicator(m_pXkb->display, m_pXkb->atoms[lock], nullptr, &state, nullptr, nullptr))
            return state != 0;
    }
    return LedIsOn(lock);
}

bool CKeyLockState::LedIsOn(Lock lock) const
{
    for (const QString& path : m_ledFiles[lock]) {
        QFile file(path);
        if (!file.open(QIODevice::ReadOnly))
            continue;
        const QByteArray value = file.read(16).trimmed();
        if (!value.isEmpty() && value != "0")
            return true;
    }
    return false;
}
