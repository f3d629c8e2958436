#include "CLineReconnector.h"

#include "CCodePage.h"
#include "CComm.h"

#include <QTime>

CLineReconnector::CLineReconnector(CComm& comm, QObject* parent)
    : QObject(parent)
    , m_comm(comm)
{
    connect(&m_watch, &CDeviceWatch::deviceAdded, this, &CLineReconnector::Try);
}

void CLineReconnector::Start(const CCommParameter& parameters)
{
    m_parameters = parameters;
    m_watch.Start();
}

void CLineReconnector::Stop()
{
    m_watch.Stop();
}

QString CLineReconnector::Connector() const
{
    return CCodePage::ToUnicode(m_parameters.GetConnector());
}

QString CLineReconnector::WaitingText() const
{
    return QStringLiteral("Waiting for %1\u2026").arg(Connector());
}

void CLineReconnector::Try()
{
    // Connected by hand meanwhile.
    if (m_comm.IsPortOpen()) {
        Stop();
        return;
    }
    if (!m_comm.OpenPort(m_parameters)) {
        // Open without its settings or reader is no line to read from.
        if (m_comm.IsPortOpen())
            m_comm.SetPortOpen(false);
        return;
    }
    m_watch.Stop();
    Q_EMIT reconnected(QStringLiteral("Reconnected to %1 at %2")
                           .arg(Connector(), QTime::currentTime().toString(QStringLiteral("HH:mm:ss"))));
}
