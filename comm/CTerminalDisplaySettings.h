#pragma once

#include <QByteArray>
#include <QList>
#include <QVariant>

class CTerminalParameter;

// What a terminal window's display is set to when its line opens, taken from
// the terminal record. Properties() gives the values in the order the
// display takes them, by the display's property numbers; the named fields
// are the same values for a display that wants them by meaning.
class CTerminalDisplaySettings
{
public:
    // Property numbers of the display.
    enum PropertyId {
        IdFixed37 = 37,         // always 0
        IdFixed39 = 39,         // always 3
        IdEmulation = 36,
        IdEmulation2 = 63,      // the emulation again
        IdRows = 27,
        IdColumns = 26,
        IdFixed38 = 38,         // always TRUE
        IdScrollbackRows = 43,
        IdLocalEcho = 69,
        IdBlockCursor = 62,
        IdFont = 28,
        IdFixed33 = 33,         // always 0
        IdFixed32 = 32,         // always 7
        IdInput = 34,           // text shown on the screen, interpreted by the emulation
    };

    struct Property
    {
        int id;
        QVariant value;         // int (16 or 32 bit), bool or QByteArray
        bool operator==(const Property&) const = default;
    };

    static CTerminalDisplaySettings FromTerminalParameter(const CTerminalParameter& terminal);

    QList<Property> Properties() const;

    int m_nEmulation = 2;           // 0 None, 1 TTY, 2 ANSI, 3 VT52, 4 VT100
    int m_nRows = 24;
    int m_nColumns = 80;
    int m_nScrollbackRows = 20;     // 20 with the scroll bar, else 0
    bool m_bLocalEcho = false;
    int m_nBlockCursor = 0;
    QByteArray m_strFont = "Fixedsys";
    QByteArray m_strInitialInput = "\x1b[2J";   // clears the screen
};
