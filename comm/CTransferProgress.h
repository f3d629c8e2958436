#pragma once

#include <QString>

// What a window shows about a file transfer: the text of status-bar pane 0,
// the position of the progress bar and the elapsed time of pane 4.
class CTransferProgress
{
public:
    void Start(const QString& fileName, qint64 startSeconds);
    void Update(qint64 sent, qint64 total);
    // The bar goes; the elapsed time of the last update stays shown.
    void Finish();

    bool IsActive() const { return m_bActive; }
    QString FileName() const { return m_strFileName; }
    qint64 Sent() const { return m_nSent; }
    qint64 Total() const { return m_nTotal; }
    qint64 StartTime() const { return m_nStartTime; }

    // "Sending file %s".
    QString StatusText() const;
    // Bar position 0..100: sent * 100 / total, above 100 shown full; an
    // empty file is a full bar.
    int Position() const;
    // Seconds since the start as "%H:%M:%S" (hours within the day).
    QString ElapsedText(qint64 nowSeconds) const;

private:
    QString m_strFileName;
    qint64 m_nStartTime = 0;
    qint64 m_nSent = 0;
    qint64 m_nTotal = 0;
    bool m_bActive = false;
};
