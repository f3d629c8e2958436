#include "CReceivePipeline.h"

#include "CByteScan.h"
#include "CByteSource.h"
#include "CCellSink.h"
#include "CCommandSink.h"
#include "CDriverParameter.h"
#include "CPlaybackFile.h"
#include "CScript.h"
#include "CTerminalParameter.h"
#include "CTextSink.h"

#include <QLoggingCategory>
#include <QThread>

#include <cstring>
#include <stdexcept>

namespace {

Q_LOGGING_CATEGORY(lcPipeline, "orvalis.instrument")

constexpr int NUL = 0;
constexpr int BS = 8;
constexpr int TAB = 9;
constexpr int LF = 10;
constexpr int CR = 13;

// The discard events wait this long for the rest of the garbage to arrive.
constexpr quint32 DiscardWaitMs = 20;
// A pass ends after this many blocks even when data keeps coming, so the
// window stays responsive; the channel reports the rest at once.
constexpr int MaxBlocksPerPass = 256;

// QByteArray::append goes through the general insert path; the pipeline
// appends a few bytes at a time to buffers that keep their capacity.
void Append(QByteArray& buffer, const char* bytes, qsizetype n)
{
    const qsizetype size = buffer.size();
    buffer.resize(size + n);
    std::memcpy(buffer.data() + size, bytes, std::size_t(n));
}

void Append(QByteArray& buffer, char byte)
{
    const qsizetype size = buffer.size();
    buffer.resize(size + 1);
    buffer.data()[size] = byte;
}

int Signed(char byte)
{
    return int(static_cast<signed char>(byte));
}

bool NeedsEncoding(const QByteArray& text)
{
    return CByteScan::HasControlByte(text.constBegin(), text.constEnd());
}

// Decoding changes only a text with a name or a NUL byte in it.
bool NeedsDecoding(const QByteArray& text)
{
    return CByteScan::HasEither(text.constBegin(), text.constEnd(), '<', '\0');
}

} // namespace

CReceivePipeline::CReceivePipeline(const CScript& script, const CTerminalParameter& display,
                                   const CDriverParameter& driver)
    : m_script(script)
    , m_display(display)
    , m_driver(driver)
    , m_sleep([](quint32 ms) { QThread::msleep(ms); })
{
}

void CReceivePipeline::OnCommEvent()
{
    if (!m_pSource)
        return;
    const quint16 event = m_pSource->GetCommEvent();
    if (event == CByteSource::EventDiscard || event == CByteSource::EventDiscardOther) {
        m_sleep(DiscardWaitMs);
        m_pSource->GetInput();
        return;
    }
    if (event != CByteSource::EventReceive || m_pSource->GetInBufferCount() == 0)
        return;
    for (int blocks = 0; blocks < MaxBlocksPerPass; ++blocks) {
        const QByteArray block = m_pSource->GetInput();
        ReceiveBlock(block);
        if (!m_strLine.isEmpty()) {
            FlushLine();
            return;
        }
        if (block.isEmpty())
            return;
    }
}

bool CReceivePipeline::PollInput()
{
    if (!m_pSource || m_pSource->GetInBufferCount() == 0)
        return true;
    for (;;) {
        if (m_pumpEvents)
            m_pumpEvents();
        // The whole block is processed and counted: bytes that arrived
        // between the count and the read are not lost.
        const QByteArray block = m_pSource->GetInput();
        m_nTotalBytes += block.size();
        if (m_reportProgress)
            m_reportProgress(m_nTotalBytes);
        for (const char byte : block)
            ProcessByte(byte, Mode::Polling);
        if (block.isEmpty())
            return true;
    }
}

void CReceivePipeline::ReceiveBlock(const QByteArray& block)
{
    m_nTotalBytes += block.size();
    if (m_reportProgress)
        m_reportProgress(m_nTotalBytes);
    const char* p = block.constData();
    const char* const end = p + block.size();
    while (p < end) {
        // Runs of bytes that only pass through are handled in one go; every
        // byte that can change state takes the full pipeline.
        if (!m_script.m_bRegistered) {
            p = ReceivePlainRun(p, end);
        } else if (m_bInString) {
            const char* run = StringStops().Find(p, end);
            if (run != p) {
                if (m_bDebugConnection)
                    Append(m_ReceivedBytes, p, run - p);
                if (m_bMatched)
                    AppendReceived(p, run - p);
                p = run;
                continue;
            }
            ProcessByte(*p++, Mode::Notification);
        } else {
            ProcessByte(*p++, Mode::Notification);
        }
    }
}

