#pragma once

#include "CPropSheet.h"

class CCommPage;
class CFunctionKeysPage;
class CTerminalFile;
class CTerminalPage;

// "Communication Setup" of a terminal driver: Communication Parameter,
// Terminal Settings, Function Keys. Used by Add and Modify Terminal and by
// the terminal window's Options.
class CTerminalSheet : public CPropSheet
{
    Q_OBJECT

public:
    CTerminalSheet(QWidget* parent, int startPage);

    // Fills every page from its record (the function keys must hold eight entries).
    void LoadFrom(const CTerminalFile& records);
    // After OK: Terminal Settings, Communication Parameter, Function Keys.
    void SaveTo(CTerminalFile& records) const;

    CCommPage* m_pCommPage;
    CTerminalPage* m_pTerminalPage;
    CFunctionKeysPage* m_pFunctionKeysPage;
};
