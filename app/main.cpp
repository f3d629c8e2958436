#include "COrvalisApp.h"

#include <QApplication>

int main(int argc, char* argv[])
{
    QApplication application(argc, argv);
    COrvalisApp::InitApplication();

    COrvalisApp app;
    if (!app.InitInstance(QApplication::arguments().mid(1)))
        return 1;
    // There is no automation server on this platform: a program started for
    // one has nothing to serve and ends at once.
    const int exitCode = app.RunsEmbedded() ? 0 : QApplication::exec();
    return app.ExitInstance(exitCode);
}
