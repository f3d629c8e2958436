#pragma once

#include <QByteArray>

// The eight script commands (ChangeCharacter ... TrimLeft): tokenising one
// command text into its argument slots and rewriting the output string.
class CScriptCommand
{
public:
    // Always 1. Unknown commands leave output unchanged. ChangeCharacter with
    // a position outside the input throws std::invalid_argument.
    static int Execute(const QByteArray& command, const QByteArray& input, QByteArray& output);
};
