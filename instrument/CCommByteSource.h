#pragma once

#include "CByteSource.h"
#include "CComm.h"

// The received-data pipeline reading from an instrument's channel.
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
