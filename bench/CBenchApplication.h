#pragma once

#include <QApplication>
#include <QLoggingCategory>

// The application of a benchmark that opens windows: offscreen unless a
// platform is given, and without the program's debug and info output, which
// would only slow the figures down.
class CBenchApplication : public QApplication
{
public:
    CBenchApplication(int& argc, char** argv)
        : QApplication(Offscreen(argc), argv)
    {
        QLoggingCategory::setFilterRules(QStringLiteral("*.debug=false\norvalis.*.info=false"));
    }

private:
    // Before the base is constructed: the platform is chosen there.
    static int& Offscreen(int& argc)
    {
        if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
            qputenv("QT_QPA_PLATFORM", "offscreen");
        return argc;
    }
};
