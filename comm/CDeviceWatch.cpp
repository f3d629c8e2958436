#include "CDeviceWatch.h"

#include <QLoggingCategory>
#include <QSocketNotifier>

#include <libudev.h>

Q_LOGGING_CATEGORY(lcDeviceWatch, "orvalis.comm.devicewatch")

namespace {

// udev's monitor binds to its netlink group even where no udev daemon runs,
// and then never hears anything: the daemon's queue tells whether one does.
bool IsUdevRunning(udev* context)
{
    udev_queue* queue = udev_queue_new(context);
    const bool running = queue != nullptr && udev_queue_get_udev_is_active(queue) != 0;
    udev_queue_unref(queue);
    return running;
}

} // namespace

CDeviceWatch::CDeviceWatch(QObject* parent)
    : QObject(parent)
{
    connect(&m_timer, &QTimer::timeout, this, &CDeviceWatch::deviceAdded);
}

CDeviceWatch::~CDeviceWatch()
{
    Stop();
}

int CDeviceWatch::LongestWaitMs()
{
    udev* context = udev_new();
    const bool running = context != nullptr && IsUdevRunning(context);
    udev_unref(context);
    return running ? BackstopIntervalMs : FallbackIntervalMs;
}

void CDeviceWatch::Start()
{
    if (IsWatching())
        return;
    const bool udevEvents = OpenMonitor();
    m_timer.start(udevEvents ? BackstopIntervalMs : FallbackIntervalMs);
    qCDebug(lcDeviceWatch) << (udevEvents ? "watching udev's tty events" : "no udev: trying at every tick");
}

void CDeviceWatch::Stop()
{
    m_timer.stop();
    CloseMonitor();
}

bool CDeviceWatch::OpenMonitor()
{
    m_pUdev = udev_new();
    if (m_pUdev == nullptr || !IsUdevRunning(m_pUdev)) {
        CloseMonitor();
        return false;
    }
    // Events of the daemon, not the kernel's: its rules (permissions, the
    // /dev/serial/by-id links) have run when they arrive.
    m_pMonitor = udev_monitor_new_from_netlink(m_pUdev, "udev");
    if (m_pMonitor == nullptr || udev_monitor_filter_add_match_subsystem_devtype(m_pMonitor, "tty", nullptr) < 0 ||
        udev_monitor_enable_receiving(m_pMonitor) < 0) {
        CloseMonitor();
        return false;
    }
    m_pNotifier = new QSocketNotifier(udev_monitor_get_fd(m_pMonitor), QSocketNotifier::Read, this);
    connect(m_pNotifier, &QSocketNotifier::activated, this, &CDeviceWatch::OnUdevEvent);
    return true;
}

void CDeviceWatch::CloseMonitor()
{
    delete m_pNotifier;
    m_pNotifier = nullptr;
    m_pMonitor = udev_monitor_unref(m_pMonitor);
    m_pUdev = udev_unref(m_pUdev);
}

void CDeviceWatch::OnUdevEvent()
{
    bool added = false;
    // Everything waiting is read, so the notifier does not fire again for it.
    while (udev_device* device = udev_monitor_receive_device(m_pMonitor)) {
        const char* action = udev_device_get_action(device);
        added = added || (action != nullptr && qstrcmp(action, "add") == 0);
        udev_device_unref(device);
    }
    if (added)
        Q_EMIT deviceAdded();
}
