// orvalis-balance-sim: a laboratory balance on a pseudo-terminal, for trying
// out instrument drivers without hardware. Prints the slave path as its
// first line of output, then sends readings and answers commands until it
// is interrupted or has sent --count lines.

#include "CBalanceSession.h"
#include "CPtyPort.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QStringList>

#include <csignal>
#include <cstdio>
#include <random>

namespace {

volatile std::sig_atomic_t g_nStopSignal = 0;

void OnStopSignal(int signal)
{
    g_nStopSignal = signal;
}

// Parses the command line into options; false with a message on bad input.
bool ParseOptions(const QStringList& arguments, CBalanceSession::Options& options, QString& message, bool& help)
{
    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral(
        "Simulates a laboratory balance on a pseudo-terminal. The first line of output is the\n"
        "path of the terminal to connect to. Commands: SI or P (one reading), T (tare), Z (zero),\n"
        "each ended by CR; readings look like \"N     +12.345 g\" followed by CR LF."));
    parser.addOption({ { QStringLiteral("h"), QStringLiteral("help") }, QStringLiteral("Show this help.") });
    parser.addOption({ QStringLiteral("interval"),
                       QStringLiteral("Send a reading every MS milliseconds; 0 sends only on request (default 1000)."),
                       QStringLiteral("MS"), QStringLiteral("1000") });
    parser.addOption({ QStringLiteral("link"),
                       QStringLiteral("Create a symbolic link PATH to the terminal (removed at exit)."),
                       QStringLiteral("PATH") });
    parser.addOption({ QStringLiteral("count"), QStringLiteral("Stop after sending N lines."),
                       QStringLiteral("N") });
    parser.addOption({ QStringLiteral("weight"), QStringLiteral("Load on the pan in grams (default 12.345)."),
                       QStringLiteral("GRAMS"), QStringLiteral("12.345") });
    parser.addOption({ QStringLiteral("seed"), QStringLiteral("Seed of the weight drift (default: random)."),
                       QStringLiteral("N") });
    if (!parser.parse(arguments)) {
        message = parser.errorText();
        return false;
    }
    if (parser.isSet(QStringLiteral("help"))) {
        help = true;
        message = parser.helpText();
        return true;
    }
    if (!parser.positionalArguments().isEmpty()) {
        message = QStringLiteral("Unexpected argument \"%1\"").arg(parser.positionalArguments().first());
        return false;
    }
    bool ok = false;
    const QString interval = parser.value(QStringLiteral("interval"));
    options.nIntervalMs = interval.toInt(&ok);
    if (!ok || options.nIntervalMs < 0) {
        message = QStringLiteral("Bad --interval \"%1\": expected milliseconds, 0 or more").arg(interval);
        return false;
    }
    if (parser.isSet(QStringLiteral("count"))) {
        const QString count = parser.value(QStringLiteral("count"));
        options.nCount = count.toLongLong(&ok);
        if (!ok || options.nCount < 1) {
            message = QStringLiteral("Bad --count \"%1\": expected a number of lines, 1 or more").arg(count);
            return false;
        }
    }
    const QString weight = parser.value(QStringLiteral("weight"));
    options.dWeight = weight.toDouble(&ok);
    if (!ok || options.dWeight < -99999.0 || options.dWeight > 99999.0) {
        message = QStringLiteral("Bad --weight \"%1\": expected grams between -99999 and 99999").arg(weight);
        return false;
    }
    if (parser.isSet(QStringLiteral("seed"))) {
        const QString seed = parser.value(QStringLiteral("seed"));
        options.nSeed = seed.toUInt(&ok);
        if (!ok) {
            message = QStringLiteral("Bad --seed \"%1\": expected a number").arg(seed);
            return false;
        }
    } else {
        options.nSeed = std::random_device {}();
    }
    options.strLink = parser.value(QStringLiteral("link"));
    return true;
}

// SIGINT and SIGTERM are blocked except inside ppoll(), so a signal can only
// interrupt the wait and never slips in between the check and the wait.
void InstallStopSignals(sigset_t& waitMask)
{
    struct sigaction action {};
    action.sa_handler = OnStopSignal;
    sigemptyset(&action.sa_mask);
    sigaction(SIGINT, &action, nullptr);
    sigaction(SIGTERM, &action, nullptr);
    sigaction(SIGHUP, &action, nullptr);
    sigset_t blocked;
    sigemptyset(&blocked);
    sigaddset(&blocked, SIGINT);
    sigaddset(&blocked, SIGTERM);
    sigaddset(&blocked, SIGHUP);
    sigprocmask(SIG_BLOCK, &blocked, &waitMask);
    sigdelset(&waitMask, SIGINT);
    sigdelset(&waitMask, SIGTERM);
    sigdelset(&waitMask, SIGHUP);
}

} // namespace

int main(int argc, char* argv[])
{
    const QCoreApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    CBalanceSession::Options options;
    QString message;
    bool help = false;
    if (!ParseOptions(arguments, options, message, help)) {
        std::fprintf(stderr, "orvalis-balance-sim: %s\n", qPrintable(message));
        return 2;
    }
    if (help) {
        std::fputs(qPrintable(message), stdout);
        return 0;
    }
    sigset_t waitMask;
    InstallStopSignals(waitMask);
    CPtyPort port;
    if (!port.Open(message) || (!options.strLink.isEmpty() && !port.CreateLink(options.strLink, message))) {
        std::fprintf(stderr, "orvalis-balance-sim: %s\n", qPrintable(message));
        return 1;
    }
    std::printf("%s\n", qPrintable(port.SlavePath()));
    std::fflush(stdout);
    return CBalanceSession(port, options).Run(waitMask, g_nStopSignal);
}
