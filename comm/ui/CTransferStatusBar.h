#pragma once

#include <QPointer>
#include <QProgressBar>

class CFrameServices;
class CTransferProgress;

// The window side of a file transfer in the main window's status bar:
// "Sending file %s" in pane 0, a progress bar over pane 1 (made when the
// first progress arrives, gone at the end) and the elapsed time in pane 4,
// which stays there after the end.
class CTransferStatusBar
{
public:
    // frame: the main window's status bar; nullptr shows nothing.
    explicit CTransferStatusBar(CFrameServices* frame)
        : m_pFrame(frame)
    {
    }
    ~CTransferStatusBar();
    CTransferStatusBar(const CTransferStatusBar&) = delete;
    CTransferStatusBar& operator=(const CTransferStatusBar&) = delete;

    // The bar at 0 before the first progress.
    void Start(const CTransferProgress& progress);
    void Update(const CTransferProgress& progress, qint64 nowSeconds);
    // The idle prompt back in pane 0; the bar goes.
    void Finish();

    QProgressBar* Bar() const { return m_pBar; }

private:
    void MakeBar();

    CFrameServices* m_pFrame;
    QPointer<QProgressBar> m_pBar;
};
