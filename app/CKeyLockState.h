#pragma once

#include <QString>
#include <QStringList>

// The keyboard's Caps, Num and Scroll Lock states for the status bar. On an
// X server they are the server's own indicators ("Caps Lock", "Num Lock",
// "Scroll Lock" through XKB, libX11 loaded at run time), which also holds in
// a virtual machine or a remote session whose keyboard has no LEDs.
// Elsewhere (Wayland, offscreen) they are read from the kernel's keyboard
// LEDs (/sys/class/leds/*::capslock and so on; ORVALIS_SYSFS_ROOT replaces
// /sys). Without either every lock reads as off.
class CKeyLockState
{
public:
    enum Lock { CapsLock, NumLock, ScrollLock };

    CKeyLockState();
    explicit CKeyLockState(const QString& ledFolder);
    ~CKeyLockState();
    CKeyLockState(const CKeyLockState&) = delete;
    CKeyLockState& operator=(const CKeyLockState&) = delete;

    // True when that lock is on.
    bool IsOn(Lock lock) const;
    // The X server answers (else the LEDs do).
    bool UsesXServer() const { return m_pXkb != nullptr; }

private:
    struct CXkb;

    void FindLeds(const QString& ledFolder);
    bool LedIsOn(Lock lock) const;

    QStringList m_ledFiles[3];
    CXkb* m_pXkb = nullptr;
};
