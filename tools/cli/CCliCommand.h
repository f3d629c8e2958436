#pragma once

#include <QStringList>
#include <QTextStream>

// One subcommand of orvalis-cli. main.cpp lists the commands in its table;
// a command gets the arguments after its name and returns the exit code.
class CCliCommand
{
public:
    enum ExitCode { ExitOk = 0, ExitFailed = 1, ExitUsage = 2 };

    virtual ~CCliCommand() = default;
    virtual int Run(const QStringList& arguments, QTextStream& out, QTextStream& err) = 0;
};
