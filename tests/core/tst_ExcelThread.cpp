// The connection thread between a window and its spreadsheet program, on a
// fake program that can hang or refuse cells. A program that vanishes or
// cannot be reached is tst_ExcelOutput's, with the journal.

#include "CExcelThread.h"
#include "FakeSpreadsheetLink.h"
#include "TestIncludes.h"

namespace {

using Cells = QList<CExcelThread::Cell>;

// "row,column:a|b/c|d" per block: rows split by "/", cells by "|".
QStringList Describe(const QList<CExcelThread::Block>& blocks)
{
    QStringList out;
    for (const CExcelThread::Block& block : blocks) {
        QStringList rows;
        for (const QStringList& row : block.rows)
            rows.append(row.join(QLatin1Char('|')));
        out.append(
            QStringLiteral("%1,%2:%3").arg(block.nRow).arg(block.nColumn).arg(rows.join(QLatin1Char('/'))));
    }
    return out;
}

Cells Row(int row, int firstColumn, const QStringList& texts)
{
    Cells cells;
    for (qsizetype i = 0; i < texts.size(); ++i)
        cells.append({row, firstColumn + int(i), texts.at(i)});
    return cells;
}

struct Link
{
    explicit Link(qsizetype maxCells = CExcelThread::DefaultMaxCells,
                  qsizetype maxBytes = CExcelThread::DefaultMaxBytes)
        : sheet(std::make_shared<CFakeSpreadsheet>()),
          thread(std::make_unique<CFakeSpreadsheetLink>(sheet), maxCells, maxBytes)
    {
    }
    ~Link() { sheet->Release(); }

    bool WaitForCells(qsizetype n)
    {
        return QTest::qWaitFor([&] { return sheet->Cells().size() >= n; }, 10000);
    }

    std::shared_ptr<CFakeSpreadsheet> sheet;
    CExcelThread thread;
};

} // namespace

