#include "CCommandLine.h"

#include <QDir>

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

} // namespace

CCommandLineInfo CCommandLine::Parse(const QStringList& arguments, const QString& programFolder)
{
    CCommandLineInfo info;
    for (const QString& argument : arguments) {
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
