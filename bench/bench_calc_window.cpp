// An instrument window writing into LibreOffice Calc: the desktop program
// (offscreen) on a driver with the spreadsheet switch on, its line the slave
// end of a pseudo-terminal, and a headless office of the benchmark's own
// (private pipe and profile). Each round sends READINGS readings (a weight
// and its unit, two cells a row) as fast as the line takes them, three
// times:
//   0. with the switch off, the event loop watched for a second: what the
//      window and the machine stall by themselves;
//   1. Calc answering: cells per second that reach Calc (from the first
//      reading until Calc has taken the last cell) and the longest time the
//      window's event loop did not run (a 5 ms timer measuring its lateness);
//   2. Calc hung (the office stopped with SIGSTOP): the same stall figure and
//      the rows that reach the journal.
// The machine is shared: three rounds, the best counts. At the end, how long
// closing the window takes with Calc hung.
//
// build/bench/bench_calc_window [READINGS]

#include "CBenchApplication.h"
#include "CBenchFlood.h"
#include "CBenchPty.h"
#include "CDriverFile.h"
#include "CExcel.h"
#include "CExcelOutput.h"
#include "CMainFrame.h"
#include "COrvalisApp.h"
#include "COrvalisView.h"
#include "CStallWatch.h"
#include "CTestOffice.h"

#include <QApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QTemporaryDir>

#include <climits>
#include <csignal>
#include <cstdio>
#include <thread>

#include <unistd.h>

namespace {

constexpr qint64 GoalStallMs = 50;
constexpr double GoalCellsPerSecond = 1000;
constexpr int TimerIntervalMs = 5;
constexpr int CellsPerRow = 2;
constexpr int Rounds = 3;

QByteArray Readings(int count, int first)
{
    QByteArray stream;
    for (int i = first; i < first + count; ++i)
        stream += "+" + QByteArray::number(1000 + i % 9000) + "." + QByteArray::number(i % 1000).rightJustified(3, '0')
            + "\tg\r\n";
    return stream;
}

qsizetype JournalRows(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll().count('\n') : -1;
}

struct Run
{
    double seconds = 0;      // until the window had every reading (and Calc every cell, when it answers)
    qint64 longestStallMs = 0;
    qint64 cellsInCalc = 0;  // cells Calc took during the run
    qsizetype journalRows = 0;
    bool complete = false;
};

// Sends the readings and runs the window's event loop until done(): the
// ticker measures how late the loop gets.
template<typename Done>
Run Measure(CBenchPty& pty, COrvalisView* view, const QByteArray& stream, Done done)
{
    Run run;
    const qint64 cellsBefore = view->m_pExcel->Thread().CellsWritten();
    QElapsedTimer clock;
    CStallWatch watch(TimerIntervalMs);
    clock.start();
    std::thread writer = BenchFlood::Write(pty.master, stream);
    watch.Run(120000, [&](qint64) { return done(); });
    run.seconds = clock.nsecsElapsed() / 1e9;
    run.longestStallMs = watch.LongestMs();
    writer.join();
    // The last pass's cells are handed on once the event loop runs again.
    QApplication::processEvents();
    run.complete = done();
    run.cellsInCalc = view->m_pExcel->Thread().CellsWritten() - cellsBefore;
    run.journalRows = JournalRows(view->m_pExcel->JournalPath());
    return run;
}

} // namespace

