#pragma once

#include "CSpreadsheetLink.h"

#include <QByteArray>
#include <QList>
#include <QObject>
#include <QString>
#include <QStringList>

#include <memory>
#include <thread>

// The one thread that talks to the spreadsheet program for a window. The
// window hands cells over through a bounded queue and never waits: a slow
// or hung program fills the queue, and Put then says so at once. The
// thread connects, shows the program, opens a new workbook and writes the
// queued cells in their order, several neighbouring cells in one call.
// Results come back as signals, delivered on the thread of this object.
class CExcelThread : public QObject
{
    Q_OBJECT

public:
    static constexpr qsizetype DefaultMaxCells = 16384;
    static constexpr qsizetype DefaultMaxBytes = 8 << 20;
    // Closing a window waits this long for the thread to end; a thread
    // still writing (or stuck in a hung program) goes on alone.
    static constexpr int StopWaitMilliseconds = 250;

    enum PutResult {
        Queued,
        Full, // the queue is full: the cell was not taken
        Gone, // the link failed or was lost: no cell is taken any more
    };

    struct Cell
    {
        int nRow = 0;
        int nColumn = 0;
        QString strText;
    };
    // A rectangle of queued cells written in one call.
    struct Block
    {
        int nRow = 0;
        int nColumn = 0;
        QList<QStringList> rows;
    };

    CExcelThread(std::unique_ptr<CSpreadsheetLink> link, qsizetype maxCells = DefaultMaxCells,
                 qsizetype maxBytes = DefaultMaxBytes);
    // Stops taking cells; the queued ones are still written, by the thread
    // on its own if it has not finished within StopWaitMilliseconds.
    ~CExcelThread() override;

    void Start();
    // The text is in the program's code page.
    PutResult Put(int row, int column, const QByteArray& text);
    // Takes cells from the front of the list, in order, while the queue has
    // room (one lock for all); Full when some are left in the list.
    PutResult Put(QList<Cell>& cells);
    // Cells the program has taken so far (any thread).
    qint64 CellsWritten() const;
    qsizetype QueuedCells() const;

    // Consecutive cells that form rectangles (each row continuing where the
    // one above began, all rows equally wide), in the order given.
    static QList<Block> Group(const QList<Cell>& cells);

Q_SIGNALS:
    void connected();
    void connectFailed(const QString& reason);
    void lost(const QString& reason);
    // The first cell the sheet refused; later refusals are not reported.
    void refused(int row, int column, const QString& reason);

private:
    struct Shared;
    static void Run(const std::shared_ptr<Shared>& shared);
    static bool WriteBatch(Shared& shared, const QList<Cell>& batch);

    std::shared_ptr<Shared> m_shared;
    std::thread m_thread;
};
