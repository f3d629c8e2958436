#pragma once

#include "CByteOutput.h"
#include "CComm.h"

// The write path of a channel for the command sender and the file transfer
// (CComm::SetOutput may be called from the transfer thread).
class CCommByteOutput : public CByteOutput
{
public:
    explicit CCommByteOutput(CComm& comm)
        : m_comm(comm)
    {
    }

    void SetOutput(const QByteArray& bytes) override { m_comm.SetOutput(bytes); }

private:
    CComm& m_comm;
};
