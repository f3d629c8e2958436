#pragma once

#include <QString>

// With "Show Control Characters" on, the line ends an instrument sends are
// shown by their names ("<CR><LF>") and nothing would break the window's
// lines. The window breaks a line after "<LF>", and after a "<CR>" that no
// "<LF>" follows, so each received line keeps a line of its own. These
// breaks are for the eye only: Remove() takes them out again before the text
// is converted back to bytes.
class CNameLineBreaks
{
public:
    // The next piece of shown text with the breaks added. A "<CR>" at the
    // end of a piece waits for the next piece to see whether "<LF>" follows.
    QString Add(const QString& piece);
    // Forgets a waiting "<CR>" (the window's text was replaced).
    void Reset() { m_bAfterCR = false; }

    // The text without the breaks Add() put in.
    static QString Remove(const QString& text);

private:
    bool m_bAfterCR = false;
};
