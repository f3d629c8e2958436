#pragma once

#include "CPropSheet.h"

class CCommPage;
class CPrinterSettingsFile;
class CSettingsPage;

// "Communication Setup" of the serial printer line (v24print.drv):
// Communication Parameter and Terminal Settings. The file's driver and
// script records are not edited here and stay as they are.
class CPrinterSheet : public CPropSheet
{
    Q_OBJECT

public:
    CPrinterSheet(QWidget* parent, int startPage);

    void LoadFrom(const CPrinterSettingsFile& records);
    // After OK: the two pages store into their records.
    void SaveTo(CPrinterSettingsFile& records) const;

    CCommPage* m_pCommPage;
    CSettingsPage* m_pSettingsPage;
};
