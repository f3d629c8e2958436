#include "CBalance.h"

#include <cmath>
#include <cstdio>

CBalance::CBalance(double load, quint32 seed)
    : m_dLoad(load)
    , m_random(seed)
{
}

QByteArray CBalance::Receive(const QByteArray& bytes)
{
    QByteArray answers;
    for (char byte : bytes) {
        if (byte == '\r' || byte == '\n') {
            // CR LF ends one command: the empty one after CR is skipped.
            if (m_bOverlong)
                answers += "ES\r\n";
            else if (!m_strCommand.trimmed().isEmpty())
                answers += Answer(m_strCommand.trimmed().toUpper());
            m_strCommand.clear();
            m_bOverlong = false;
            continue;
        }
        if (m_strCommand.size() >= MaxCommandLength) {
            m_bOverlong = true;
            continue;
        }
        m_strCommand += byte;
    }
    return answers;
}

QByteArray CBalance::Answer(const QByteArray& command)
{
    // "P" is the print key of many balances: the same single reading.
    if (command == "SI" || command == "P")
        return Reading();
    if (command == "T") {
        m_dTare = m_dLoad + m_dDrift - m_dZero;
        return "T A\r\n";
    }
    if (command == "Z") {
        // Zeroing clears the tare: the whole load becomes the new zero.
        m_dZero = m_dLoad + m_dDrift;
        m_dTare = 0.0;
        return "Z A\r\n";
    }
    return "ES\r\n";
}

double CBalance::DisplayedWeight() const
{
    return m_dLoad + m_dDrift - m_dZero - m_dTare;
}

QByteArray CBalance::Reading()
{
    Drift();
    // Rounded first so that a tared pan never shows "-0.000".
    double weight = std::round(DisplayedWeight() * 1000.0) / 1000.0;
    if (weight == 0.0)
        weight = 0.0;
    char line[48];
    std::snprintf(line, sizeof line, "N %+11.3f g\r\n", weight);
    return QByteArray(line);
}

// A bounded random walk of a few milligrams, pulled back towards the load:
// the slow creep of a real pan in a draughty room.
void CBalance::Drift()
{
    std::uniform_real_distribution<double> step(-0.002, 0.002);
    m_dDrift = 0.9 * m_dDrift + step(m_random);
}
