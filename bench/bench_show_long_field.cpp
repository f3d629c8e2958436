// "orvalis-cli show" on a driver whose name is 150 MB long (a damaged or
// hostile file): the time and the peak memory of the real process, against
// the same command on an ordinary driver and against the file's size.
// Loading must hold the name once; printing must not multiply it.
//
// build/bench/bench_show_long_field [MEGABYTES]

#include "CDriverFile.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QFileInfo>
#include <QTemporaryDir>

#include <cstdio>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

constexpr double GoalMemoryPerFileByte = 2.5;
constexpr double GoalSeconds = 5.0;

struct Run
{
    double seconds = 0;
    double peakMb = 0;
    qint64 printedBytes = 0;
    int exitCode = -1;
};

// Runs the tool with its output into a file; peak memory from wait4.
Run Show(const QString& driver, const QString& output)
{
    QElapsedTimer timer;
    timer.start();
    const pid_t child = ::fork();
    if (child == 0) {
        if (!std::freopen(output.toLocal8Bit().constData(), "w", stdout))
            ::_exit(127);
        ::execl(ORVALIS_CLI, ORVALIS_CLI, "show", driver.toLocal8Bit().constData(), nullptr);
        ::_exit(127);
    }
    int status = 0;
    rusage usage {};
    ::wait4(child, &status, 0, &usage);
    Run run;
    run.seconds = double(timer.nsecsElapsed()) / 1e9;
    run.peakMb = double(usage.ru_maxrss) / 1024;
    run.exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    run.printedBytes = QFileInfo(output).size();
    return run;
}

QString Driver(const QString& path, qsizetype nameBytes)
{
    CDriverFile driver;
    driver.m_Driver.m_strName = QByteArray(nameBytes, 'N');
    driver.m_FunctionKeys.AppendEmptyKeys();
    if (!driver.Store(path).IsOk())
        qFatal("cannot write %s", qPrintable(path));
    return path;
}

} // namespace

int main(int argc, char* argv[])
{
    QCoreApplication app(argc, argv);
    const qsizetype megabytes = argc > 1 ? QByteArray(argv[1]).toLongLong() : 150;
    QTemporaryDir dir;
    const QString output = dir.filePath(QStringLiteral("shown.txt"));
    const Run reference = Show(Driver(dir.filePath(QStringLiteral("small.tbb")), 5), output);
    const QString large = Driver(dir.filePath(QStringLiteral("large.tbb")), megabytes << 20);
    const double fileMb = double(QFileInfo(large).size()) / (1 << 20);
    const Run run = Show(large, output);

    const double perFileByte = (run.peakMb - reference.peakMb) / fileMb;
    std::printf("show of an ordinary driver: %.3f s, peak %.1f MB\n", reference.seconds, reference.peakMb);
    std::printf("show of a %.0f MB name:      %.3f s, peak %.1f MB, %lld bytes printed, exit %d\n", fileMb,
                run.seconds, run.peakMb, static_cast<long long>(run.printedBytes), run.exitCode);
    std::printf("memory beyond the ordinary run per byte of the file: %.2f (goal <= %.1f)\n", perFileByte,
                GoalMemoryPerFileByte);
    std::printf("time: %.2f s (goal <= %.0f s)\n", run.seconds, GoalSeconds);
    const bool met = run.exitCode == 0 && perFileByte <= GoalMemoryPerFileByte && run.seconds <= GoalSeconds
                     && run.printedBytes < 64 * 1024;
    std::printf("%s\n", met ? "goals met" : "goals NOT met");
    return met ? 0 : 1;
}
