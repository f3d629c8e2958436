#include "CCommParameter.h"

#include "CArchive.h"

// Block: six 16-bit words (connector number signed, then baud, parity, data
// bits, stop bits, flow control: parity comes before data bits), then the
// connector name only when the number is -1.
void CCommParameter::SerializeFields(CArchive& ar)
{
    if (ar.IsStoring()) {
        ar.WriteWord(quint16(m_nConnector));
        ar.WriteWord(quint16(m_nBaudRate));
        ar.WriteWord(quint16(m_cParity));
        ar.WriteWord(quint16(m_nDataBits));
        ar.WriteWord(quint16(m_nStopBits));
        ar.WriteWord(quint16(m_nFlowControl));
        if (m_nConnector == -1)
            ar.WriteString(m_strConnector);
        return;
    }
    m_nConnector = qint16(ar.ReadWord());
    m_nBaudRate = ar.ReadWord();
    m_cParity = ar.ReadWord();
    m_nDataBits = ar.ReadWord();
    m_nStopBits = ar.ReadWord();
    m_nFlowControl = ar.ReadWord();
    if (m_nConnector == -1)
        m_strConnector = ar.ReadString();
}
