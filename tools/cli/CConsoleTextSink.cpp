#include "CConsoleTextSink.h"

#include <QTextStream>

void CConsoleTextSink::AppendBytes(const QByteArray& bytes)
{
    m_out << m_display.Convert(bytes);
    m_out.flush();
}

void CConsoleTextSink::DeleteLastCharacter()
{
    m_out << "\b \b";
    m_out.flush();
}
