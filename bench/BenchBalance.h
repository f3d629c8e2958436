#pragma once

// The balance the benchmarks play: the readings it floods the line with,
// and the script of its driver.

#include "CScript.h"

#include <QByteArray>

#include <memory>

// Weights "W+0012.345" CR LF, 12 bytes a reading, as many as fit in size.
inline QByteArray BalanceStream(qsizetype size)
{
    QByteArray stream;
    stream.reserve(size);
    for (int i = 0; stream.size() + 12 <= size; ++i)
        stream += "W+" + QByteArray::number(1000 + i % 9000).rightJustified(4, '0') + "." +
                  QByteArray::number(i % 1000).rightJustified(3, '0') + "\r\n";
    return stream;
}

// Strings end at LF; the sequence drops the "W", trims and turns the
// decimal point into a comma. Off, the script is kept but not run.
inline void SetBalanceScript(CScript& script, bool on)
{
    script.m_bRegistered = on ? 1 : 0;
    script.m_strEndOfString = "<LF>";
    script.m_InputStrings = {"W<CR><LF>"};
    script.m_Sequences = {std::make_shared<CStringArray>(
        CStringArray{"SkipCharacters(1)", "TrimLeft()", "ChangeCharacters(., ,)"})};
}
