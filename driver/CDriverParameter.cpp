#include "CDriverParameter.h"

#include "CArchive.h"

// Block: name, file name (archive strings), spreadsheet switch (16 bits).
void CDriverParameter::SerializeFields(CArchive& ar)
{
    if (ar.IsStoring()) {
        ar.WriteString(m_strName);
        ar.WriteString(m_strFileName);
        ar.WriteWord(quint16(m_bExcel));
        return;
    }
    m_strName = ar.ReadString();
    m_strFileName = ar.ReadString();
    m_bExcel = ar.ReadWord();
}
