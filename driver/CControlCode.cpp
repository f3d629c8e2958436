#include "CControlCode.h"

namespace {

// Indexed by byte value; 32 (the space) is "SPC" so that a space can be
// written inside a script argument.
constexpr const char* kNames[CControlCode::Count] = {
    "NUL", "SOH", "STX", "ETX", "EOT", "ENQ", "ACK", "BEL", "BS",  "HT",  "LF",
    "VT",  "FF",  "CR",  "SO",  "SI",  "DLE", "DC1", "DC2", "DC3", "DC4", "NAK",
    "SYN", "ETB", "CAN", "EM",  "SUB", "ESC", "FS",  "GS",  "RS",  "US",  "SPC",
};

} // namespace

int CControlCode::GetCode(const QByteArray& name) const
{
    for (int code = 0; code < Count; ++code) {
        if (name == kNames[code])
            return code;
    }
    return -1;
}

QByteArray CControlCode::GetName(int code) const
{
    if (code < 0 || code >= Count)
        return QByteArray();
    return QByteArray(kNames[code]);
}
