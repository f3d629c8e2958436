#pragma once

#include "CRecord.h"

#include <QByteArray>

// How one serial line is driven: connector name and line settings.
class CCommParameter : public CRecord
{
public:
    QByteArray GetConnector() const { return m_strConnector; }

    QByteArray m_strConnector;  // "COM3", "None", a USB serial number, a device path
    int m_nConnector = 1;       // -1: the name above is used (and stored)
    int m_nBaudRate = 9600;
    int m_nDataBits = 8;
    int m_cParity = 'N';        // 'N', 'O', 'E', 'M', 'S'
    int m_nStopBits = 1;
    int m_nFlowControl = 2;     // 0 none, 1 Xon/Xoff, 2 Rts/Cts, 3 Dtr/Dsr

protected:
    void SerializeFields(CArchive& ar) override;
};
