#include "CPrinterSheet.h"

#include "CCommPage.h"
#include "CPrinterSettingsFile.h"
#include "CSettingsPage.h"
#include "CStringTable.h"
#include "ResourceIds.h"

CPrinterSheet::CPrinterSheet(QWidget* parent, int startPage)
    : CPropSheet(CStringTable::Text(IDS_COMMUNICATION_SETUP), parent, startPage)
    , m_pCommPage(new CCommPage)
    , m_pSettingsPage(new CSettingsPage)
{
    AddPage(m_pCommPage);
    AddPage(m_pSettingsPage);
}

void CPrinterSheet::LoadFrom(const CPrinterSettingsFile& records)
{
    m_pCommPage->SetParameters(records.m_Comm);
    m_pSettingsPage->LoadFrom(records.m_Terminal);
}

void CPrinterSheet::SaveTo(CPrinterSettingsFile& records) const
{
    m_pCommPage->GetParameters(records.m_Comm);
    m_pSettingsPage->SaveTo(records.m_Terminal);
}
