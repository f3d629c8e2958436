#pragma once

#include "CByteScan.h"
#include "CParse.h"

#include <QByteArray>
#include <QByteArrayList>

#include <array>
#include <climits>

#include <functional>

class CByteSource;
class CCellSink;
class CCommandSink;
class CDriverParameter;
class CPlaybackFile;
class CScript;
class CTerminalParameter;
class CTextSink;

// The road of every received byte of an instrument window: NUL removal,
// string collection and rewriting by the script, spreadsheet cells, the
// window text and the answers from the playback file. Runs on one thread
// (the window's); holds references to the window's records, so changes made
// in the Options sheet take effect with the next byte.
class CReceivePipeline
{
public:
    // The end character before the script sets one. Bytes are compared as
    // sign-extended values (-128..127), so none of them equals it.
    static constexpr int NoEndChar = 0x100;
    // Bytes of one string kept at most; the rest of an endless string is
    // not stored (its end is still found).
    static constexpr qsizetype MaxStringLength = 1 << 20;

    using Sleeper = std::function<void(quint32 milliseconds)>;
    using ProgressReporter = std::function<void(qint64 totalBytes)>;
    using EventPump = std::function<void()>;

    CReceivePipeline(const CScript& script, const CTerminalParameter& display,
                     const CDriverParameter& driver);

    void SetByteSource(CByteSource* source) { m_pSource = source; }
    void SetTextSink(CTextSink* sink) { m_pText = sink; }
    // Null: no spreadsheet link; the spreadsheet step is skipped.
    void SetCellSink(CCellSink* sink) { m_pCells = sink; }
    // Where the playback lines are sent (the channel's command sender).
    void SetCommandTarget(CCommandSink* target) { m_pCommands = target; }
    void SetPlaybackFile(CPlaybackFile* file) { m_pPlayback = file; }
    // Waits of delay lines and of the discard events; sleeps for real
    // unless replaced.
    void SetSleeper(Sleeper sleeper) { m_sleep = std::move(sleeper); }
    // Called with the byte count after every block (profile value "Progress").
    void SetProgressReporter(ProgressReporter reporter) { m_reportProgress = std::move(reporter); }
    // Polling variant only: lets the window's message queue run before each block.
    void SetEventPump(EventPump pump) { m_pumpEvents = std::move(pump); }
    // Profile value "DebugConnection": keep every received non-NUL byte.
    void SetDebugConnection(bool on) { m_bDebugConnection = on; }

    // One processing pass after the channel reported an event: reads blocks
    // until one comes back empty or leaves text to show.
    void OnCommEvent();
    // The polling variant for a channel without notifications: reads until
    // nothing is waiting and shows every byte at once. Always true.
    bool PollInput();
    // The byte pipeline over one block, as a pass does it (counts, progress,
    // no flush at the end).
    void ReceiveBlock(const QByteArray& block);
    // Shows the pending line (converted as "Show Control Characters" says).
    void FlushLine();
    // Appends "\n\nDebug Output\n" and every stored byte, in pieces ending at
    // a CR or the end character, without any conversion.
    void DebugReplay();

    qint64 TotalBytes() const { return m_nTotalBytes; }
    // Low 8 bits of every received non-NUL byte (DebugConnection only).
    const QByteArray& ReceivedBytes() const { return m_ReceivedBytes; }
    int EndChar() const { return m_nEndChar; }
    int ExcelRow() const { return m_nExcelRow; }
    int ExcelColumn() const { return m_nExcelColumn; }

private:
    enum class Mode { Notification, Polling };

    void ProcessByte(char byte, Mode mode);
    const char* ReceivePlainRun(const char* p, const char* end);
    // The bytes that take the full pipeline in plain mode and inside a
    // string in script mode.
    const CByteScan& PlainStops();
    const CByteScan& StringStops();
    void CollectScriptByte(char byte, int c, Mode mode);
    void AppendReceived(const char* bytes, qsizetype n);
    void CompleteString(int c, Mode mode);
    bool MatchStart(int c);
    void Deliver(int c, const QByteArray& out, bool scriptResult, Mode mode);
    QByteArray RunSequence(int index, QByteArray text) const;
    void WriteExcelCells();
    void SendNextPlaybackLine();
    void Show(QByteArray& text);
    bool ExcelOn() const;

    const CScript& m_script;
    const CTerminalParameter& m_display;
    const CDriverParameter& m_driver;
    const CParse m_parse;

    CByteSource* m_pSource = nullptr;
    CTextSink* m_pText = nullptr;
    CCellSink* m_pCells = nullptr;
    CCommandSink* m_pCommands = nullptr;
    CPlaybackFile* m_pPlayback = nullptr;
    Sleeper m_sleep;
    ProgressReporter m_reportProgress;
    EventPump m_pumpEvents;
    bool m_bDebugConnection = false;

    // String collection of the script mode; survives blocks and passes.
    int m_nInputIndex = -1;
    bool m_bInString = false;
    bool m_bMatched = false;
    int m_nStartChar = NoEndChar;
    int m_nEndChar = NoEndChar;
    QByteArray m_strReceived;
    bool m_bReceivedTruncated = false;

    // MatchStart's answers per byte value for the strings below.
    static constexpr int Unchanged = INT_MIN;
    struct Match
    {
        bool bKnown = false;
        bool bMatched = false;
        int nStartChar = Unchanged;
        int nEndChar = Unchanged;
        int nIndex = -1;
    };
    std::array<Match, 256> m_matches{};
    QByteArray m_matchedEndOfString;
    QByteArrayList m_matchedInputs;

    // The stop bytes for the end character (and line feed rule) they were made for.
    CByteScan m_plainStops;
    int m_nPlainStopsEndChar = Unchanged;
    bool m_bPlainStopsLineFeed = false;
    CByteScan m_stringStops;
    int m_nStringStopsEndChar = Unchanged;

    QByteArray m_strLine;
    QByteArray m_strExcel;
    const QByteArray m_strNoText; // a plain byte of a pass, an unmatched string
    // Counters of the next cell; never reset while the window exists.
    int m_nExcelRow = 1;
    int m_nExcelColumn = 1;
    qint64 m_nTotalBytes = 0;
    QByteArray m_ReceivedBytes;
};
