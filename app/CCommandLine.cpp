#include "CCommandLine.h"

#include <QDir>
#include <QFileInfo>

namespace {

// The flags of the standard parser that still mean something here; a file
// name it would collect is never opened.
void ParseStandardParameter(const QString& parameter, bool bFlag, CCommandLineInfo& info)
{
    if (!bFlag)
        return;
    if (parameter.compare(QLatin1String("Embedding"), Qt::CaseInsensitive) == 0)
        info.bEmbedding = true;
    else if (parameter.compare(QLatin1String("Automation"), Qt::CaseInsensitive) == 0)
        info.bAutomation = true;
}

// A driver opened from the desktop: the file manager passes its full path,
// which would otherwise read as a "/" option.
bool IsDriverFile(const QString& argument, QLatin1String suffix)
{
    const QFileInfo file(argument);
    return QDir::isAbsolutePath(argument) && file.isFile() && file.suffix().compare(suffix, Qt::CaseInsensitive) == 0;
}

} // namespace

CCommandLineInfo CCommandLine::Parse(const QStringList& arguments, const QString& programFolder)
{
    CCommandLineInfo info;
    for (const QString& argument : arguments) {
        if (IsDriverFile(argument, QLatin1String("tbb"))) {
            info.strDriver = argument;
            info.bDriverOnCommandLine = true;
            continue;
        }
        if (IsDriverFile(argument, QLatin1String("drv"))) {
            info.strTerminalDriver = argument;
            continue;
        }
        const bool bFlag = argument.startsWith(QLatin1Char('-')) || argument.startsWith(QLatin1Char('/'));
        const QString parameter = bFlag ? argument.mid(1) : argument;
        const QString rest = parameter.mid(1);
        if (parameter.startsWith(QLatin1Char('D'))) {
            // An absolute path stays as it is; a relative one is taken from the program folder.
            info.strDriver = QDir(programFolder).filePath(rest);
            info.bDriverOnCommandLine = true;
        } else if (parameter.startsWith(QLatin1Char('S'))) {
            if (rest == QLatin1String("minimize"))
                info.bMinimize = true;
        } else {
            ParseStandardParameter(parameter, bFlag, info);
        }
    }
    return info;
}

QString CCommandLine::Usage()
{
    return QStringLiteral(
        "usage: orvalis [OPTION]... [DRIVER]\n"
        "\n"
        "  /D<driver>    connect the instrument driver (relative to the program folder)\n"
        "  /Sminimize    start with the main window minimised\n"
        "  DRIVER        full path of an instrument driver (.tbb) to connect, or of a\n"
        "                terminal driver (.drv) to open in a terminal window\n"
        "  --version     print the version and end\n"
        "  --help        print this text and end\n"
        "\n"
        "\"-\" may stand for \"/\" (-Dlab.tbb). The program folder is ORVALIS_HOME when set,\n"
        "else the program's own folder when writable, else the user's data folder.\n");
}
