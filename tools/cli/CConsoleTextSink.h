#pragma once

#include "CDisplayText.h"
#include "CTextSink.h"

#include <QByteArray>
#include <QStringEncoder>

class QTextStream;

// Shows the pipeline's text on standard output as the instrument window
// would, in UTF-8. The pipeline hands over a line at a time; the sink
// collects the bytes and converts them a piece at a time (per line, the
// conversion and the text stream would cost more than the pipeline). A
// piece is encoded into a buffer that keeps its capacity and goes straight
// to the stream's device: the stream's own encoding allocates and frees
// tens of kilobytes a time, which makes the heap shrink and grow again at
// every pass. Flush writes everything through once per processing pass: a
// pipe still sees every reading as soon as its pass ends.
class CConsoleTextSink : public CTextSink
{
public:
    static constexpr qsizetype PieceSize = 8 * 1024;

    // out writes to a device (standard output).
    explicit CConsoleTextSink(QTextStream& out)
        : m_out(out)
    {
    }

    void AppendBytes(const QByteArray& bytes) override;
    void DeleteLastCharacter() override;
    void Flush();

private:
    void WritePending();
    void Write(const QString& text);

    QTextStream& m_out;
    CDisplayText m_display;
    QByteArray m_pending;
    QStringEncoder m_encoder{QStringEncoder::Utf8};
    QByteArray m_encoded;
};
