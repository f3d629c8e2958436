#pragma once

#include <QByteArray>

class CByteSource;

// Received data of a terminal window on its way to the screen: what the line
// has waiting, each carriage return followed by a line feed when the
// terminal's record asks for it (receiving CR -> CR/LF). The window and
// "orvalis-cli screen" both take this path.
class CTerminalReceiver
{
public:
    // The display input for one data event; empty when the source's last
    // event is not received data or nothing is waiting. Every byte fetched
    // is kept, also when more arrived after the count was taken.
    static QByteArray OnReceivedData(CByteSource& source, bool receiveCRLF);
    static QByteArray ExpandCarriageReturns(const QByteArray& bytes);
};
