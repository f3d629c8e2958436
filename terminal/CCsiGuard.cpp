#include "CCsiGuard.h"

namespace {

constexpr unsigned char Esc = 0x1b;
constexpr unsigned char Can = 0x18;
constexpr unsigned char Sub = 0x1a;
constexpr unsigned char Csi8Bit = 0x9b;

} // namespace

void CCsiGuard::Reset()
{
    m_state = Ground;
    m_nSeparators = 0;
}

const QByteArray& CCsiGuard::Filter(const QByteArray& bytes, QByteArray& out)
{
    const qsizetype size = bytes.size();
    const auto* data = reinterpret_cast<const unsigned char*>(bytes.constData());
    qsizetype at = 0;
    while (at < size) {
        // Most of a stream is text: on to the next ESC or 8-bit CSI.
        while (m_state == Ground && at < size && data[at] != Esc && data[at] != Csi8Bit)
            ++at;
        if (at == size || !Step(data[at]))
            break;
        ++at;
    }
    if (at == size)
        return bytes;
    // From the first dropped byte on, the kept ones are copied.
    out = bytes.left(at);
    for (++at; at < size; ++at) {
        if (Step(data[at]))
            out.append(char(data[at]));
    }
    return out;
}

void CCsiGuard::StartCsi()
{
    m_state = Csi;
    m_nSeparators = 0;
}

bool CCsiGuard::Step(unsigned char byte)
{
    if (byte == Esc) {
        m_state = Escape;
        return true;
    }
    switch (m_state) {
    case Ground:
        if (byte == Csi8Bit)
            StartCsi();
        return true;
    case Escape:
        if (byte == '[')
            StartCsi();
        else if (byte >= 0x30 && byte <= 0x7e)
            m_state = Ground;
        // Controls, intermediates, DEL and the upper half, the 8-bit CSI
        // among them, keep the escape open: libvterm passes over them there
        // and a later "[" still opens a sequence.
        return true;
    case Csi:
        if (byte == Csi8Bit) {
            StartCsi();
            return true;
        }
        if (byte == ';' || byte == ':')
            return ++m_nSeparators <= MaxSeparators;
        if (byte == Can || byte == Sub || (byte >= 0x40 && byte <= 0x7e))
            m_state = Ground;
        return true;
    }
    return true;
}
