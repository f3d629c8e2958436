#pragma once

#include "CTextSink.h"

#include <QDateTime>

#include <functional>

// Puts the local time, "2026-11-23 14:05:31.207 ", in front of every line
// shown and passes the text on to another sink. A line begins with the first
// byte after a line end (CR LF, a lone CR or a lone LF, as the window counts
// them); a CR LF pair split between two pieces is still one line end, so a
// LF never opens a stamped empty line of its own. Switched off it passes the
// text on as it is but still follows the lines, so switching it on in the
// middle of a line stamps the next one, not the rest of this one.
//
// With "Show Control Characters" on, the line ends arrive as their names
// "<CR>" and "<LF>" (each whole within a piece): they end the lines then, so
// the stamp follows the names that end the previous line and never comes
// between "<CR>" and "<LF>".
class CLineStamper : public CTextSink
{
public:
    using Clock = std::function<QDateTime()>;

    explicit CLineStamper(CTextSink& target, Clock clock = &QDateTime::currentDateTime);

    void AppendBytes(const QByteArray& bytes) override;
    void DeleteLastCharacter() override { m_target.DeleteLastCharacter(); }

    // The next byte begins a line (a new session, a cleared window).
    void Reset();
    void SetOn(bool on) { m_bOn = on; }
    void SetControlNames(bool names) { m_bNames = names; }
    bool IsOn() const { return m_bOn; }

    // "2026-11-23 14:05:31.207 "; Time() without the blank.
    static QByteArray Stamp(const QDateTime& time);
    static QByteArray Time(const QDateTime& time);

private:
    CTextSink& m_target;
    Clock m_clock;
    // '\r' or '\n' for a line end at i (a byte, or a name), else 0.
    char LineEndAt(const QByteArray& bytes, qsizetype i) const;

    bool m_bOn = true;
    bool m_bNames = false;
    bool m_bAtLineStart = true;
    bool m_bAfterCR = false;
};
