#pragma once

#include <QObject>

#include <memory>

class QSocketNotifier;

// Turns SIGINT and SIGTERM into a Qt signal on the main thread (a self-pipe
// the handler writes to, watched by a QSocketNotifier), so a capture ends
// cleanly: the line closed, the files complete. A second signal ends the
// process at once (exit 128 + the signal's number). The previous handlers come
// back when the object goes. One object at a time.
class CSignalNotifier : public QObject
{
    Q_OBJECT

public:
    CSignalNotifier();
    ~CSignalNotifier() override;

    bool IsValid() const { return m_pNotifier != nullptr; }

Q_SIGNALS:
    void Raised(int signalNumber);

private:
    void OnReadable();

    std::unique_ptr<QSocketNotifier> m_pNotifier;
};
