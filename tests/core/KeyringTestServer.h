#pragma once

// A private Secret Service for tests: its own D-Bus session bus and a
// gnome-keyring-daemon with an unlocked login keyring, all in a temporary
// folder, so a test reads and writes a real keyring without touching the
// user's. Missing() names what is not installed.

#include "TestIncludes.h"

#include <dlfcn.h>

class KeyringTestServer
{
public:
    ~KeyringTestServer()
    {
        KeepProcessWhenBusEnds();
        for (QProcess* process : {&m_keyring, &m_bus}) {
            process->kill();
            process->waitForFinished(3000);
        }
    }

    static QString Missing()
    {
        for (const char* program : {"dbus-daemon", "dbus-send", "gnome-keyring-daemon"}) {
            if (QStandardPaths::findExecutable(QLatin1String(program)).isEmpty())
                return QStringLiteral("%1 is not installed (Debian packages dbus-daemon, dbus-bin, gnome-keyring)")
                    .arg(QLatin1String(program));
        }
        return QString();
    }

    // Starts the bus and the keyring; false with Why() when one does not come up.
    bool Start()
    {
        m_bus.start(QStringLiteral("dbus-daemon"),
                    {QStringLiteral("--session"), QStringLiteral("--nofork"), QStringLiteral("--print-address=1"),
                     QStringLiteral("--address=unix:path=%1/bus").arg(m_dir.path())});
        if (!m_bus.waitForReadyRead(5000))
            return Fail(QStringLiteral("dbus-daemon gave no address: ") + m_bus.readAllStandardError());
        m_strAddress = QString::fromUtf8(m_bus.readLine().trimmed());

        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        for (const char* variable : {"HOME", "XDG_DATA_HOME", "XDG_CONFIG_HOME", "XDG_RUNTIME_DIR"})
            environment.insert(QLatin1String(variable), m_dir.path());
        environment.insert(QStringLiteral("DBUS_SESSION_BUS_ADDRESS"), m_strAddress);
        m_keyring.setProcessEnvironment(environment);
        m_keyring.start(QStringLiteral("gnome-keyring-daemon"),
                        {QStringLiteral("--foreground"), QStringLiteral("--unlock"),
                         QStringLiteral("--components=secrets")});
        if (!m_keyring.waitForStarted(5000))
            return Fail(QStringLiteral("gnome-keyring-daemon: ") + m_keyring.errorString());
        // The password of the login keyring it creates and unlocks.
        m_keyring.write("orvalis-test");
        m_keyring.waitForBytesWritten(5000);
        m_keyring.closeWriteChannel();
        return WaitForService();
    }

    QString BusAddress() const { return m_strAddress; }
    QString Why() const { return m_strWhy; }

private:
    // The keyring library talks through GLib, whose session bus connection
    // ends its process with SIGTERM when the bus goes away: a test that
    // wrote to this keyring would end with it. GLib is taken only where the
    // keyring library has loaded it already.
    static void KeepProcessWhenBusEnds()
    {
        using BusGet = void* (*)(int busType, void* cancellable, void** error);
        using SetExitOnClose = void (*)(void* connection, int exitOnClose);
        void* gio = dlopen("libgio-2.0.so.0", RTLD_LAZY | RTLD_NOLOAD);
        if (!gio)
            return;
        const auto get = reinterpret_cast<BusGet>(dlsym(gio, "g_bus_get_sync"));
        const auto set = reinterpret_cast<SetExitOnClose>(dlsym(gio, "g_dbus_connection_set_exit_on_close"));
        constexpr int SessionBus = 2;
        void* connection = get && set ? get(SessionBus, nullptr, nullptr) : nullptr;
        if (connection)
            set(connection, 0);
        dlclose(gio);
    }

    bool WaitForService()
    {
        const QDeadlineTimer deadline(10000);
        while (!deadline.hasExpired()) {
            QProcess ask;
            ask.start(QStringLiteral("dbus-send"),
                      {QStringLiteral("--bus=") + m_strAddress, QStringLiteral("--print-reply"),
                       QStringLiteral("--dest=org.freedesktop.DBus"), QStringLiteral("/org/freedesktop/DBus"),
                       QStringLiteral("org.freedesktop.DBus.NameHasOwner"),
                       QStringLiteral("string:org.freedesktop.secrets")});
            if (ask.waitForFinished(3000) && ask.readAllStandardOutput().contains("boolean true"))
                return true;
            if (m_keyring.state() == QProcess::NotRunning)
                return Fail(QStringLiteral("gnome-keyring-daemon ended: ") + m_keyring.readAllStandardError());
            QThread::msleep(50);
        }
        return Fail(QStringLiteral("gnome-keyring-daemon did not offer the Secret Service within 10 s: ")
                    + m_keyring.readAllStandardError());
    }

    bool Fail(const QString& why)
    {
        m_strWhy = why;
        return false;
    }

    QTemporaryDir m_dir;
    QProcess m_bus;
    QProcess m_keyring;
    QString m_strAddress;
    QString m_strWhy;
};
