#include "CConsoleSerialPrompt.h"

#include "CSerialNumberRecord.h"

#include <QTextStream>

bool CConsoleSerialPrompt::SetFixedNumber(const QString& text, QString& error)
{
    int number = 0;
    QString reason;
    if (!CSerialNumberRecord::ParseSerialNumber(text, number, &reason)) {
        error = QStringLiteral("--serial \"%1\": %2").arg(text, reason);
        return false;
    }
    m_fixed = number;
    return true;
}

std::optional<int> CConsoleSerialPrompt::AskSerialNumber()
{
    if (m_fixed)
        return m_fixed;
    for (;;) {
        m_err << "Serial #: ";
        m_err.flush();
        QString line;
        if (!m_in.readLineInto(&line)) {
            m_err << "\nNo serial number: the rest of the command is not sent\n";
            m_bCancelled = true;
            return std::nullopt;
        }
        int number = 0;
        QString reason;
        if (CSerialNumberRecord::ParseSerialNumber(line, number, &reason))
            return number;
        m_err << reason << "\n";
    }
}
