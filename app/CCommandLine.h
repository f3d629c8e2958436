#pragma once

#include <QString>
#include <QStringList>

// What the command line asks for. The instrument driver named with the D
// option is already joined to the program folder.
struct CCommandLineInfo
{
    QString strDriver;
    bool bDriverOnCommandLine = false;
    QString strTerminalDriver; // opened in a terminal window at start
    bool bMinimize = false;
    bool bEmbedding = false;
    bool bAutomation = false;

    // Started by another program: the main window is not shown and nothing connects.
    bool RunsEmbedded() const { return bEmbedding || bAutomation; }
};

// The program's own arguments (without the program name):
//   [-|/]D<driver>   instrument driver relative to the program folder, connected at start
//   [-|/]Sminimize   start minimised (exactly this word; any other S option is ignored)
//   -Embedding, /Automation (any case)   started by another program
//   /full/path/lab.tbb or .drv            a driver opened from the desktop
// Everything else is ignored.
class CCommandLine
{
public:
    static CCommandLineInfo Parse(const QStringList& arguments, const QString& programFolder);
    // What --help prints.
    static QString Usage();
};