int main(int argc, char* argv[])
{
    CBenchApplication application(argc, argv);
    const int readings = argc > 1 ? QByteArray(argv[1]).toInt() : 10000;
    const QString missing = CTestOffice::Missing();
    if (!missing.isEmpty()) {
        std::printf("skipped: %s\n", qPrintable(missing));
        return 0;
    }
    CTestOffice office;
    if (!office.Start()) {
        std::fprintf(stderr, "%s\n", qPrintable(office.Error()));
        return 1;
    }
    CExcel::SetDefaultOffice(office.Office());
    QTemporaryDir home;
    qputenv("ORVALIS_HOME", home.path().toLocal8Bit());
    CBenchPty pty;
    CDriverFile records;
    records.m_Driver.m_strName = "Balance";
    records.m_Driver.m_strFileName = "balance.tbb";
    records.m_Driver.m_bExcel = 1;
    records.m_Comm.m_nConnector = -1;
    records.m_Comm.m_strConnector = pty.path;
    records.m_Comm.m_nFlowControl = 0;
    records.m_Terminal.m_bReceiveCRLF = 0;
    if (!records.Store(QDir(home.path()).filePath(QStringLiteral("balance.tbb"))).IsOk())
        return 1;
    COrvalisApp app(QDir(home.path()).filePath(QStringLiteral("Orvalis.ini")));
    app.InitInstance({QStringLiteral("/Dbalance.tbb")});
    auto* view = qobject_cast<COrvalisView*>(app.MainFrame()->ActiveView());
    if (!view || !view->m_pExcel) {
        std::fprintf(stderr, "the window did not open with its link\n");
        return 1;
    }
    QElapsedTimer connecting;
    connecting.start();
    while (view->m_pExcel->GetState() == CExcelOutput::Connecting && connecting.elapsed() < 60000)
        QApplication::processEvents(QEventLoop::AllEvents, 50);
    if (view->m_pExcel->GetState() != CExcelOutput::Linked) {
        std::fprintf(stderr, "the window did not reach Calc: %s\n",
                     qPrintable(app.MainFrame()->GetPaneText(CMainFrame::PaneMessage)));
        return 1;
    }

    // Rounds of: the readings with the switch off, the loop watched for a
    // second (what the window and the machine stall by themselves); into
    // Calc; into Calc hung. The machine is shared: the best round counts.
    const qint64 cells = qint64(readings) * CellsPerRow;
    qint64 bestBaselineMs = LLONG_MAX;
    qint64 bestAnsweringMs = LLONG_MAX;
    qint64 bestHungMs = LLONG_MAX;
    double bestCellsPerSecond = 0;
    qsizetype journalRows = 0;
    for (int round = 1; round <= Rounds; ++round) {
        view->m_driver.m_bExcel = 0;
        const qint64 shownFirst = view->Pipeline().TotalBytes();
        const QByteArray plain = Readings(readings, 0);
        QElapsedTimer watched;
        watched.start();
        const Run baseline = Measure(pty, view, plain, [&] {
            return view->Pipeline().TotalBytes() - shownFirst >= plain.size() && watched.elapsed() >= 1000;
        });
        view->m_driver.m_bExcel = 1;
        std::printf("round %d, switch off: %d readings, event loop watched for %.2f s; longest stall %lld ms\n", round,
                    readings, baseline.seconds, baseline.longestStallMs);

        const qint64 cellsBefore = view->m_pExcel->Thread().CellsWritten();
        const Run answering = Measure(pty, view, Readings(readings, 0), [&] {
            return view->m_pExcel->Thread().CellsWritten() - cellsBefore >= cells;
        });
        const double cellsPerSecond = answering.complete ? answering.cellsInCalc / answering.seconds : 0;
        std::printf("round %d, Calc answering: %lld cells in Calc in %.2f s: %.0f rows/s, %.0f cells/s; "
                    "longest stall %lld ms\n",
                    round, answering.cellsInCalc, answering.seconds, cellsPerSecond / CellsPerRow, cellsPerSecond,
                    answering.longestStallMs);

        ::kill(pid_t(office.ProcessId()), SIGSTOP);
        const qint64 shownBefore = view->Pipeline().TotalBytes();
        const QByteArray more = Readings(readings, readings);
        const Run hung = Measure(pty, view, more, [&] {
            return view->Pipeline().TotalBytes() - shownBefore >= more.size();
        });
        std::printf("round %d, Calc hung: %d readings through the window in %.2f s; longest stall %lld ms; "
                    "status \"%s\"\n",
                    round, readings, hung.seconds, hung.longestStallMs,
                    qPrintable(app.MainFrame()->GetPaneText(CMainFrame::PaneMessage)));
        journalRows = hung.journalRows;
        bestBaselineMs = qMin(bestBaselineMs, baseline.longestStallMs);
        bestAnsweringMs = qMin(bestAnsweringMs, answering.longestStallMs);
        bestHungMs = qMin(bestHungMs, hung.longestStallMs);
        bestCellsPerSecond = qMax(bestCellsPerSecond, cellsPerSecond);
        if (round == Rounds)
            break;
        // Calc answers again and takes what waited before the next round.
        ::kill(pid_t(office.ProcessId()), SIGCONT);
        QElapsedTimer draining;
        draining.start();
        while (view->m_pExcel->Thread().QueuedCells() > 0 && draining.elapsed() < 60000)
            QApplication::processEvents(QEventLoop::AllEvents, 50);
    }
    view->GetDocument().SetModifiedFlag(false);
    QElapsedTimer closing;
    closing.start();
    app.MainFrame()->close();
    const qint64 closeMs = closing.elapsed();
    std::printf("closing the window with Calc hung: %lld ms\n", closeMs);
    ::kill(pid_t(office.ProcessId()), SIGCONT);

    std::printf("best of %d rounds: %.0f cells/s into Calc; longest stall %lld ms switch off, %lld ms Calc "
                "answering, %lld ms Calc hung\n",
                Rounds, bestCellsPerSecond, bestBaselineMs, bestAnsweringMs, bestHungMs);
    const bool rate = bestCellsPerSecond >= GoalCellsPerSecond;
    const bool stall = bestAnsweringMs <= GoalStallMs && bestHungMs <= GoalStallMs;
    const bool journal = journalRows == qsizetype(2) * readings * Rounds;
    std::printf("goal >= %.0f cells/s into Calc: %s\n", GoalCellsPerSecond, rate ? "met" : "NOT met");
    std::printf("goal event-loop stall <= %lld ms, Calc answering or hung: %s\n", GoalStallMs, stall ? "met" : "NOT met");
    std::printf("every row in the journal (%lld): %s\n", qlonglong(journalRows), journal ? "yes" : "NO");
    return rate && stall && journal ? 0 : 2;
}
