// orvalis-cli COMMAND [ARGUMENTS]: the subcommands are listed in the table
// below; adding one is a class derived from CCliCommand and one table line.

#include "CCaptureCommand.h"
#include "CCliCommand.h"
#include "CConnectorCommand.h"
#include "CExamplesCommand.h"
#include "CNameCommand.h"
#include "CReplayCommand.h"
#include "CScreenCommand.h"
#include "CSendCommand.h"
#include "CShowCommand.h"
#include "Version.h"

#include <QCoreApplication>
#include <QLoggingCategory>
#include <QTextStream>

#include <cstdio>
#include <memory>

namespace {

struct CCommandEntry
{
    const char* name;
    const char* arguments;
    const char* summary; // nullptr: not listed in the help
    std::unique_ptr<CCliCommand> (*make)();
};

template <class T>
std::unique_ptr<CCliCommand> Make()
{
    return std::make_unique<T>();
}

const CCommandEntry Commands[] = {
    {"show", "FILE", "print every record of a .tbb, .drv or v24print.drv file", &Make<CShowCommand>},
    {"capture", "DRIVER [--port NAME] [--cells FILE.csv] [--record FILE] [--serial N] [--key N] [--playback NAME] [--mqtt URL [--topic PREFIX]]",
     "show what the instrument sends, until Ctrl-C", &Make<CCaptureCommand>},
    {"replay", "DRIVER FILE [--cells FILE.csv]", "run recorded bytes through the driver's pipeline offline", &Make<CReplayCommand>},
    {"screen", "DRIVER.drv FILE", "show the terminal screen that received bytes leave", &Make<CScreenCommand>},
    {"set-connector", "DRIVER CONNECTOR", "point an instrument driver at another line", &Make<CConnectorCommand>},
    {"set-name", "DRIVER NAME", "rename an instrument driver (its file name becomes NAME.tbb)", &Make<CNameCommand>},
    {"send", "DRIVER [--port NAME] [--serial N] (--key N | --text TEXT | --file PATH)",
     "send a function key's command, a command text or a file", &Make<CSendCommand>},
    {"write-examples", "FOLDER", nullptr, &Make<CExamplesCommand>},
};

void PrintUsage(QTextStream& stream)
{
    stream << "usage: orvalis-cli COMMAND [ARGUMENTS]\n\ncommands:\n";
    for (const CCommandEntry& entry : Commands) {
        if (!entry.summary)
            continue;
        const QString call = QStringLiteral("%1 %2").arg(QLatin1String(entry.name), QLatin1String(entry.arguments));
        // A call too long for the column puts its summary on a line of its own.
        constexpr int column = 22;
        if (call.size() >= column)
            stream << "  " << call << "\n" << QString(column + 2, QLatin1Char(' ')) << entry.summary << "\n";
        else
            stream << "  " << qSetFieldWidth(column) << Qt::left << call << qSetFieldWidth(0) << entry.summary
                   << "\n";
    }
    stream << "\n  --version             print the version\n";
}

} // namespace

int main(int argc, char* argv[])
{
    QCoreApplication app(argc, argv);
    // The messages are the output; debug logging only when asked for
    // through QT_LOGGING_RULES.
    QLoggingCategory::setFilterRules(QStringLiteral("*.debug=false"));
    QTextStream out(stdout);
    QTextStream err(stderr);
    QStringList arguments = app.arguments().mid(1);
    if (arguments.isEmpty()) {
        PrintUsage(err);
        return CCliCommand::ExitUsage;
    }
    const QString name = arguments.takeFirst();
    if (name == "help" || name == "--help" || name == "-h") {
        PrintUsage(out);
        return CCliCommand::ExitOk;
    }
    if (name == "--version") {
        out << "orvalis-cli " << ORVALIS_VERSION << "\n";
        return CCliCommand::ExitOk;
    }
    for (const CCommandEntry& entry : Commands) {
        if (name == QLatin1String(entry.name))
            return entry.make()->Run(arguments, out, err);
    }
    err << "orvalis-cli: unknown command \"" << name << "\"\n\n";
    PrintUsage(err);
    return CCliCommand::ExitUsage;
}
