#include "CInstrumentSession.h"

#include "CDriverArgument.h"

CInstrumentSession::CInstrumentSession(QTextStream& out)
    : m_text(out)
    , m_pipeline(m_driver.m_Script, m_driver.m_Terminal, m_driver.m_Driver)
{
    m_pipeline.SetTextSink(&m_text);
}

bool CInstrumentSession::LoadDriver(const QString& path, QString& error)
{
    return CDriverArgument::Load(path, m_driver, error);
}

bool CInstrumentSession::OpenCells(const QString& path, QString& error)
{
    if (!m_cells.Open(path)) {
        error = m_cells.ErrorString();
        return false;
    }
    m_bCells = true;
    m_driver.m_Driver.m_bExcel = 1;
    m_pipeline.SetCellSink(&m_cells);
    return true;
}

bool CInstrumentSession::Finish(QString& error)
{
    if (!m_bCells || m_cells.Finish())
        return true;
    error = m_cells.ErrorString();
    return false;
}

void CInstrumentSession::EnableTimestamps()
{
    m_pConsole = &m_stamper;
    m_stamper.SetControlNames(m_driver.m_Terminal.m_bShowControlChars != 0);
    m_pipeline.SetTextSink(m_pConsole);
}

void CInstrumentSession::PublishTo(CPublishingSink::Sender send, const QString& driverName)
{
    m_pPublishing = std::make_unique<CPublishingSink>(m_pConsole, std::move(send));
    m_pPublishing->SetDriverName(driverName);
    m_pipeline.SetTextSink(m_pPublishing.get());
}

void CInstrumentSession::FlushPublishing()
{
    if (m_pPublishing)
        m_pPublishing->Flush();
}
