#pragma once

#include <QByteArray>
#include <QString>

// Turns the bytes a text sink receives into display text, the one place
// where that happens: the code page Windows-1252 for bytes 128..255, and line
// ends as a text window shows them (CR LF, a lone CR and a lone LF are one
// line break each). A CR LF pair split between two pieces of text is still
// one line break, so the result does not depend on how the text was cut.
class CDisplayText
{
public:
    QString Convert(const QByteArray& bytes);
    void Reset() { m_bAfterCR = false; }

private:
    bool m_bAfterCR = false;
};
