#pragma once

#include <QByteArray>

// Names of the control codes 0..32 ("NUL".."US", "SPC") of the control-code
// notation: '<CR>', '<ESC>', '<SPC>'.
class CControlCode
{
public:
    static constexpr int Count = 33;

    int GetCount() const { return Count; }
    // Index of the first exactly (case-sensitively) equal name, or -1.
    int GetCode(const QByteArray& name) const;
    // The name of 0..32, "" for any other value.
    QByteArray GetName(int code) const;
};
