#pragma once

#include <QObject>
#include <QTimer>

struct udev;
struct udev_monitor;
class QSocketNotifier;

// Says when a device may have come back, for a lost line waiting for its
// device: the kernel's device notifications through udev ("a tty was
// added"), without polling. Where udev does not run (a container, a minimal
// system) a slow timer ticks instead. With udev the timer still ticks, more
// slowly, for the lines udev never announces: pseudo-terminals and links
// pointed at another device by hand.
class CDeviceWatch : public QObject
{
    Q_OBJECT

public:
    static constexpr int FallbackIntervalMs = 1000;
    static constexpr int BackstopIntervalMs = 5000;

    explicit CDeviceWatch(QObject* parent = nullptr);
    ~CDeviceWatch() override;

    void Start();
    void Stop();
    bool IsWatching() const { return m_timer.isActive(); }
    bool UsesUdev() const { return m_pMonitor != nullptr; }
    // The longest time between a device coming back and deviceAdded.
    static int LongestWaitMs();

Q_SIGNALS:
    void deviceAdded();

private:
    bool OpenMonitor();
    void CloseMonitor();
    void OnUdevEvent();

    udev* m_pUdev = nullptr;
    udev_monitor* m_pMonitor = nullptr;
    QSocketNotifier* m_pNotifier = nullptr;
    QTimer m_timer;
};
