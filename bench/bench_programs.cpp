// The programs a user runs, flooded through a pseudo-terminal one after the
// other, each on a fresh pair of the same kind: `cat SLAVE > file` (the
// ceiling), `orvalis-cli capture` and the desktop program's instrument
// window (offscreen), each without and with the balance script, and its
// terminal window (VT100), opened as a user opens it: Alt+T, "Terminal
// Emulation...", the driver in the file dialog. The keys go in through Qt's
// VNC platform, since the offscreen one takes no input.
//
// A run waits until the program has the slave open, writes the readings
// into the master as fast as the line takes them and ends when every byte
// was written, the slave's input queue is empty and the program's CPU time
// has stood still for IdleMs; the end is the last growth of its CPU time.
// Measured from outside, as the user sees the program: its CPU time and
// peak memory from /proc. A program that stops taking bytes, ends, or does
// not open the line is reported with the bytes it took. The machine is
// shared: every program runs once a round, the best round counts.
//
// build/bench/bench_programs [MEGABYTES] [ROUNDS]      (default 32 MB, 3 rounds)
// Exit 0 when every goal is met, 1 otherwise.

#include "CDriverFile.h"
#include "CTerminalFile.h"

#include "BenchBalance.h"
#include "CBenchProgram.h"
#include "CBenchPty.h"
#include "CBenchVncKeys.h"

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QTemporaryDir>
#include <QThread>

#include <fcntl.h>
#include <poll.h>
#include <sys/ioctl.h>

#include <csignal>
#include <cstdio>

