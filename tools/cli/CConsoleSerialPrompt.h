#pragma once

#include "CSerialNumberPrompt.h"

#include <QString>

#include <optional>

class QTextStream;

// The serial number of a "^$S" macro on the command line: the number given
// with --serial, or one line of standard input per macro after the prompt
// "Serial #:" on standard error. A value that is not an integer in 0..9999
// is refused with the dialog's message and asked again; the end of standard
// input cancels: the rest of that command is not sent.
class CConsoleSerialPrompt : public CSerialNumberPrompt
{
public:
    CConsoleSerialPrompt(QTextStream& in, QTextStream& err)
        : m_in(in)
        , m_err(err)
    {
    }

    // Checks the --serial value; false with the message for the user.
    bool SetFixedNumber(const QString& text, QString& error);

    std::optional<int> AskSerialNumber() override;
    // A macro was cancelled (standard input ended): its command was cut short.
    bool WasCancelled() const { return m_bCancelled; }

private:
    QTextStream& m_in;
    QTextStream& m_err;
    std::optional<int> m_fixed;
    bool m_bCancelled = false;
};
