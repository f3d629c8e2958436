#pragma once

#include "CCommandSink.h"
#include "CFileTransfer.h"
#include "CTransferProgress.h"

#include <QByteArray>
#include <QString>

#include <deque>
#include <functional>

class CByteOutput;
class CPlaybackFile;
class CSerialNumberPrompt;

// The sending side of a channel above single bytes: command texts with the
// macros "^$F" name "^$F" (send a file), "^$S" address "^$S" (send a
// serial-number record) and "^$E" name "^$E" (open the playback file), the
// file transfer, and the queue of everything sent while a file goes out.
//
// Macro rules: the playback macro is handled first wherever it stands, and
// the text before it is dropped; otherwise the file or serial-number macro
// that stands first. A macro without its closing delimiter ends the
// expansion: the rest of the text goes out as it stands.
//
// While a file is sent, command texts and typed characters wait in a queue
// and go out in their order when the end of the transmission is handled
// (OnEndOfTransmission); queued command texts are expanded then. Text after
// a file macro waits the same way. A second transfer is refused.
class CCommandSender : public CCommandSink
{
public:
    using Clock = std::function<qint64()>; // seconds since 1970

    explicit CCommandSender(CByteOutput& output);

    // Null: a serial-number macro counts as cancelled.
    void SetSerialNumberPrompt(CSerialNumberPrompt* prompt) { m_pPrompt = prompt; }
    // The program-wide playback file the "^$E" macro opens.
    void SetPlaybackFile(CPlaybackFile* playback) { m_pPlayback = playback; }
    // Called on the transfer thread; the channel posts its events there.
    void SetTransferNotifications(CFileTransfer::ProgressNotification progress,
                                  CFileTransfer::EndNotification end);
    void SetClock(Clock clock) { m_clock = std::move(clock); }

    // Always 1.
    int SendCommand(const QByteArray& text) override;
    // 0 for an empty path or while a transfer runs; else 1. A relative path
    // is taken in the program folder. A file that cannot be opened ends the
    // transfer at once (the end notification still comes).
    int SendFile(const QString& path);
    // A typed character (CR LF already added): waits while a file is sent.
    void SendTyped(const QByteArray& text);
    // Stop Transmission: the transfer ends after its current block.
    void StopTransmission() { m_transfer.Stop(); }

    // The owner's handlers of the two transfer events.
    void OnSendProgress(qint64 sent, qint64 total);
    int OnEndOfTransmission();

    bool IsSending() const { return m_bSending; }
    const CTransferProgress& Progress() const { return m_progress; }

private:
    struct Pending
    {
        QByteArray text;
        bool bCommand;
    };

    void Expand(QByteArray text);
    void Output(const QByteArray& bytes);
    bool SendSerialNumber(const QByteArray& address);
    void OpenPlayback(const QByteArray& name);

    CByteOutput& m_output;
    CFileTransfer m_transfer;
    CTransferProgress m_progress;
    CSerialNumberPrompt* m_pPrompt = nullptr;
    CPlaybackFile* m_pPlayback = nullptr;
    Clock m_clock;
    bool m_bSending = false;
    std::deque<Pending> m_queue;
};
