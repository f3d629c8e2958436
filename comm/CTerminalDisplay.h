#pragma once

#include <QByteArray>

class CTerminalDisplaySettings;

// The character-cell screen of a terminal window, as the channel sees it.
// The terminal window implements it and hands it to its channel with
// CComm::SetDisplay(); the channel works without one.
class CTerminalDisplay
{
public:
    virtual ~CTerminalDisplay() = default;
    // Called by CComm::OpenTerminal; ends by showing the settings' initial
    // input, which clears the screen.
    virtual void ApplySettings(const CTerminalDisplaySettings& settings) = 0;
    // Shows text on the screen, interpreted by the emulation in force
    // (received text, and typed characters when local echo is on).
    virtual void DisplayInput(const QByteArray& text) = 0;
};
