// Writes docs/screenshots/calc-link.png: an instrument window receiving a
// balance's readings beside the LibreOffice Calc document it fills. Runs on
// an X display (tools/calc-screenshot.sh starts Xvfb): the office is a
// visible one of its own (private pipe and profile), its window placed on
// the left through the profile; the program's main window on the right; the
// whole screen is grabbed once Calc holds the readings.

#include "../tests/core/PtyPair.h"
#include "CDriverFile.h"
#include "CExcelOutput.h"
#include "CMainFrame.h"
#include "COrvalisApp.h"
#include "COrvalisView.h"
#include "CTestOffice.h"

#include <QApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QMdiArea>
#include <QMdiSubWindow>
#include <QScreen>
#include <QTemporaryDir>

#include <cstdio>

namespace {

constexpr int Readings = 12;

// The spreadsheet window's place for a new profile: x, y, width, height,
// state 1 (neither maximized nor minimized).
bool PlaceSpreadsheetWindow(const QString& profile, const QRect& rect)
{
    QDir().mkpath(profile + QStringLiteral("/user"));
    QFile file(profile + QStringLiteral("/user/registrymodifications.xcu"));
    if (!file.open(QIODevice::WriteOnly))
        return false;
    const QByteArray attributes = QStringLiteral("%1,%2,%3,%4;1;0,0,0,0;")
                                      .arg(rect.x())
                                      .arg(rect.y())
                                      .arg(rect.width())
                                      .arg(rect.height())
                                      .toUtf8();
    file.write("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
               "<oor:items xmlns:oor=\"http://openoffice.org/2001/registry\" "
               "xmlns:xs=\"http://www.w3.org/2001/XMLSchema\" xmlns:xsi=\"http://www.w3.org/2001/XMLSchema-instance\">\n"
               "<item oor:path=\"/org.openoffice.Setup/Office/Factories/"
               "org.openoffice.Setup:Factory['com.sun.star.sheet.SpreadsheetDocument']\">"
               "<prop oor:name=\"ooSetupFactoryWindowAttributes\" oor:op=\"fuse\"><value>"
               + attributes
               + "</value></prop></item>\n"
                 "<item oor:path=\"/org.openoffice.Office.Common/Misc\"><prop oor:name=\"FirstRun\" oor:op=\"fuse\">"
                 "<value>false</value></prop></item>\n"
                 "<item oor:path=\"/org.openoffice.Office.Common/Misc\"><prop oor:name=\"ShowTipOfTheDay\" "
                 "oor:op=\"fuse\"><value>false</value></prop></item>\n"
                 "</oor:items>\n");
    return true;
}

} // namespace

int main(int argc, char* argv[])
{
    QApplication application(argc, argv);
    const QString folder = argc > 1 ? QString::fromLocal8Bit(argv[1]) : QStringLiteral("docs/screenshots");
    const QString missing = CTestOffice::Missing();
    if (!missing.isEmpty()) {
        std::fprintf(stderr, "%s\n", qPrintable(missing));
        return 1;
    }
    const QRect screen = QGuiApplication::primaryScreen()->geometry();
    CTestOffice office;
    office.SetVisible(true);
    PlaceSpreadsheetWindow(office.ProfilePath(), QRect(0, 0, screen.width() * 2 / 5, screen.height()));
    if (!office.Start()) {
        std::fprintf(stderr, "%s\n", qPrintable(office.Error()));
        return 1;
    }
    CExcel::SetDefaultOffice(office.Office());

    CPtyPair line;
    if (!line.IsOpen())
        return 1;
    line.CloseSlave();
    // A short folder name: the status bar names the journal in it.
    QTemporaryDir home(QDir::tempPath() + QStringLiteral("/lab-XXXXXX"));
    qputenv("ORVALIS_HOME", home.path().toLocal8Bit());
    CDriverFile records;
    records.m_Driver.m_strName = "Balance XS205";
    records.m_Driver.m_strFileName = "Balance.tbb";
    records.m_Driver.m_bExcel = 1;
    records.m_Comm.m_nConnector = -1;
    records.m_Comm.m_strConnector = line.SlaveName().toLocal8Bit();
    records.m_Comm.m_nFlowControl = 0;
    // "S S     12.3456 g": the status goes, the weight and its unit become two cells.
    records.m_Script.m_bRegistered = 1;
    records.m_Script.m_strEndOfString = "<CR>";
    records.m_Script.m_InputStrings = {"S"};
    records.m_Script.m_Sequences = {std::make_shared<CStringArray>(
        CStringArray{"SkipCharacters(3)", "TrimLeft()", "ChangeSpaces(<HT>)"})};
    records.m_FunctionKeys.AppendEmptyKeys();
    records.m_FunctionKeys.m_Names[0] = "Print";
    records.m_FunctionKeys.m_Names[1] = "Tare";
    records.m_FunctionKeys.m_Names[2] = "Zero";
    records.m_FunctionKeys.m_bShowKeys = 1;
    if (!records.Store(QDir(home.path()).filePath(QStringLiteral("Balance.tbb"))).IsOk())
        return 1;

    COrvalisApp app(QDir(home.path()).filePath(QStringLiteral("Orvalis.ini")));
    app.InitInstance({QStringLiteral("/DBalance.tbb")});
    CMainFrame* frame = app.MainFrame();
    frame->setGeometry(screen.width() * 2 / 5, 0, screen.width() * 3 / 5, screen.height());
    auto* view = qobject_cast<COrvalisView*>(frame->ActiveView());
    if (!view || !view->m_pExcel)
        return 1;
    frame->MdiArea()->currentSubWindow()->showMaximized();
    QElapsedTimer waiting;
    waiting.start();
    while (view->m_pExcel->GetState() == CExcelOutput::Connecting && waiting.elapsed() < 60000)
        QApplication::processEvents(QEventLoop::AllEvents, 50);
    for (int i = 0; i < Readings; ++i) {
        const QByteArray reading = "S S     " + QByteArray::number(12.3456 + i * 0.0071, 'f', 4) + " g\r";
        if (!line.WriteMaster(reading))
            return 1;
        QElapsedTimer pause;
        pause.start();
        while (pause.elapsed() < 150)
            QApplication::processEvents(QEventLoop::AllEvents, 20);
    }
    waiting.restart();
    while (view->m_pExcel->Thread().CellsWritten() < 2 * Readings && waiting.elapsed() < 20000)
        QApplication::processEvents(QEventLoop::AllEvents, 50);
    // Calc paints on its own time; without a window manager the window
    // mapped last is on top.
    frame->raise();
    for (waiting.restart(); waiting.elapsed() < 3000;)
        QApplication::processEvents(QEventLoop::AllEvents, 50);
    const QString path = QDir(folder).filePath(QStringLiteral("calc-link.png"));
    if (!QGuiApplication::primaryScreen()->grabWindow(0).save(path)) {
        std::fprintf(stderr, "Cannot write %s\n", qPrintable(path));
        return 1;
    }
    std::printf("%s\n", qPrintable(path));
    view->GetDocument().SetModifiedFlag(false);
    frame->close();
    return 0;
}
