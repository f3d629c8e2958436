#include "CBalanceSession.h"

#include "CPtyPort.h"

#include <poll.h>

namespace {

// Without a listener the master reports a hangup at once, so it is only
// looked at again after this pause.
constexpr qint64 ListenerCheckMs = 50;

} // namespace

CBalanceSession::CBalanceSession(CPtyPort& port, const Options& options)
    : m_port(port)
    , m_options(options)
    , m_balance(options.dWeight, options.nSeed)
{
}

int CBalanceSession::Run(const sigset_t& waitMask, const volatile std::sig_atomic_t& stop)
{
    QDeadlineTimer nextReading = NextReadingDeadline();
    while (!stop && !Done()) {
        pollfd master { m_port.MasterFd(), POLLIN, 0 };
        const bool listening = m_bListening;
        qint64 waitMs = nextReading.isForever() ? ListenerCheckMs : qMax<qint64>(0, nextReading.remainingTime());
        if (!listening)
            waitMs = qMin(waitMs, ListenerCheckMs);
        const timespec timeout { time_t(waitMs / 1000), long(waitMs % 1000) * 1000000L };
        if (::ppoll(&master, listening ? 1 : 0, &timeout, &waitMask) < 0)
            continue; // interrupted by a stop signal: the loop condition sees it
        if (!listening)
            CheckListener();
        else if (master.revents & POLLHUP)
            m_bListening = false;
        else if (master.revents & POLLIN)
            Send(m_balance.Receive(m_port.Read()));
        if (!nextReading.isForever() && nextReading.hasExpired()) {
            if (m_bListening)
                Send(m_balance.Reading());
            nextReading = NextReadingDeadline();
        }
    }
    if (Done())
        m_port.Drain(2000);
    return 0;
}

QDeadlineTimer CBalanceSession::NextReadingDeadline() const
{
    if (m_options.nIntervalMs == 0)
        return QDeadlineTimer(QDeadlineTimer::Forever);
    return QDeadlineTimer(m_options.nIntervalMs, Qt::PreciseTimer);
}

void CBalanceSession::CheckListener()
{
    pollfd master { m_port.MasterFd(), POLLIN, 0 };
    m_bListening = ::poll(&master, 1, 0) >= 0 && !(master.revents & POLLHUP);
}

bool CBalanceSession::Done() const
{
    return m_options.nCount >= 0 && m_nSent >= m_options.nCount;
}

// Sends whole lines, one at a time, until the line limit is reached.
void CBalanceSession::Send(const QByteArray& lines)
{
    qsizetype start = 0;
    while (start < lines.size() && !Done()) {
        const qsizetype end = lines.indexOf('\n', start);
        const qsizetype stop = end < 0 ? lines.size() : end + 1;
        if (!m_port.Write(lines.mid(start, stop - start)))
            return;
        ++m_nSent;
        start = stop;
    }
}
