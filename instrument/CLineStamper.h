#pragma once

#include "CTextSink.h"

#include <QDateTime>

#include <functional>

// Puts the local time, "2026-11-23 14:05:31.207 ", in front of every line
// shown and passes the text on to another sink. A line begins with the first
// byte after a line end (CR LF, a lone CR or a lone LF, as the window counts
// them); a CR LF pair split between two pieces is still one line end, so a
// LF never opens a stamped empty line of its own.
class CLineStamper : public CTextSink
{
public:
    using Clock = std::function<QDateTime()>;

    explicit CLineStamper(CTextSink& target, Clock clock = &QDateTime::currentDateTime);

    void AppendBytes(const QByteArray& bytes) override;
    void DeleteLastCharacter() override { m_target.DeleteLastCharacter(); }

    // The next byte begins a line (a new session, a cleared window).
    void Reset();

    static QByteArray Stamp(const QDateTime& time);

private:
    CTextSink& m_target;
    Clock m_clock;
    bool m_bAtLineStart = true;
    bool m_bAfterCR = false;
};