class tst_ExcelThread : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    // Queued cells in blocks: "row,column:" and the cells, '|' between
    // columns, '/' between rows.
    void group()
    {
        const struct
        {
            Cells cells;
            QStringList blocks;
        } rows[] = {
            // A row of neighbouring cells is one block, rows of one width one rectangle.
            {Row(1, 1, {"a", "b", "c"}), {"1,1:a|b|c"}},
            {Row(1, 1, {"a", "b"}) + Row(2, 1, {"c", "d"}) + Row(3, 1, {"e", "f"}), {"1,1:a|b/c|d/e|f"}},
            // A shorter last row is written on its own, a wider row starts a new rectangle.
            {Row(1, 1, {"a", "b"}) + Row(2, 1, {"c"}), {"1,1:a|b", "2,1:c"}},
            {Row(1, 1, {"a"}) + Row(2, 1, {"b", "c"}), {"1,1:a/b", "2,2:c"}},
            // A cell written again keeps its order.
            {Row(4, 1, {"1", "2"}) + Row(4, 1, {"1", "2", "3"}), {"4,1:1|2", "4,1:1|2|3"}},
            // A gap between columns splits.
            {Row(1, 1, {"a"}) + Row(1, 3, {"b"}), {"1,1:a", "1,3:b"}},
        };
        for (const auto& row : rows) {
            const QStringList blocks = Describe(CExcelThread::Group(row.cells));
            QVERIFY2(blocks == row.blocks, qPrintable(blocks.join(' ')));
        }
    }

    void connectsShowsOpensThenWritesInOrder()
    {
        Link link;
        QSignalSpy connected(&link.thread, &CExcelThread::connected);
        // Cells handed over while the program starts wait for it.
        for (int row = 1; row <= 50; ++row) {
            QCOMPARE(link.thread.Put(row, 1, QByteArray::number(row)), CExcelThread::Queued);
            QCOMPARE(link.thread.Put(row, 2, "\xB5g"), CExcelThread::Queued);
        }
        link.thread.Start();
        QVERIFY(connected.wait(10000));
        QVERIFY(link.WaitForCells(100));
        QCOMPARE(link.sheet->Calls().mid(0, 3), (QStringList{"connect", "visible", "open"}));
        const QStringList cells = link.sheet->Cells();
        for (int row = 1; row <= 50; ++row) {
            QCOMPARE(cells.at(2 * (row - 1)), QStringLiteral("%1,1:%1").arg(row));
            // The program's code page reaches the sheet as Unicode.
            QCOMPARE(cells.at(2 * (row - 1) + 1), QStringLiteral("%1,2:\u00B5g").arg(row));
        }
        // Everything queued before the start went in one rectangle.
        QCOMPARE(link.sheet->Calls().count(QStringLiteral("block")), 1);
    }

    void hungProgramFillsTheQueueWithoutWaiting()
    {
        Link link(100);
        link.sheet->Hang();
        QSignalSpy connected(&link.thread, &CExcelThread::connected);
        link.thread.Start();
        QVERIFY(connected.wait(10000));
        // The first cell is taken into the hung call; then the queue fills.
        QCOMPARE(link.thread.Put(1, 1, "first"), CExcelThread::Queued);
        QVERIFY(QTest::qWaitFor([&] { return link.thread.QueuedCells() == 0; }, 10000));
        int queued = 0;
        qint64 slowest = 0;
        for (int i = 0; i < 1000; ++i) {
            QElapsedTimer one;
            one.start();
            if (link.thread.Put(2 + i, 1, "x") == CExcelThread::Queued)
                ++queued;
            slowest = qMax(slowest, one.nsecsElapsed());
        }
        QCOMPARE(queued, 100);
        QVERIFY2(slowest < 5'000'000, qPrintable(QStringLiteral("a Put took %1 ns").arg(slowest)));
        // Once the program answers again, the queued cells follow in order.
        link.sheet->Release();
        QVERIFY(link.WaitForCells(101));
        QCOMPARE(link.sheet->Cells().first(), QStringLiteral("1,1:first"));
        QCOMPARE(link.sheet->Cells().last(), QStringLiteral("101,1:x"));
    }

    void queueIsBoundedInBytesToo()
    {
        // A character takes two bytes in the queue.
        Link link(1000, 4096);
        const QByteArray big(2100, 'x');
        QCOMPARE(link.thread.Put(1, 1, big), CExcelThread::Full);
        QCOMPARE(link.thread.Put(1, 1, QByteArray(1000, 'x')), CExcelThread::Queued);
        QCOMPARE(link.thread.Put(1, 2, QByteArray(1000, 'x')), CExcelThread::Queued);
        QCOMPARE(link.thread.Put(1, 3, QByteArray(1000, 'x')), CExcelThread::Full);
    }

    void closingWithAHungProgramReturnsInTime()
    {
        auto sheet = std::make_shared<CFakeSpreadsheet>();
        sheet->Hang();
        QElapsedTimer timer;
        {
            CExcelThread thread(std::make_unique<CFakeSpreadsheetLink>(sheet));
            QSignalSpy connected(&thread, &CExcelThread::connected);
            thread.Start();
            QVERIFY(connected.wait(10000));
            thread.Put(1, 1, "stuck");
            QVERIFY(QTest::qWaitFor([&] { return thread.QueuedCells() == 0; }, 10000));
            timer.start();
        }
        QVERIFY2(timer.elapsed() < CExcelThread::StopWaitMilliseconds + 500,
                 qPrintable(QString::number(timer.elapsed())));
        // The abandoned thread finishes its call once the program answers.
        sheet->Release();
        QVERIFY(QTest::qWaitFor([&] { return sheet.use_count() == 1; }, 10000));
        QCOMPARE(sheet->Cells(), QStringList{"1,1:stuck"});
    }

    void refusedCellsAreToldOnceAndTheRestWritten()
    {
        Link link;
        link.sheet->nRefuseFromRow = 3;
        QSignalSpy refused(&link.thread, &CExcelThread::refused);
        QSignalSpy connected(&link.thread, &CExcelThread::connected);
        link.thread.Start();
        QVERIFY(connected.wait(10000));
        // One call per row, so each row is refused on its own.
        for (int row = 1; row <= 5; ++row) {
            link.thread.Put(row, 1, "v");
            QVERIFY(QTest::qWaitFor([&] { return link.thread.QueuedCells() == 0; }, 10000));
        }
        link.thread.Put(1, 2, "after");
        QVERIFY(link.WaitForCells(3));
        QVERIFY(QTest::qWaitFor([&] { return refused.size() == 1; }, 10000));
        QTest::qWait(50);
        QCOMPARE(refused.size(), 1);
        QCOMPARE(refused.first().at(0).toInt(), 3);
        QCOMPARE(link.sheet->Cells(), (QStringList{"1,1:v", "2,1:v", "1,2:after"}));
    }
};

QTEST_GUILESS_MAIN(tst_ExcelThread)
#include "tst_ExcelThread.moc"
