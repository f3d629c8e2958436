#pragma once

#include <QString>

#include <atomic>
#include <functional>
#include <thread>

class CByteOutput;

// Sends one file on a thread of its own in blocks of 2048 bytes. After each
// block the progress notification gets the count (grown by the block size,
// also for a shorter last block) and the file length; at the end, also when
// the file cannot be opened, the end notification follows. Both are called
// on the transfer thread: they must only post (the channel posts
// "de.Veldrane.SendProgress" and "de.Veldrane.EndOfTransmission").
class CFileTransfer
{
public:
    static constexpr qint64 BlockSize = 2048;

    using ProgressNotification = std::function<void(qint64 sent, qint64 total)>;
    using EndNotification = std::function<void()>;

    explicit CFileTransfer(CByteOutput& output);
    // Stops after the current block and waits for the thread.
    ~CFileTransfer();

    void SetNotifications(ProgressNotification progress, EndNotification end);

    // False while a transfer runs.
    bool Start(const QString& path);
    // Ends the transfer after the block being sent; a line that takes no
    // bytes does not hold it (the rest of that block is then dropped).
    void Stop() { m_bStop = true; }
    bool IsRunning() const { return m_bRunning; }
    // Waits for a transfer that has sent its end notification.
    void Wait();

private:
    void Run(const QString& path);

    CByteOutput& m_output;
    ProgressNotification m_progress;
    EndNotification m_end;
    std::thread m_thread;
    std::atomic<bool> m_bStop{false};
    std::atomic<bool> m_bRunning{false};
};