// Plain mode: the bytes up to the next one that matters go into the line
// together with that byte, which then takes the rest of the pipeline. A NUL
// byte takes the whole pipeline (it is dropped).
const char* CReceivePipeline::ReceivePlainRun(const char* p, const char* end)
{
    const char* stop = PlainStops().Find(p, end);
    const bool delivered = stop != end && *stop != '\0';
    const qsizetype n = stop - p;
    const qsizetype taken = delivered ? n + 1 : n;
    if (m_bDebugConnection)
        Append(m_ReceivedBytes, p, taken);
    Append(m_strLine, p, taken);
    // The spreadsheet step adds the stop byte itself.
    if (ExcelOn())
        Append(m_strExcel, p, n);
    if (delivered) {
        Deliver(Signed(*stop), m_strNoText, false, Mode::Notification);
        return stop + 1;
    }
    if (stop != end)
        ProcessByte(*stop++, Mode::Notification);
    return stop;
}

// NUL, CR and the end character always matter; a line feed only for the
// spreadsheet (it is left out of the cells) and for the playback file.
const CByteScan& CReceivePipeline::PlainStops()
{
    const bool lineFeed = ExcelOn() || (m_pPlayback && m_pPlayback->IsOpen());
    if (m_nPlainStopsEndChar != m_nEndChar || m_bPlainStopsLineFeed != lineFeed) {
        m_plainStops = CByteScan();
        m_plainStops.Add(NUL);
        m_plainStops.Add(CR);
        if (lineFeed)
            m_plainStops.Add(LF);
        if (m_nEndChar != NoEndChar)
            m_plainStops.Add(static_cast<unsigned char>(m_nEndChar));
        m_nPlainStopsEndChar = m_nEndChar;
        m_bPlainStopsLineFeed = lineFeed;
    }
    return m_plainStops;
}

// Inside a string only NUL and the end character matter.
const CByteScan& CReceivePipeline::StringStops()
{
    if (m_nStringStopsEndChar != m_nEndChar) {
        m_stringStops = CByteScan();
        m_stringStops.Add(NUL);
        if (m_nEndChar != NoEndChar)
            m_stringStops.Add(static_cast<unsigned char>(m_nEndChar));
        m_nStringStopsEndChar = m_nEndChar;
    }
    return m_stringStops;
}

void CReceivePipeline::ProcessByte(char byte, Mode mode)
{
    const int c = Signed(byte);
    if (mode == Mode::Notification) {
        if (c == NUL) {
            --m_nTotalBytes;
            return;
        }
        if (m_bDebugConnection)
            Append(m_ReceivedBytes, byte);
    }
    if (m_script.m_bRegistered) {
        CollectScriptByte(byte, c, mode);
        return;
    }
    if (mode == Mode::Notification) {
        Append(m_strLine, byte);
        Deliver(c, m_strNoText, false, mode);
        return;
    }
    QByteArray out(1, byte);
    Deliver(c, out, false, mode);
}

void CReceivePipeline::CollectScriptByte(char byte, int c, Mode mode)
{
    if (!m_bInString) {
        if (c == m_nEndChar)
            return;
        m_bInString = true;
        m_strReceived.resize(0);
        m_bReceivedTruncated = false;
        m_strExcel.resize(0);
        m_bMatched = MatchStart(c);
        if (m_bMatched)
            Append(m_strReceived, byte);
        return;
    }
    if (m_bMatched)
        AppendReceived(&byte, 1);
    if (c == m_nEndChar)
        CompleteString(c, mode);
}

void CReceivePipeline::AppendReceived(const char* bytes, qsizetype n)
{
    const qsizetype room = MaxStringLength - m_strReceived.size();
    if (n > room && !m_bReceivedTruncated) {
        m_bReceivedTruncated = true;
        qCWarning(lcPipeline) << "received string longer than" << MaxStringLength
                              << "bytes without its end character; the rest is not kept";
    }
    Append(m_strReceived, bytes, qMin(n, qMax<qsizetype>(room, 0)));
}

void CReceivePipeline::CompleteString(int c, Mode mode)
{
    m_bInString = false;
    m_bMatched = false;
    if (m_nInputIndex > -1 && m_script.GetSequenceCount() > 0) {
        QByteArray out = RunSequence(m_nInputIndex, m_strReceived);
        // An empty result has no last character to decide by: the string
        // is dropped and leaves no trace.
        if (out.isEmpty())
            return;
        if (mode == Mode::Notification)
            m_strLine = out;
        Deliver(Signed(out.back()), out, true, mode);
        return;
    }
    // An unmatched string: its bytes are gone, its end still counts.
    Deliver(c, m_strNoText, true, mode);
}

bool CReceivePipeline::MatchStart(int c)
{
    // The result depends only on the byte and the script's strings: it is
    // asked once per byte value and kept until the strings change.
    if (m_script.m_strEndOfString != m_matchedEndOfString || m_script.m_InputStrings != m_matchedInputs) {
        m_matchedEndOfString = m_script.m_strEndOfString;
        m_matchedInputs = m_script.m_InputStrings;
        m_matches.fill(Match{});
    }
    Match& match = m_matches[std::size_t(c & 0xFF)];
    if (!match.bKnown) {
        match.nStartChar = Unchanged;
        match.nEndChar = Unchanged;
        match.bMatched = m_script.MatchStart(c, match.nStartChar, match.nEndChar, match.nIndex);
        match.bKnown = true;
    }
    if (match.nStartChar != Unchanged)
        m_nStartChar = match.nStartChar;
    if (match.nEndChar != Unchanged)
        m_nEndChar = match.nEndChar;
    m_nInputIndex = match.nIndex;
    return match.bMatched;
}

