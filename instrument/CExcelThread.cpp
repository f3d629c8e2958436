#include "CExcelThread.h"

#include "CCodePage.h"

#include <QMetaObject>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <deque>
#include <mutex>

#include <sys/resource.h>
#include <unistd.h>

namespace {

// Cells taken from the queue for one round of writing.
constexpr qsizetype BatchCells = 4096;
constexpr int BackgroundNice = 10;
// What a queued cell costs besides its text.
constexpr qsizetype CellOverhead = 32;

qsizetype Cost(const QString& text)
{
    return text.size() * qsizetype(sizeof(QChar)) + CellOverhead;
}

// A rectangle's last row that stops short of the width becomes a block of its own.
void SplitUnfinishedRow(QList<CExcelThread::Block>& blocks)
{
    CExcelThread::Block& block = blocks.last();
    if (block.rows.size() < 2 || block.rows.last().size() == block.rows.first().size())
        return;
    CExcelThread::Block tail{block.nRow + int(block.rows.size()) - 1, block.nColumn, {block.rows.last()}};
    block.rows.removeLast();
    blocks.append(tail);
}

} // namespace

struct CExcelThread::Shared
{
    std::mutex mutex;
    std::condition_variable wake;     // cells queued or stop asked
    std::condition_variable finished; // the thread is done
    std::deque<Cell> queue;
    qsizetype nQueuedBytes = 0;
    qsizetype nMaxCells = 0;
    qsizetype nMaxBytes = 0;
    bool bStop = false;
    bool bGone = false;
    bool bFinished = false;
    bool bRefusalReported = false;
    // Null once the owner is destroyed: nothing is reported any more.
    CExcelThread* pOwner = nullptr;
    std::unique_ptr<CSpreadsheetLink> link;
    std::atomic<qint64> nWritten{0};

    // Runs report(owner) on the owner's thread, if there still is an owner.
    template<typename Report>
    void Tell(Report report)
    {
        std::lock_guard lock(mutex);
        if (!pOwner)
            return;
        CExcelThread* owner = pOwner;
        QMetaObject::invokeMethod(owner, [owner, report] { report(owner); }, Qt::QueuedConnection);
    }

    void MarkGone()
    {
        std::lock_guard lock(mutex);
        bGone = true;
        queue.clear();
        nQueuedBytes = 0;
    }
};

CExcelThread::CExcelThread(std::unique_ptr<CSpreadsheetLink> link, qsizetype maxCells, qsizetype maxBytes)
    : m_shared(std::make_shared<Shared>())
{
    m_shared->link = std::move(link);
    m_shared->nMaxCells = maxCells;
    m_shared->nMaxBytes = maxBytes;
    m_shared->pOwner = this;
}

CExcelThread::~CExcelThread()
{
    {
        std::lock_guard lock(m_shared->mutex);
        m_shared->pOwner = nullptr;
        m_shared->bStop = true;
        if (m_shared->link)
            m_shared->link->Cancel();
    }
    if (!m_thread.joinable())
        return;
    m_shared->wake.notify_all();
    bool bFinished = false;
    {
        std::unique_lock lock(m_shared->mutex);
        bFinished = m_shared->finished.wait_for(lock, std::chrono::milliseconds(StopWaitMilliseconds),
                                                [this] { return m_shared->bFinished; });
    }
    // A thread stuck in a call to a hung program keeps the shared state
    // alive and ends when the call returns (or with the process).
    if (bFinished)
        m_thread.join();
    else
        m_thread.detach();
}

void CExcelThread::Start()
{
    if (m_thread.joinable())
        return;
    m_thread = std::thread(&CExcelThread::Run, m_shared);
}

CExcelThread::PutResult CExcelThread::Put(int row, int column, const QByteArray& text)
{
    QList<Cell> cells{{row, column, CCodePage::ToUnicode(text)}};
    return Put(cells);
}

CExcelThread::PutResult CExcelThread::Put(QList<Cell>& cells)
{
    qsizetype taken = 0;
    bool bWasEmpty = false;
    {
        std::lock_guard lock(m_shared->mutex);
        if (m_shared->bGone)
            return Gone;
        bWasEmpty = m_shared->queue.empty();
        for (; taken < cells.size(); ++taken) {
            const qsizetype cost = Cost(cells.at(taken).strText);
            if (qsizetype(m_shared->queue.size()) >= m_shared->nMaxCells ||
                m_shared->nQueuedBytes + cost > m_shared->nMaxBytes)
                break;
            m_shared->queue.push_back(std::move(cells[taken]));
            m_shared->nQueuedBytes += cost;
        }
    }
    // The thread waits only on an empty queue.
    if (taken > 0 && bWasEmpty)
        m_shared->wake.notify_one();
    cells.remove(0, taken);
    return cells.isEmpty() ? Queued : Full;
}

