#pragma once

#include <QByteArray>

// Cuts a command text at a three-character macro marker ("^$F", "^$S",
// "^$E"): before the first marker, between the two markers, after the second.
class CParseCommand
{
public:
    // Returns the index of the second marker within the text after the first
    // (the length of inner), or -1 when either marker is missing; text then
    // stays unchanged. On success text becomes the text after the second.
    int Parse(const QByteArray& marker, QByteArray& text, QByteArray& before, QByteArray& inner,
              QByteArray& after) const;
};
