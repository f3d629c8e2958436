#pragma once

#include "CCommParameter.h"
#include "CDeviceWatch.h"

#include <QObject>
#include <QString>

class CComm;

// Opens a lost line again when its device comes back, for every kind of
// window and for the command line: the same connector with the same
// settings, tried whenever the device watch says a device may have come. The
// connector is resolved at each try, so a link follows its device and a USB
// converter named by its serial number is found at whatever /dev/ttyUSBn the
// kernel gives it this time.
class CLineReconnector : public QObject
{
    Q_OBJECT

public:
    explicit CLineReconnector(CComm& comm, QObject* parent = nullptr);

    // A device that went away does not come back at once: the first try is
    // at the watch's first notice.
    void Start(const CCommParameter& parameters);
    void Stop();
    bool IsWaiting() const { return m_watch.IsWatching(); }
    // "Waiting for /dev/ttyUSB0…"
    QString WaitingText() const;

Q_SIGNALS:
    // The line is open and reading again: "Reconnected to /dev/ttyUSB0 at
    // 14:05:31".
    void reconnected(const QString& message);

private:
    void Try();
    QString Connector() const;

    CComm& m_comm;
    CCommParameter m_parameters;
    CDeviceWatch m_watch;
};
