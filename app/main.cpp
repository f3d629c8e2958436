#include "CCommandLine.h"
#include "COrvalisApp.h"
#include "Version.h"

#include <QApplication>

#include <cstdio>
#include <cstring>

namespace {

// --version and --help answer on standard output without a display.
bool AnswersAlone(int argc, char* argv[])
{
    for (int i = 1; i < argc; ++i) {
        if (std::strcmp(argv[i], "--version") == 0) {
            std::printf("orvalis %s\n", ORVALIS_VERSION);
            return true;
        }
        if (std::strcmp(argv[i], "--help") == 0) {
            std::fputs(CCommandLine::Usage().toLocal8Bit().constData(), stdout);
            return true;
        }
    }
    return false;
}

} // namespace

int main(int argc, char* argv[])
{
    if (AnswersAlone(argc, argv))
        return 0;
    QApplication application(argc, argv);
#include "CCommandLine.h"

    COrvalisApp app;
    if (!app.InitInstance(QApplication::arguments().mid(1)))
        return 1;
    // There is no automation server on this platform: a program started for
    // one has nothing to serve and ends at once.
    const int exitCode = app.RunsEmbedded() ? 0 : QApplication::exec();
    return app.ExitInstance(exitCode);
}