namespace {

constexpr qsizetype DefaultMegabytes = 32;
constexpr int DefaultRounds = 3;
constexpr qsizetype ChunkSize = 64 * 1024;
constexpr int PollMs = 10;
// Startup of the desktop program on a busy machine.
constexpr int OpenTimeoutMs = 30000;
// No byte taken for this long: the program stopped reading.
constexpr int StallTimeoutMs = 10000;
// CPU time standing still this long: the program has done its work.
constexpr int IdleMs = 300;
// Still busy this long after the last byte: reported, not waited for.
constexpr int SettleLimitMs = 60000;
// A program that takes the bytes this slowly is reported, not waited for.
constexpr int FloodLimitMs = 300000;
constexpr double Megabyte = 1 << 20;

enum class Kind { Cat, Capture, Window, TerminalWindow };

struct CProgramRow
{
    const char* name;
    Kind kind;
    bool script = false;
    // Goals; 0 where a row has none.
    double goalRatio = 0; // of cat's MB/s
    double goalMbPerSecond = 0;
    double goalPeakMb = 0;
};

struct CFigures
{
    bool ran = false;
    QString problem;      // empty when the run went to its end
    qsizetype taken = -1; // bytes the program took; -1 before the flood
    double mbPerSecond = 0;
    double cpuPerMb = 0;
    double peakMb = 0;
};

struct CStart
{
    QByteArrayList arguments;
    QByteArrayList environment;
    int stopSignal = SIGTERM;
    // The terminal window: the program's VNC port and the driver to open.
    quint16 vncPort = 0;
    QByteArray terminalDriver;
};

QString Unavailable(Kind kind)
{
#ifndef ORVALIS_CLI
    if (kind == Kind::Capture)
        return QStringLiteral("not built (no orvalis-cli)");
#endif
#ifndef ORVALIS_APP
    if (kind == Kind::Window || kind == Kind::TerminalWindow)
        return QStringLiteral("not built (no desktop program)");
#endif
    Q_UNUSED(kind);
    return QString();
}

// The balance's driver on the given line; the name is that of the file.
QByteArray WriteDriver(const QString& folder, const QByteArray& slave, bool script)
{
    const QByteArray name = script ? "balance-script.tbb" : "balance-plain.tbb";
    CDriverFile driver;
    driver.m_Driver.m_strName = "Balance flood";
    driver.m_Driver.m_strFileName = name;
    driver.m_Comm.m_nConnector = -1;
    driver.m_Comm.m_strConnector = slave;
    driver.m_Comm.m_nBaudRate = 115200;
    driver.m_Comm.m_nFlowControl = 0;
    driver.m_Terminal.m_bReceiveCRLF = 0;
    driver.m_FunctionKeys.AppendEmptyKeys();
    SetBalanceScript(driver.m_Script, script);
    const QString path = QDir(folder).filePath(QString::fromLatin1(name));
    if (!driver.Store(path).IsOk())
        qFatal("cannot write %s", qPrintable(path));
    return name;
}

// A VT100 terminal on the given line; the path of the file.
QByteArray WriteTerminalDriver(const QString& folder, const QByteArray& slave)
{
    CTerminalFile driver;
    driver.m_Comm.m_nConnector = -1;
    driver.m_Comm.m_strConnector = slave;
    driver.m_Comm.m_nBaudRate = 115200;
    driver.m_Comm.m_nFlowControl = 0;
    driver.m_Terminal.m_nEmulation = 4;
    driver.m_Terminal.m_bReceiveCRLF = 0;
    driver.m_FunctionKeys.AppendEmptyKeys();
    const QString path = QDir(folder).filePath(QStringLiteral("balance.drv"));
    if (!driver.Store(path).IsOk())
        qFatal("cannot write %s", qPrintable(path));
    return path.toLocal8Bit();
}

// The desktop program's surroundings: its program folder (drivers) and its
// settings in the temporary folder.
QByteArrayList DesktopEnvironment(const QString& folder, const QByteArray& platform)
{
    return {"QT_QPA_PLATFORM=" + platform, "ORVALIS_HOME=" + folder.toLocal8Bit(),
            "XDG_CONFIG_HOME=" + QDir(folder).filePath(QStringLiteral("config")).toLocal8Bit()};
}

CStart Start(const CProgramRow& row, const QByteArray& slave, const QString& folder)
{
    CStart start;
    switch (row.kind) {
    case Kind::Cat:
        start.arguments = {"cat", slave};
        break;
    case Kind::Capture: {
#ifdef ORVALIS_CLI
        const QByteArray driver =
            QDir(folder).filePath(QString::fromLatin1(WriteDriver(folder, slave, row.script))).toLocal8Bit();
        start.arguments = {ORVALIS_CLI, "capture", driver, "--port", slave};
        // Ctrl-C, as a user ends it.
        start.stopSignal = SIGINT;
#endif
        break;
    }
    case Kind::Window:
#ifdef ORVALIS_APP
        start.arguments = {ORVALIS_APP, "/D" + WriteDriver(folder, slave, row.script)};
        start.environment = DesktopEnvironment(folder, "offscreen");
#endif
        break;
    case Kind::TerminalWindow:
#ifdef ORVALIS_APP
        // The size of the offscreen platform's screen.
        start.vncPort = CBenchVncKeys::FreePort();
        start.arguments = {ORVALIS_APP};
        start.environment =
            DesktopEnvironment(folder, "vnc:size=800x600:port=" + QByteArray::number(start.vncPort));
        start.terminalDriver = WriteTerminalDriver(folder, slave);
#endif
        break;
    }
    return start;
}

int Queued(int slave)
{
    int queued = 0;
    return ::ioctl(slave, FIONREAD, &queued) == 0 ? queued : 0;
}

// Writes the stream into the master as fast as the line takes it; the
// bytes written, fewer when the program ended, or (with the problem) when
// it stopped taking them or took them too slowly.
qsizetype Flood(int master, const QByteArray& stream, CBenchProgram& program, QString& problem)
{
    qsizetype sent = 0;
    QElapsedTimer clock;
    clock.start();
    QElapsedTimer sinceProgress;
    sinceProgress.start();
    while (sent < stream.size()) {
        if (clock.elapsed() > FloodLimitMs) {
            problem = QStringLiteral("was still reading after %1 s").arg(FloodLimitMs / 1000);
            return sent;
        }
        pollfd out{master, POLLOUT, 0};
        if (::poll(&out, 1, PollMs) > 0) {
            const ssize_t n =
                ::write(master, stream.constData() + sent, size_t(qMin(ChunkSize, stream.size() - sent)));
            if (n > 0) {
                sent += n;
                sinceProgress.restart();
                continue;
            }
        }
        if (!program.IsRunning())
            return sent;
        if (sinceProgress.elapsed() > StallTimeoutMs) {
            problem = QStringLiteral("stopped reading");
            return sent;
        }
    }
    return sent;
}

// After the last byte: waits until the slave's queue is empty and the CPU
// time has stood still for IdleMs. The end (on clock) is its last growth,
// but not before the queue was seen empty: the tick of the CPU time can
// hide the last few milliseconds. -1 when the program ends first, or with
// the problem when the end does not come.
qint64 Settle(const QElapsedTimer& clock, int slave, CBenchProgram& program, QString& problem)
{
    const qint64 floodEnd = clock.elapsed();
    qint64 ticks = program.CpuTicks();
    qint64 lastGrowth = floodEnd;
    qint64 emptySince = -1;
    int queued = Queued(slave);
    qint64 lastQueueChange = floodEnd;
    for (;;) {
        QThread::msleep(PollMs);
        const qint64 now = clock.elapsed();
        if (!program.IsRunning())
            return -1;
        const qint64 ticksNow = program.CpuTicks();
        if (ticksNow > ticks) {
            ticks = ticksNow;
            lastGrowth = now;
        }
        const int queuedNow = Queued(slave);
        if (queuedNow != queued) {
            queued = queuedNow;
            lastQueueChange = now;
        }
        if (queued == 0 && emptySince < 0)
            emptySince = now;
        if (queued == 0 && now - lastGrowth >= IdleMs)
            return qMax(lastGrowth, emptySince);
        if (queued > 0 && now - lastQueueChange > StallTimeoutMs) {
            problem = QStringLiteral("stopped reading");
            return -1;
        }
        if (now - floodEnd > SettleLimitMs) {
            problem = QStringLiteral("still busy %1 s after the last byte").arg(SettleLimitMs / 1000);
            return -1;
        }
    }
}

// The user's way to a terminal window: Alt+T, T for "Terminal Emulation...",
// the driver's path in the file dialog, Enter. Each step waits until the
// program has done the one before (its CPU time stands still). An empty
// result, or why the keys could not be typed.
QString OpenTerminal(CBenchProgram& program, const CStart& start)
{
    CBenchVncKeys keys;
    QString error;
    if (!keys.Connect(start.vncPort, OpenTimeoutMs, error))
        return error;
    program.WaitUntilIdle(IdleMs, OpenTimeoutMs);
    keys.Key(CBenchVncKeys::AltL, true);
    keys.Tap('t');
    keys.Key(CBenchVncKeys::AltL, false);
    program.WaitUntilIdle(IdleMs, OpenTimeoutMs);
    keys.Tap('t');
    program.WaitUntilIdle(IdleMs, OpenTimeoutMs);
    keys.Type(start.terminalDriver);
    keys.Tap(CBenchVncKeys::Return);
    program.WaitUntilIdle(IdleMs, OpenTimeoutMs);
    return QString();
}

// How the program ended, with the last thing it said on standard error.
QString Ending(const CBenchProgram& program, const QString& errors)
{
    QFile file(errors);
    const QByteArray said = file.open(QIODevice::ReadOnly) ? file.readAll().trimmed() : QByteArray();
    if (said.isEmpty())
        return program.HowItEnded();
    return program.HowItEnded() + QStringLiteral(" (") +
           QString::fromLocal8Bit(said.split('\n').constLast()) + ')';
}

CFigures Run(const CProgramRow& row, const QByteArray& stream, const QString& folder)
{
    CBenchPty pty;
    ::fcntl(pty.master, F_SETFL, ::fcntl(pty.master, F_GETFL) | O_NONBLOCK);
    const CStart start = Start(row, pty.path, folder);
    const QString errors = QDir(folder).filePath(QStringLiteral("errors.txt"));
    CBenchProgram program(start.arguments, start.environment,
                          QDir(folder).filePath(QStringLiteral("output.txt")).toLocal8Bit(),
                          errors.toLocal8Bit());
    CFigures figures;
    figures.ran = true;
    if (start.vncPort != 0)
        figures.problem = OpenTerminal(program, start);
    if (figures.problem.isEmpty() && !program.WaitUntilOpen(pty.path, OpenTimeoutMs))
        figures.problem = program.IsRunning()
                              ? QStringLiteral("did not open the line within %1 s").arg(OpenTimeoutMs / 1000)
                              : Ending(program, errors) + QStringLiteral(" before opening the line");
    if (!figures.problem.isEmpty())
        return figures;
    const qint64 ticksAtStart = program.CpuTicks();
    QElapsedTimer clock;
    clock.start();
    const qsizetype sent = Flood(pty.master, stream, program, figures.problem);
    const qint64 endMs = sent == stream.size() ? Settle(clock, pty.slave, program, figures.problem) : -1;
    if (!program.IsRunning())
        figures.problem = Ending(program, errors);
    figures.taken = sent - Queued(pty.slave);
    figures.peakMb = double(program.PeakKilobytes()) / 1024;
    if (endMs >= 0) {
        const double megabytes = double(stream.size()) / Megabyte;
        figures.mbPerSecond = megabytes / (double(qMax<qint64>(endMs, 1)) / 1000);
        figures.cpuPerMb =
            double(program.CpuTicks() - ticksAtStart) / CBenchProgram::TicksPerSecond() / megabytes;
    }
    program.Stop(start.stopSignal);
    return figures;
}

// The best round counts; memory at its worst, and a problem in any round.
CFigures Combine(const CFigures& kept, const CFigures& round)
{
    if (!kept.ran)
        return round;
    CFigures combined = round.mbPerSecond > kept.mbPerSecond ? round : kept;
    combined.problem = kept.problem.isEmpty() ? round.problem : kept.problem;
    combined.taken = kept.problem.isEmpty() ? round.taken : kept.taken;
    combined.peakMb = qMax(kept.peakMb, round.peakMb);
    return combined;
}

QList<CProgramRow> Rows()
{
    return {
        {"cat SLAVE > file", Kind::Cat},
        {"orvalis-cli capture, plain", Kind::Capture, false, 0.30, 50},
        // No goal with a script: the script alone, from memory, runs at
        // about the speed of the line (bench_pipeline).
        {"orvalis-cli capture, script", Kind::Capture, true},
        {"instrument window, plain", Kind::Window, false, 0.20, 0, 150},
        {"instrument window, script", Kind::Window, true, 0.12, 0, 150},
        {"terminal window", Kind::TerminalWindow},
    };
}

void PrintRow(const CProgramRow& row, const CFigures& figures, double catMbPerSecond)
{
    std::printf("%-30s", row.name);
    if (!figures.ran) {
        std::printf(" %s\n", qPrintable(Unavailable(row.kind)));
        return;
    }
    if (!figures.problem.isEmpty() && figures.taken < 0) {
        std::printf(" %s\n", qPrintable(figures.problem));
        return;
    }
    if (!figures.problem.isEmpty()) {
        std::printf(" took %.1f MB, then %s\n", double(figures.taken) / Megabyte,
                    qPrintable(figures.problem));
        return;
    }
    std::printf(" %8.1f", figures.mbPerSecond);
    if (catMbPerSecond > 0)
        std::printf(" %7.2f", figures.mbPerSecond / catMbPerSecond);
    else
        std::printf(" %7s", "-");
    std::printf(" %9.4f %9.1f\n", figures.cpuPerMb, figures.peakMb);
}

// One line per row with goals; true when they are met.
bool PrintGoals(const CProgramRow& row, const CFigures& figures, double catMbPerSecond)
{
    QString goal = QStringLiteral(">= %1 of cat").arg(row.goalRatio, 0, 'f', 2);
    if (row.goalMbPerSecond > 0)
        goal += QStringLiteral(", >= %1 MB/s").arg(row.goalMbPerSecond);
    if (row.goalPeakMb > 0)
        goal += QStringLiteral(", peak RSS < %1 MB").arg(row.goalPeakMb);
    const double ratio = catMbPerSecond > 0 ? figures.mbPerSecond / catMbPerSecond : 0;
    const bool met = figures.ran && figures.problem.isEmpty() && ratio >= row.goalRatio &&
                     figures.mbPerSecond >= row.goalMbPerSecond &&
                     (row.goalPeakMb <= 0 || figures.peakMb < row.goalPeakMb);
    const QString measured = QStringLiteral("%1, %2 MB/s, %3 MB")
                                 .arg(ratio, 0, 'f', 3)
                                 .arg(figures.mbPerSecond, 0, 'f', 1)
                                 .arg(figures.peakMb, 0, 'f', 1);
    std::printf("%-30s %-40s %-27s %s\n", row.name, qPrintable(goal), qPrintable(measured),
                met ? "met" : "NOT MET");
    return met;
}

} // namespace

