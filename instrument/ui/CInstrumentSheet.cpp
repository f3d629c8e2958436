#include "CInstrumentSheet.h"

#include "CAppServices.h"
#include "CCodePage.h"
#include "CCommGeneralPage.h"
#include "CCommPage.h"
#include "CDriverFile.h"
#include "CFunctionKeysPage.h"
#include "CProfile.h"
#include "CPublishingPage.h"
#include "CScriptPage.h"
#include "CSettingsPage.h"
#include "CStringTable.h"
#include "ResourceIds.h"

CInstrumentSheet::CInstrumentSheet(QWidget* parent, int startPage, bool bModifyMode)
    : CPropSheet(CStringTable::Text(IDS_COMMUNICATION_SETUP), parent, startPage)
    , m_pGeneralPage(new CCommGeneralPage(bModifyMode))
    , m_pCommPage(new CCommPage)
    , m_pSettingsPage(new CSettingsPage)
    , m_pFunctionKeysPage(new CFunctionKeysPage)
    , m_pScriptPage(new CScriptPage)
    , m_pPublishingPage(new CPublishingPage)
{
    AddPage(m_pGeneralPage);
    AddPage(m_pCommPage);
    AddPage(m_pSettingsPage);
    AddPage(m_pFunctionKeysPage);
    AddPage(m_pScriptPage);
    AddPage(m_pPublishingPage);
}

QString CInstrumentSheet::ProfilePath()
{
    CAppServices* app = CAppServices::Get();
    return app ? app->Profile().Path() : CProfile::DefaultPath();
}

void CInstrumentSheet::LoadFrom(const CDriverFile& records)
{
    m_pGeneralPage->SetData(records.m_Driver);
    m_pCommPage->SetParameters(records.m_Comm);
    m_pSettingsPage->LoadFrom(records.m_Terminal);
    m_pFunctionKeysPage->LoadFrom(records.m_FunctionKeys);
    m_pScriptPage->LoadFrom(records.m_Script);
    m_pPublishingPage->LoadFor(ProfilePath(), CCodePage::ToUnicode(records.m_Driver.m_strName));
}

void CInstrumentSheet::SaveTo(CDriverFile& records) const
{
    m_pGeneralPage->GetData(records.m_Driver);
    m_pCommPage->GetParameters(records.m_Comm);
    m_pSettingsPage->SaveTo(records.m_Terminal);
    m_pFunctionKeysPage->SaveTo(records.m_FunctionKeys);
    m_pScriptPage->SaveTo(records.m_Script);
    m_pPublishingPage->SaveFor(CCodePage::ToUnicode(records.m_Driver.m_strName));
}
