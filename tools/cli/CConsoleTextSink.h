#pragma once

#include "CDisplayText.h"
#include "CTextSink.h"

class QTextStream;

// Shows the pipeline's text on standard output as the instrument window
// would, in UTF-8, written through at once so a pipe sees every line.
class CConsoleTextSink : public CTextSink
{
public:
    explicit CConsoleTextSink(QTextStream& out)
        : m_out(out)
    {
    }

    void AppendBytes(const QByteArray& bytes) override;
    void DeleteLastCharacter() override;

private:
    QTextStream& m_out;
    CDisplayText m_display;
};