int main(int argc, char* argv[])
{
    QCoreApplication app(argc, argv);
    const qsizetype megabytes = argc > 1 ? QByteArray(argv[1]).toLongLong() : DefaultMegabytes;
    const int rounds = argc > 2 ? QByteArray(argv[2]).toInt() : DefaultRounds;
    if (megabytes <= 0 || rounds <= 0) {
        std::fprintf(stderr, "usage: bench_programs [MEGABYTES] [ROUNDS]\n");
        return 2;
    }
    QTemporaryDir folder;
    const QByteArray stream = BalanceStream(megabytes << 20);
    const QList<CProgramRow> rows = Rows();
    QList<CFigures> figures(rows.size());
    // Rounds go through all programs in turn, so a busy moment of the
    // machine does not fall on one program alone.
    for (int round = 0; round < rounds; ++round) {
        for (qsizetype i = 0; i < rows.size(); ++i) {
            if (!Unavailable(rows[i].kind).isEmpty())
                continue;
            const CFigures run = Run(rows[i], stream, folder.path());
            // A long benchmark says what it is doing.
            std::fprintf(stderr, "round %d, %s: %s\n", round + 1, rows[i].name,
                         qPrintable(run.problem.isEmpty()
                                        ? QStringLiteral("%1 MB/s").arg(run.mbPerSecond, 0, 'f', 1)
                                        : run.problem));
            figures[i] = Combine(figures[i], run);
        }
    }

    const double cat = figures[0].problem.isEmpty() ? figures[0].mbPerSecond : 0;
    std::printf("%lld MB of balance readings (12-byte lines) into a pseudo-terminal per program, best of %d "
                "rounds\n\n",
                static_cast<long long>(megabytes), rounds);
    std::printf("%-30s %8s %7s %9s %9s\n", "program", "MB/s", "x cat", "CPU s/MB", "peak MB");
    for (qsizetype i = 0; i < rows.size(); ++i)
        PrintRow(rows[i], figures[i], cat);
    std::printf("\ngoals\n");
    bool allMet = true;
    for (qsizetype i = 0; i < rows.size(); ++i) {
        if (rows[i].goalRatio > 0)
            allMet = PrintGoals(rows[i], figures[i], cat) && allMet;
    }
    std::printf("%s\n", allMet ? "all goals met" : "goals NOT met");
    return allMet ? 0 : 1;
}