QByteArray CReceivePipeline::RunSequence(int index, QByteArray text) const
{
    // A sequence missing from the file (or absent) changes nothing.
    const auto& sequences = m_script.m_Sequences;
    if (index >= sequences.size() || !sequences.at(index))
        return text;
    try {
        for (const QByteArray& command : *sequences.at(index)) {
            const QByteArray input = text;
            m_script.ExecuteCommand(command, input, text);
        }
    } catch (const std::invalid_argument& error) {
        // The rest of the sequence is abandoned; the result so far is kept.
        qCWarning(lcPipeline) << "script sequence" << index << "stopped:" << error.what();
    }
    return text;
}

void CReceivePipeline::Deliver(int c, const QByteArray& out, bool scriptResult, Mode mode)
{
    if (ExcelOn()) {
        if (scriptResult) {
            m_strExcel = out;
            WriteExcelCells();
        } else if (c == CR || c == m_nEndChar) {
            Append(m_strExcel, char(c));
            WriteExcelCells();
        } else if (c != LF) {
            Append(m_strExcel, char(c));
        }
    }
    const bool crlf = m_display.m_bReceiveCRLF;
    if (mode == Mode::Polling) {
        QByteArray shown = out;
        if (c == CR && crlf)
            shown.append('\n');
        if (c == BS && m_pText)
            m_pText->DeleteLastCharacter();
        else
            Show(shown);
    } else if (c == CR) {
        if (crlf)
            Append(m_strLine, '\n');
        FlushLine();
    } else if (c == m_nEndChar) {
        FlushLine();
    }
    if (c == CR && crlf)
        c = LF;
    if (c == LF && m_pPlayback && m_pPlayback->IsOpen())
        SendNextPlaybackLine();
}

bool CReceivePipeline::ExcelOn() const
{
    return m_pCells && m_driver.m_bExcel;
}

void CReceivePipeline::FlushLine()
{
    Show(m_strLine);
    // Keeps the buffer for the next line unless the sink holds on to it.
    if (m_strLine.isDetached())
        m_strLine.resize(0);
    else
        m_strLine.clear();
}

void CReceivePipeline::Show(QByteArray& text)
{
    // The conversions are skipped where they would change nothing.
    if (m_display.m_bShowControlChars) {
        if (NeedsEncoding(text))
            m_parse.EncodeControlCodes(text);
    } else if (NeedsDecoding(text)) {
        m_parse.DecodeControlCodes(text);
    }
    if (!text.isEmpty() && m_pText)
        m_pText->AppendBytes(text);
}

void CReceivePipeline::WriteExcelCells()
{
    m_parse.DecodeControlCodes(m_strExcel);
    QByteArray cell;
    // A CR empties m_strExcel, which ends the walk; text after the last TAB
    // stays for the next walk.
    for (qsizetype i = 0; i < m_strExcel.size(); ++i) {
        const char byte = m_strExcel.at(i);
        if (byte == TAB) {
            m_pCells->PutCell(m_nExcelRow, m_nExcelColumn, cell);
            ++m_nExcelColumn;
            cell.clear();
        } else if (byte == CR) {
            m_pCells->PutCell(m_nExcelRow, m_nExcelColumn, cell);
            m_pCells->EndRow(m_nExcelRow);
            ++m_nExcelRow;
            m_nExcelColumn = 1;
            cell.clear();
            m_strExcel.clear();
        } else {
            cell.append(byte);
        }
    }
}

void CReceivePipeline::SendNextPlaybackLine()
{
    QByteArray line = m_pPlayback->NextLine(m_sleep);
    line.append('\r');
    if (m_display.m_bSendCRLF)
        line.append('\n');
    if (m_pCommands)
        m_pCommands->SendCommand(line);
}

void CReceivePipeline::DebugReplay()
{
    if (!m_pText)
        return;
    m_pText->AppendBytes(QByteArrayLiteral("\n\nDebug Output\n"));
    qsizetype start = 0;
    for (qsizetype i = 0; i < m_ReceivedBytes.size(); ++i) {
        const int c = Signed(m_ReceivedBytes.at(i));
        if (c == CR || c == m_nEndChar) {
            m_pText->AppendBytes(m_ReceivedBytes.mid(start, i + 1 - start));
            start = i + 1;
        }
    }
    if (start < m_ReceivedBytes.size())
        m_pText->AppendBytes(m_ReceivedBytes.mid(start));
}
