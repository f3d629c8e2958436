#pragma once

#include <QString>
#include <QStringList>

// The keyboard's Caps, Num and Scroll Lock states for the status bar, read
// from the kernel's keyboard LEDs (/sys/class/leds/*::capslock and so on):
// this works under X11 and Wayland alike. Without such LEDs (a remote
// session, a machine without a keyboard) every lock reads as off.
class CKeyLockState
{
public:
    enum Lock { CapsLock, NumLock, ScrollLock };

    explicit CKeyLockState(const QString& ledFolder = QStringLiteral("/sys/class/leds"));

    // True when any keyboard has that lock on.
    bool IsOn(Lock lock) const;

private:
    QStringList m_ledFiles[3];
};
