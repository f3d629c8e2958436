#pragma once

#include "CByteSource.h"
#include "CComm.h"

#include <functional>

// The received-data pipeline reading from an instrument's channel. One
// processing pass reads at most PassBudget bytes: under a flood a pass
// would otherwise go on reading for as long as data keeps coming, and the
// window would not get to paint. What is left is not lost: the channel
// reports it again at once, since the window has read meanwhile. A pass
// begins with the question for the event code, so every owner of the
// channel gets a fresh budget per notification without having to ask.
// An observer sees every block as it was read, NUL bytes included (the
// window's hex pane).
class CCommByteSource : public CByteSource
{
public:
    static constexpr qsizetype PassBudget = 64 * 1024;

    explicit CCommByteSource(CComm& comm)
        : m_comm(comm)
    {
    }

    using Observer = std::function<void(const QByteArray&)>;
    void SetObserver(Observer observer) { m_observer = std::move(observer); }

    quint16 GetCommEvent() override
    {
        m_nLeft = PassBudget;
        return m_comm.GetCommEvent();
    }
    quint16 GetInBufferCount() override { return m_comm.GetInBufferCount(); }
    QByteArray GetInput() override
    {
        if (m_nLeft <= 0)
            return QByteArray();
        const QByteArray block = m_comm.GetInput();
        m_nLeft -= block.size();
        if (m_observer && !block.isEmpty())
            m_observer(block);
        return block;
    }

private:
    CComm& m_comm;
    qsizetype m_nLeft = PassBudget;
    Observer m_observer;
};
