#pragma once

#include "CRecord.h"

// Display and line-ending settings of a terminal window, and the text
// handling settings of an instrument window.
class CTerminalParameter : public CRecord
{
public:
    int m_nColumns = 80;
    int m_nRows = 24;
    int m_nEmulation = 2;       // 0 None, 1 TTY, 2 ANSI, 3 VT52, 4 VT100
    int m_bReceiveCRLF = 1;
    int m_bSendCRLF = 0;
    int m_bLocalEcho = 0;
    int m_bLineWrap = 0;
    int m_bShowControlChars = 0;
    int m_bBlockCursor = 0;
    int m_bScrollbar = 1;

protected:
    void SerializeFields(CArchive& ar) override;
};
