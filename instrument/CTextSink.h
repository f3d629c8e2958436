#pragma once

#include <QByteArray>

// What the received-data pipeline shows: the instrument window's text, the
// command line tool's standard output, a buffer in the tests. The bytes are
// in the program's code page with the control-code conversion already done;
// CDisplayText turns them into display text.
class CTextSink
{
public:
    virtual ~CTextSink() = default;

    // Appends at the end of the text.
    virtual void AppendBytes(const QByteArray& bytes) = 0;
    // A backspace of the polling variant: the last character shown goes.
    virtual void DeleteLastCharacter() = 0;
};
