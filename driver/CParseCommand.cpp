#include "CParseCommand.h"

namespace {

// Markers are "^$F", "^$S" and "^$E": the text after one starts three bytes on.
constexpr qsizetype kMarkerLength = 3;

} // namespace

int CParseCommand::Parse(const QByteArray& marker, QByteArray& text, QByteArray& before,
                         QByteArray& inner, QByteArray& after) const
{
    before.clear();
    inner.clear();
    after.clear();
    const qsizetype first = text.indexOf(marker);
    if (first < 0)
        return -1;
    before = text.left(first);
    const QByteArray rest = text.mid(first + kMarkerLength);
    const qsizetype second = rest.indexOf(marker);
    if (second < 0) {
        inner = rest;
        return -1;
    }
    inner = rest.left(second);
    text = rest.mid(second + kMarkerLength);
    after = text;
    return int(second);
}
