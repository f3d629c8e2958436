#include "CPublishingLink.h"

#include "CPasswordKeyring.h"

#include <QLabel>
#include <QLocale>
#include <QSettings>
#include <QStatusBar>

namespace {

const QString PaneName = QStringLiteral("MqttPane");

// The link whose window is active owns the shared pane.
CPublishingLink* g_pShownLink = nullptr;

} // namespace

CPublishingLink::CPublishingLink(CTextSink* window)
    : m_sink(window, [this](const QByteArray& json) {
        if (m_bOn)
            m_publisher.Publish(json);
    })
{
    m_sink.SetEnabled(false);
    connect(&m_publisher, &CMqttPublisher::StateChanged, this, &CPublishingLink::OnStateChanged);
    connect(&m_publisher, &CMqttPublisher::MessagesDropped, this, [this](qint64) {
        Q_EMIT Message(QStringLiteral("MQTT: the queue for the broker is full (%1 readings); the oldest are being "
                                      "dropped")
                           .arg(QLocale().toString(m_publisher.MaxQueued())));
    });
    connect(&m_publisher, &CMqttPublisher::Failed, this,
            [this](const QString& message) { Q_EMIT Message(QStringLiteral("MQTT: ") + message); });
}

CPublishingLink::~CPublishingLink()
{
    Stop();
    if (g_pShownLink != this)
        return;
    g_pShownLink = nullptr;
    if (m_pPane)
        m_pPane->clear();
}

void CPublishingLink::StartFromProfile(const QString& profilePath, const QString& driverName)
{
    CPublishingSettings settings;
    settings.Load(QSettings(profilePath, QSettings::IniFormat), driverName);
    if (!settings.IsOn() || settings.m_strUser.isEmpty() || !settings.m_strPassword.isEmpty()) {
        Start(settings, driverName);
        return;
    }
    // A later Start (from the Options sheet) wins over this answer.
    const int startCount = ++m_nStartCount;
    CPasswordKeyring::Read(driverName, this,
                           [this, settings, driverName, startCount](CPasswordKeyring::Result, const QString& password,
                                                                    const QString&) mutable {
                               if (startCount != m_nStartCount)
                                   return;
                               settings.m_strPassword = password;
                               Start(settings, driverName);
                           });
}

void CPublishingLink::Start(const CPublishingSettings& settings, const QString& driverName, qint64 maxQueued)
{
    ++m_nStartCount;
    Stop();
    m_sink.SetDriverName(driverName);
    if (!settings.IsOn()) {
        UpdatePane();
        return;
    }
    CMqttPublisher::Options options;
    QString error;
    if (!settings.MakeOptions(driverName, options, error)) {
        m_strReason = error;
        UpdatePane();
        Q_EMIT Message(QStringLiteral("MQTT: ") + error);
        return;
    }
    options.maxQueued = maxQueued;
    m_bOn = true;
    m_sink.SetEnabled(true);
    m_publisher.Start(options);
    UpdatePane();
}

void CPublishingLink::Stop()
{
    if (!m_bOn)
        return;
    m_sink.Flush();
    m_sink.SetEnabled(false);
    m_bOn = false;
    m_publisher.Stop();
    m_strReason.clear();
    UpdatePane();
}

void CPublishingLink::OnStateChanged(CMqttPublisher::State, const QString& reason)
{
    m_strReason = reason;
    UpdatePane();
}

QString CPublishingLink::PaneText() const
{
    return QStringLiteral("MQTT: ") + CMqttPublisher::StateText(m_bOn ? m_publisher.CurrentState() : CMqttPublisher::State::Off);
}

void CPublishingLink::ShowIn(QStatusBar* statusBar)
{
    g_pShownLink = this;
    if (!statusBar)
        return;
    m_pPane = statusBar->findChild<QLabel*>(PaneName);
    if (!m_pPane) {
        m_pPane = new QLabel(statusBar);
        m_pPane->setObjectName(PaneName);
        statusBar->addPermanentWidget(m_pPane);
    }
    UpdatePane();
}

void CPublishingLink::UpdatePane()
{
    if (g_pShownLink != this || !m_pPane)
        return;
    m_pPane->setText(PaneText());
    m_pPane->setToolTip(m_strReason);
}
