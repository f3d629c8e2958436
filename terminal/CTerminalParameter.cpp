#include "CTerminalParameter.h"

#include "CArchive.h"

// Block: ten unsigned 16-bit words in field order, 20 bytes.
void CTerminalParameter::SerializeFields(CArchive& ar)
{
    int* const fields[] = {&m_nColumns,   &m_nRows,     &m_nEmulation,        &m_bReceiveCRLF,
                           &m_bSendCRLF,  &m_bLocalEcho, &m_bLineWrap,        &m_bShowControlChars,
                           &m_bBlockCursor, &m_bScrollbar};
    for (int* field : fields) {
        if (ar.IsStoring())
            ar.WriteWord(quint16(*field));
        else
            *field = ar.ReadWord();
    }
}
