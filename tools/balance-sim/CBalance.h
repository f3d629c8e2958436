#pragma once

#include <QByteArray>

#include <random>

// A laboratory balance as seen from its serial line: a load whose weight
// drifts slowly, tare and zero, and the command set "SI" or "P" (one
// reading), "T" (tare), "Z" (zero). Commands end at CR or LF; every answer
// and every reading is one line ending in CR LF.
class CBalance
{
public:
    // load: the weight on the pan in grams; seed fixes the drift.
    CBalance(double load, quint32 seed);

    // Feeds received bytes; returns the lines to send back (maybe none).
    QByteArray Receive(const QByteArray& bytes);
    // One reading line, e.g. "N     +12.345 g\r\n"; advances the drift.
    QByteArray Reading();

    double DisplayedWeight() const;

private:
    QByteArray Answer(const QByteArray& command);
    void Drift();

    // A command longer than this is not one of ours: answered "ES" once.
    static constexpr int MaxCommandLength = 32;

    double m_dLoad;
    double m_dDrift = 0.0;
    double m_dTare = 0.0;
    double m_dZero = 0.0;
    QByteArray m_strCommand;
    bool m_bOverlong = false;
    std::mt19937 m_random;
};
