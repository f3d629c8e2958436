#pragma once

#include "CHexDump.h"

#include <QByteArray>
#include <QPlainTextEdit>
#include <QTimer>

// The pane below an instrument window's text that shows the bytes as they
// arrived, before the script: offset, hex and printable characters, 16 to a
// row (CHexDump). The bytes are written in batches like the text and the
// pane keeps the last MaxRows rows; under a flood the rows that would drop
// off at once are never formatted. While hidden it only counts the bytes,
// so the offsets stay those of the whole stream. The rows can be selected
// and copied.
class CHexPane : public QPlainTextEdit
{
    Q_OBJECT

public:
    static constexpr int MaxRows = 16384;
    static constexpr int FlushDelayMs = 40;
    static constexpr int VisibleRows = 8;

    explicit CHexPane(QWidget* parent = nullptr);

    void AppendBytes(const QByteArray& bytes);
    // Writes what waits into the pane now.
    void Flush();
    // The height that shows VisibleRows rows.
    int PreferredHeight() const;

private:
    CHexDump m_dump;
    QByteArray m_pending;
    QTimer m_timer;
    bool m_bFollow = true;
};
