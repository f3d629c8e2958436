#pragma once

#include "CDisplayText.h"
#include "CTextSink.h"

class QTextStream;

// Shows the pipeline's text on standard output as the instrument window
// would, in UTF-8. The text is written through once per processing pass
// (Flush), not per line: a flood is one write per pass, and a pipe still
// sees every reading as soon as its pass ends.
class CConsoleTextSink : public CTextSink
{
public:
    explicit CConsoleTextSink(QTextStream& out)
        : m_out(out)
    {
    }

    void AppendBytes(const QByteArray& bytes) override;
    void DeleteLastCharacter() override;
    void Flush();

private:
    QTextStream& m_out;
    CDisplayText m_display;
};
