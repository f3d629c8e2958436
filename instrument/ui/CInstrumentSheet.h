#pragma once

#include "CPropSheet.h"

class CCommGeneralPage;
class CCommPage;
class CDriverFile;
class CFunctionKeysPage;
class CPublishingPage;
class CScriptPage;
class CSettingsPage;

// "Communication Setup" of an instrument driver: General, Communication
// Parameter, Terminal Settings, Function Keys, Script Language and
// Publishing (kept in Orvalis.ini, not in the driver file). Used by
// Add and Modify Instrument and by the instrument window's Options (which
// sets bModifyMode).
class CInstrumentSheet : public CPropSheet
{
    Q_OBJECT

public:
    CInstrumentSheet(QWidget* parent, int startPage, bool bModifyMode);

    // Fills every page from its record (the function keys must hold eight entries).
    void LoadFrom(const CDriverFile& records);
    // After OK: every page stores into its record, in page order.
    void SaveTo(CDriverFile& records) const;
    // The settings file the Publishing page reads and writes.
    static QString ProfilePath();

    CCommGeneralPage* m_pGeneralPage;
    CCommPage* m_pCommPage;
    CSettingsPage* m_pSettingsPage;
    CFunctionKeysPage* m_pFunctionKeysPage;
    CScriptPage* m_pScriptPage;
    CPublishingPage* m_pPublishingPage;
};
