#include "CPrinterForwarding.h"

#include "CComm.h"
#include "CCommEvent.h"

#include <QFileInfo>
#include <QLoggingCategory>
#include <QStringList>

Q_LOGGING_CATEGORY(lcForwarding, "orvalis.comm.v24printer")

namespace {

const QString Prefix = QStringLiteral("V24 Printer: ");

} // namespace

CPrinterForwarding::CPrinterForwarding(QObject* parent)
    : QObject(parent)
{
    setObjectName(QStringLiteral("V24PrinterLine"));
}

CPrinterForwarding::~CPrinterForwarding()
{
    SwitchOff();
}

void CPrinterForwarding::SwitchOn(const QString& settingsPath, const CCommPrinter::Options& options)
{
    if (IsOn())
        return;
    m_bPrinterMode = 1;
    m_PrinterBytes.clear();
    m_strProblem.clear();
    QStringList problems;
    // A missing file leaves the records as they are; a damaged one is told.
    if (QFileInfo::exists(settingsPath)) {
        const CFileResult loaded = m_settings.Load(settingsPath);
        if (!loaded.IsOk())
            problems.append(loaded.Message());
    }

    m_pPrinterComm = std::make_unique<CComm>();
    m_pPrinterComm->Create(this);
    if (!m_pPrinterComm->OpenPort(m_settings.m_Comm))
        problems.append(QStringLiteral("no printer line: %1").arg(m_pPrinterComm->GetLastError()));

    m_pPrinter = std::make_unique<CCommPrinter>(options);
    if (!m_pPrinter->IsJobOpen())
        problems.append(QStringLiteral("nothing is printed: %1").arg(m_pPrinter->Problem()));
    if (!problems.isEmpty())
        Report(problems.join(QStringLiteral("; ")));
}

void CPrinterForwarding::SwitchOff()
{
    if (!IsOn())
        return;
    m_bPrinterMode = 0;
    m_pPrinterComm.reset();
    // The job prints from here on.
    if (m_pPrinter && m_pPrinter->IsJobOpen() && !m_pPrinter->Finish())
        Report(QStringLiteral("nothing is printed: %1").arg(m_pPrinter->Problem()));
    m_pPrinter.reset();
}

void CPrinterForwarding::ReopenLine()
{
    if (!IsOn())
        return;
    if (!m_pPrinterComm->OpenPort(m_settings.m_Comm))
        Report(QStringLiteral("no printer line: %1").arg(m_pPrinterComm->GetLastError()));
}

void CPrinterForwarding::customEvent(QEvent* event)
{
    if (event->type() != CCommEvent::ComMessage()) {
        QObject::customEvent(event);
        return;
    }
    const auto* message = static_cast<const CCommEvent*>(event);
    // A late one of a line closed since: its reader waits for no one.
    if (m_pPrinterComm && m_pPrinterComm->IsFrom(*message))
        OnComMessage(*message);
}

void CPrinterForwarding::OnComMessage(const CCommEvent& event)
{
    if ((event.lParam() & CCommEvent::DataReceived) && m_pPrinterComm->GetCommEvent() == CComm::EventData)
        OnPrinterCommEvent();
    const bool lost = event.lParam() == CCommEvent::LineError && m_pPrinterComm->IsLineLost();
    // On a loss this closes the line.
    m_pPrinterComm->Acknowledge();
    if (lost)
        Report(m_pPrinterComm->GetLastError());
}

void CPrinterForwarding::OnPrinterCommEvent()
{
    for (qsizetype left = PassBudget; left > 0 && m_pPrinterComm->GetInBufferCount() > 0;) {
        const QByteArray block = m_pPrinterComm->GetInput();
        if (block.isEmpty())
            break;
        left -= block.size();
        Collect(block);
    }
}

void CPrinterForwarding::Collect(const QByteArray& block)
{
    QByteArray bytes;
    if (m_settings.m_Terminal.m_bReceiveCRLF) {
        bytes.reserve(block.size() + block.count('\r'));
        for (const char byte : block) {
            bytes += byte;
            if (byte == '\r')
                bytes += '\n';
        }
    } else {
        bytes = block;
    }
    m_PrinterBytes += bytes;
    if (m_PrinterBytes.size() > MaxBufferBytes)
        m_PrinterBytes.remove(0, m_PrinterBytes.size() - MaxBufferBytes);
    if (m_pPrinter && m_pPrinter->IsJobOpen() && !m_pPrinter->Write(bytes))
        Report(QStringLiteral("nothing more is printed: %1").arg(m_pPrinter->Problem()));
}

void CPrinterForwarding::Report(const QString& text)
{
    m_strProblem = Prefix + text;
    qCInfo(lcForwarding).noquote() << m_strProblem;
    Q_EMIT problem(m_strProblem);
}