qint64 CExcelThread::CellsWritten() const
{
    return m_shared->nWritten.load();
}

qsizetype CExcelThread::QueuedCells() const
{
    std::lock_guard lock(m_shared->mutex);
    return qsizetype(m_shared->queue.size());
}

void CExcelThread::Run(const std::shared_ptr<Shared>& shared)
{
    // Below the window's thread: on a busy machine the window comes first.
    ::setpriority(PRIO_PROCESS, pid_t(::gettid()), BackgroundNice);
    CSpreadsheetLink& link = *shared->link;
    bool bReady = link.Connect();
    if (bReady) {
        link.SetVisible(true);
        bReady = link.OpenWorkbook(QString());
    }
    if (bReady) {
        shared->Tell([](CExcelThread* owner) { Q_EMIT owner->connected(); });
        for (;;) {
            QList<Cell> batch;
            {
                std::unique_lock lock(shared->mutex);
                shared->wake.wait(lock, [&] { return !shared->queue.empty() || shared->bStop; });
                if (shared->queue.empty())
                    break;
                while (!shared->queue.empty() && batch.size() < BatchCells) {
                    shared->nQueuedBytes -= Cost(shared->queue.front().strText);
                    batch.append(std::move(shared->queue.front()));
                    shared->queue.pop_front();
                }
            }
            if (!WriteBatch(*shared, batch))
                break;
        }
    } else {
        const QString reason = link.ErrorString();
        shared->MarkGone();
        shared->Tell([reason](CExcelThread* owner) { Q_EMIT owner->connectFailed(reason); });
    }
    // The link is released here, never on the window's thread.
    std::unique_ptr<CSpreadsheetLink> released;
    {
        std::lock_guard lock(shared->mutex);
        released = std::move(shared->link);
    }
    released.reset();
    std::lock_guard lock(shared->mutex);
    shared->bFinished = true;
    shared->finished.notify_all();
}

bool CExcelThread::WriteBatch(Shared& shared, const QList<Cell>& batch)
{
    CSpreadsheetLink& link = *shared.link;
    for (const Block& block : Group(batch)) {
        const bool bSingle = block.rows.size() == 1 && block.rows.first().size() == 1;
        const CSpreadsheetLink::Result result = bSingle
                                                    ? link.PutCell(block.nRow, block.nColumn, block.rows.first().first())
                                                    : link.PutBlock(block.nRow, block.nColumn, block.rows);
        if (result == CSpreadsheetLink::Gone) {
            const QString reason = link.ErrorString();
            shared.MarkGone();
            shared.Tell([reason](CExcelThread* owner) { Q_EMIT owner->lost(reason); });
            return false;
        }
        if (result == CSpreadsheetLink::Refused) {
            if (!shared.bRefusalReported) {
                shared.bRefusalReported = true;
                const QString reason = link.ErrorString();
                const int row = block.nRow;
                const int column = block.nColumn;
                shared.Tell(
                    [row, column, reason](CExcelThread* owner) { Q_EMIT owner->refused(row, column, reason); });
            }
            continue;
        }
        qint64 cells = 0;
        for (const QStringList& row : block.rows)
            cells += row.size();
        shared.nWritten += cells;
    }
    return true;
}

QList<CExcelThread::Block> CExcelThread::Group(const QList<Cell>& cells)
{
    QList<Block> blocks;
    for (const Cell& cell : cells) {
        if (!blocks.isEmpty()) {
            Block& block = blocks.last();
            QStringList& last = block.rows.last();
            const int lastRow = block.nRow + int(block.rows.size()) - 1;
            const qsizetype width = block.rows.first().size();
            const bool bNextColumn = cell.nRow == lastRow && cell.nColumn == block.nColumn + int(last.size());
            if (bNextColumn && (block.rows.size() == 1 || last.size() < width)) {
                last.append(cell.strText);
                continue;
            }
            if (cell.nRow == lastRow + 1 && cell.nColumn == block.nColumn && last.size() == width) {
                block.rows.append(QStringList{cell.strText});
                continue;
            }
            SplitUnfinishedRow(blocks);
        }
        blocks.append(Block{cell.nRow, cell.nColumn, {QStringList{cell.strText}}});
    }
    if (!blocks.isEmpty())
        SplitUnfinishedRow(blocks);
    return blocks;
}
