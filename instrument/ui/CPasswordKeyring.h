#pragma once

#include <QString>

#include <functional>

class QObject;

// The broker password of a driver in the desktop's keyring (Secret Service
// or KWallet through QtKeychain), service "Orvalis", key "mqtt/<driver>".
// Everything is asynchronous: the window never waits for the keyring.
class CPasswordKeyring
{
public:
    enum class Result { Found, NotFound, NoKeyring };
    using ReadDone = std::function<void(Result result, const QString& password, const QString& why)>;
    using WriteDone = std::function<void(bool ok, const QString& why)>;

    // done runs on context's thread, unless context is gone by then.
    static void Read(const QString& driverName, QObject* context, ReadDone done);
    // An empty password removes the entry.
    static void Write(const QString& driverName, const QString& password, QObject* context, WriteDone done);
};
