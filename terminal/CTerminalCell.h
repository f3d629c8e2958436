#pragma once

#include <QtGlobal>

// One character cell of a terminal screen: the character, its colours and
// its attributes, as the screen model hands it to a painter.
struct alignas(16) CTerminalCell
{
    enum Attribute : quint8 {
        Bold = 0x01,
        Underline = 0x02,
        Italic = 0x04,
        Blink = 0x08,
        Reverse = 0x10,
        Strike = 0x20,
    };
    // The screen's own foreground or background colour (no colour was asked for).
    static constexpr quint32 DefaultColor = 0;
    // An explicit colour is 0xFFRRGGBB.
    static constexpr quint32 ColorSet = 0xFF000000u;
    // The right half of a double-width character: nothing of its own to draw.
    static constexpr char32_t WideTail = 0xFFFFFFFFu;

    char32_t ch = 0; // 0: nothing was written here (shown blank)
    quint32 fg = DefaultColor;
    quint32 bg = DefaultColor;
    quint8 attrs = 0;
    // Makes the cell 16 whole bytes, so that filling and copying rows of
    // cells moves them in single 16-byte stores.
    quint8 spare[3] = {};

    bool IsBlank() const { return (ch == 0 || ch == U' ') && bg == DefaultColor && (attrs & (Reverse | Underline | Strike)) == 0; }
    bool SameLook(const CTerminalCell& other) const { return fg == other.fg && bg == other.bg && attrs == other.attrs; }
    bool operator==(const CTerminalCell&) const = default;
};
