#include "CTerminalSheet.h"

#include "CCommPage.h"
#include "CFunctionKeysPage.h"
#include "CStringTable.h"
#include "CTerminalFile.h"
#include "CTerminalPage.h"
#include "ResourceIds.h"

CTerminalSheet::CTerminalSheet(QWidget* parent, int startPage)
    : CPropSheet(CStringTable::Text(IDS_COMMUNICATION_SETUP), parent, startPage)
    , m_pCommPage(new CCommPage)
    , m_pTerminalPage(new CTerminalPage)
    , m_pFunctionKeysPage(new CFunctionKeysPage)
{
    AddPage(m_pCommPage);
    AddPage(m_pTerminalPage);
    AddPage(m_pFunctionKeysPage);
}

void CTerminalSheet::LoadFrom(const CTerminalFile& records)
{
    m_pCommPage->SetParameters(records.m_Comm);
    m_pTerminalPage->LoadFrom(records.m_Terminal);
    m_pFunctionKeysPage->LoadFrom(records.m_FunctionKeys);
}

void CTerminalSheet::SaveTo(CTerminalFile& records) const
{
    m_pTerminalPage->SaveTo(records.m_Terminal);
    m_pCommPage->GetParameters(records.m_Comm);
    m_pFunctionKeysPage->SaveTo(records.m_FunctionKeys);
}
