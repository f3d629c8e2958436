#pragma once

#include "CBalance.h"

#include <QDeadlineTimer>
#include <QString>

#include <csignal>

class CPtyPort;

// Runs the balance on a pseudo-terminal: readings at the chosen interval
// and answers to commands, until a stop signal or the line limit.
class CBalanceSession
{
public:
    struct Options
    {
        int nIntervalMs = 1000; // 0: readings only on request
        qint64 nCount = -1;     // lines to send before stopping; -1: no limit
        double dWeight = 12.345;
        quint32 nSeed = 0;
        QString strLink;
    };

    CBalanceSession(CPtyPort& port, const Options& options);

    // waitMask is the signal mask while waiting (stop signals unblocked);
    // stop becomes nonzero in their handler. Returns the exit code.
    int Run(const sigset_t& waitMask, const volatile std::sig_atomic_t& stop);

private:
    QDeadlineTimer NextReadingDeadline() const;
    void CheckListener();
    bool Done() const;
    void Send(const QByteArray& lines);

    CPtyPort& m_port;
    const Options& m_options;
    CBalance m_balance;
    bool m_bListening = false;
    qint64 m_nSent = 0;
};
