// Runs arbitrary received bytes through the received-data pipeline with a
// script taken from the input. Input layout: byte 0 holds the switches (bit 0
// script, bit 1 CR -> CR/LF receiving, bit 2 spreadsheet, bit 3 control
// characters shown), byte 1 the end-of-string byte (0: none), byte 2 the
// block size, bytes 3..6 the first bytes of four input strings, byte 7 the
// command of their sequences; the rest is the received stream.
//
// Checks: nothing crashes, the byte count is the number of non-NUL bytes, and
// in plain mode with control characters shown the text does not depend on
// how the stream was cut into blocks.
#include "CByteSource.h"
#include "CCellSink.h"
#include "CDriverParameter.h"
#include "CParse.h"
#include "CReceivePipeline.h"
#include "CScript.h"
#include "CTerminalParameter.h"
#include "CTextSink.h"

#include <cstdint>
#include <cstdlib>
#include <memory>

namespace {

void Check(bool condition)
{
    if (!condition)
        std::abort();
}

class CBlocks : public CByteSource
{
public:
    CBlocks(const QByteArray& stream, qsizetype blockSize)
        : m_stream(stream)
        , m_nBlockSize(blockSize)
    {
    }
    quint16 GetCommEvent() override { return EventReceive; }
    quint16 GetInBufferCount() override { return quint16(qMin<qsizetype>(Remaining(), m_nBlockSize)); }
    QByteArray GetInput() override
    {
        const QByteArray block = m_stream.mid(m_nPosition, m_nBlockSize);
        m_nPosition += block.size();
        return block;
    }
    qsizetype Remaining() const { return m_stream.size() - m_nPosition; }

private:
    QByteArray m_stream;
    qsizetype m_nBlockSize;
    qsizetype m_nPosition = 0;
};

class CText : public CTextSink
{
public:
    void AppendBytes(const QByteArray& bytes) override { m_text += bytes; }
    void DeleteLastCharacter() override { m_text.chop(1); }
    QByteArray m_text;
};

class CCells : public CCellSink
{
public:
    bool PutCell(int row, int column, const QByteArray&) override
    {
        Check(row >= 1 && column >= 1);
        return (row + column) % 3 != 0;
    }
};

const QByteArrayList Commands = {
    "TrimLeft()", "TrimAll()", "SkipCharacters(1)", "InsertCharacter(0, #)", "ChangeSpaces(<HT>)",
    "RemoveCharacters(27, 3)", "ChangeCharacter(3, x, y)", "SkipCharacters(99)", "ChangeCharacters(<CR>, <NUL>)",
};

struct CRun
{
    QByteArray text;
    qint64 total = 0;
};

CRun Run(const uint8_t* data, const QByteArray& stream, qsizetype blockSize)
{
    CScript script;
    script.m_bRegistered = data[0] & 1;
    if (data[1] != 0)
        script.m_strEndOfString = QByteArray(1, char(data[1]));
    for (int i = 0; i < 4; ++i) {
        script.m_InputStrings.append(QByteArray(1, char(data[3 + i])));
        script.m_Sequences.append(
            std::make_shared<CStringArray>(CStringArray{Commands.at((data[7] + i) % Commands.size())}));
    }
    CTerminalParameter display;
    display.m_bReceiveCRLF = (data[0] >> 1) & 1;
    display.m_bShowControlChars = (data[0] >> 3) & 1;
    CDriverParameter driver;
    driver.m_bExcel = (data[0] >> 2) & 1;
    CReceivePipeline pipeline(script, display, driver);
    CBlocks source(stream, blockSize);
    CText text;
    CCells cells;
    pipeline.SetByteSource(&source);
    pipeline.SetTextSink(&text);
    pipeline.SetCellSink(&cells);
    pipeline.SetSleeper([](quint32) { Check(false); });
    while (source.Remaining() > 0)
        pipeline.OnCommEvent();
    return {text.m_text, pipeline.TotalBytes()};
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    if (size < 8)
        return 0;
    const QByteArray stream(reinterpret_cast<const char*>(data) + 8, qsizetype(size - 8));
    const qsizetype blockSize = qMax(1, int(data[2]));
    const CRun run = Run(data, stream, blockSize);
    Check(run.total == stream.size() - stream.count('\0'));

    const bool plainShown = !(data[0] & 1) && ((data[0] >> 3) & 1);
    if (plainShown) {
        const CRun whole = Run(data, stream, stream.size() + 1);
        Check(whole.text == run.text);
    }
    return 0;
}
