#pragma once

#include <QByteArray>

// Keeps the control sequences of a raw ANSI/VT100 stream within what
// libvterm's parser can hold: a CSI sequence with more than 16 parameters
// writes past its argument array (libvterm 0.1), so parameter separators
// beyond the 15th are dropped. The state carries over from one block to the
// next, as a sequence may be cut anywhere. Everything else passes unchanged.
class CCsiGuard
{
public:
    static constexpr int MaxSeparators = 15;

    void Reset();
    // The bytes to hand on: bytes itself when nothing had to be dropped
    // (no copy), else the kept bytes in out.
    const QByteArray& Filter(const QByteArray& bytes, QByteArray& out);

private:
    enum State { Ground, Escape, Csi };
    // False when the byte is to be dropped.
    bool Step(unsigned char byte);
    void StartCsi();

    State m_state = Ground;
    int m_nSeparators = 0;
};
