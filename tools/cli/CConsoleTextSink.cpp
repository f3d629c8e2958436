#include "CConsoleTextSink.h"

#include <QTextStream>

void CConsoleTextSink::AppendBytes(const QByteArray& bytes)
{
    m_out << m_display.Convert(bytes);
}

void CConsoleTextSink::DeleteLastCharacter()
{
    m_out << "\b \b";
}

void CConsoleTextSink::Flush()
{
    m_out.flush();
}
