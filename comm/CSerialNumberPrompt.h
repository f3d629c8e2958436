#pragma once

#include <optional>

// Asks the user for the serial number of the "^$S" macro: the window shows
// the serial-number dialog, the command line tool takes an option or reads
// standard input. Implementations accept only 0..9999.
class CSerialNumberPrompt
{
public:
    virtual ~CSerialNumberPrompt() = default;

    // The number entered, or nothing when the user cancelled.
    virtual std::optional<int> AskSerialNumber() = 0;
};
