#include "CTimeStampColumn.h"

#include "CLineStamper.h"

bool CTimeStampColumn::PutCell(int row, int column, const QByteArray& text)
{
    if (m_pTarget == nullptr)
        return false;
    if (row != m_nRow) {
        m_nRow = row;
        m_bRowStamped = m_bOn;
        if (m_bRowStamped)
            m_pTarget->PutCell(row, 1, CLineStamper::Time(m_clock()));
    }
    return m_pTarget->PutCell(row, m_bRowStamped ? column + 1 : column, text);
}

void CTimeStampColumn::EndRow(int row)
{
    if (m_pTarget != nullptr)
        m_pTarget->EndRow(row);
}
