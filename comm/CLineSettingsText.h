#pragma once

#include <QString>

class CCommParameter;

// The words of the line settings, for files, pages and the command line:
// parity as its letter ("N", "O", "E", "M", "S") and flow control as a word
// ("None", "Xon/Xoff", "Rts/Cts", "Dtr/Dsr").
class CLineSettingsText
{
public:
    // The letter of a parity code, or "" when the code is none of the five.
    static QString ParityToString(int parity);
    // A letter or word in any case ("e", "Even"); -1 when not a parity.
    static int ParseParity(const QString& text);

    // The word of a flow control code 0..3, or "" for any other value.
    static QString FlowControlToString(int flowControl);
    // A word in any case ("rts/cts", "none"); -1 when not a flow control.
    static int ParseFlowControl(const QString& text);

    // The line settings in one short text: "9600 8N1 Rts/Cts".
    static QString Summary(const CCommParameter& parameters);

    // A connector for a narrow pane: one longer than ShortConnectorLength
    // characters keeps its start and its end (where a path has its name)
    // around an ellipsis.
    static constexpr int ShortConnectorLength = 20;
    static QString ShortConnector(const QString& connector);
};
