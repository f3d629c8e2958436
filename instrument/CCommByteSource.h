#pragma once

#include "CByteSource.h"
#include "CComm.h"

// The instrument's channel as the byte source of the received-data pipeline.
class CCommByteSource : public CByteSource
{
public:
    explicit CCommByteSource(CComm& comm)
        : m_comm(comm)
    {
    }

    quint16 GetCommEvent() override { return m_comm.GetCommEvent(); }
    quint16 GetInBufferCount() override { return m_comm.GetInBufferCount(); }
    QByteArray GetInput() override { return m_comm.GetInput(); }

private:
    CComm& m_comm;
};
