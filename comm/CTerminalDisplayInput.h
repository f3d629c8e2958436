#pragma once

#include <QByteArray>

class CTerminalDisplaySettings;

// The character-cell screen of a terminal window, as the channel sees it.
// The terminal screen model (CTerminalScreen) implements it; the terminal
// window hands its screen to its channel with CComm::SetDisplay(). The
// channel works without one.
class CTerminalDisplayInput
{
public:
    virtual ~CTerminalDisplayInput() = default;
    // Called by CComm::OpenTerminal; ends by showing the settings' initial
    // input, which clears the screen.
    virtual void ApplySettings(const CTerminalDisplaySettings& settings) = 0;
    // Shows text on the screen, interpreted by the emulation in force
    // (received text, and typed characters when local echo is on).
    virtual void DisplayInput(const QByteArray& text) = 0;
};
