#include "CKeyLockState.h"

#include <QDir>
#include <QFile>

namespace {

const char* const kSuffixes[] = {"::capslock", "::numlock", "::scrolllock"};

} // namespace

CKeyLockState::CKeyLockState(const QString& ledFolder)
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
