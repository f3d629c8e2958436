#pragma once

#include "CMqttPublisher.h"
#include "CPublishingSettings.h"
#include "CPublishingSink.h"

#include <QObject>
#include <QPointer>

class QLabel;
class QStatusBar;

// An instrument window's link to its broker: stands between the pipeline
// and the window text (Sink), publishes every line shown while a broker is
// set, and shows the link's state ("MQTT: connected / retrying / off") in a
// pane of the status bar while its window is the active one. Problems the
// user must see (bad settings, full queue, journal) come out as Message.
class CPublishingLink : public QObject
{
    Q_OBJECT

public:
    explicit CPublishingLink(CTextSink* window);
    ~CPublishingLink() override;

    CTextSink* Sink() { return &m_sink; }
    // The driver's settings from the profile, the password from the keyring
    // (read first, so publishing may start a moment later).
    void StartFromProfile(const QString& profilePath, const QString& driverName);
    // Publishing with these settings (as the Publishing page holds them); no
    // broker: off. At most maxQueued readings wait for the broker.
    void Start(const CPublishingSettings& settings, const QString& driverName,
               qint64 maxQueued = CMqttPublisher::DefaultMaxQueued);
    // Sends the line still open and stops (what the broker has not taken
    // stays in the journal for the next time).
    void Stop();
    // Shows the state in the status bar's pane "MqttPane" (added when missing).
    void ShowIn(QStatusBar* statusBar);

    QString PaneText() const;
    const CMqttPublisher& Publisher() const { return m_publisher; }

Q_SIGNALS:
    void Message(const QString& text);

private:
    void OnStateChanged(CMqttPublisher::State state, const QString& reason);
    void UpdatePane();

    CMqttPublisher m_publisher;
    CPublishingSink m_sink;
    bool m_bOn = false;
    QString m_strReason;
    QPointer<QLabel> m_pPane;
    int m_nStartCount = 0;
};
