// Writes PNG pictures of the main window, every page of the settings sheets
// and the About box into the folder given as the first argument (default
// docs/screenshots). Run offscreen by tools/screenshots.sh.

#include "CAboutDlg.h"
#include "CAppIcon.h"
#include "CDriverFile.h"
#include "CFunctionKeyBar.h"
#include "CHelpWindow.h"
#include "CInstrumentSheet.h"
#include "CMainFrame.h"
#include "COrvalisApp.h"
#include "CTerminalFile.h"
#include "CSerialNumberDlg.h"
#include "CTerminalSheet.h"
#include "ResourceIds.h"

#include <QApplication>
#include <QDir>
#include <QLineEdit>
#include <QMdiArea>
#include <QMdiSubWindow>
#include <QTemporaryDir>
#include <QTextStream>

#include <cstdio>

namespace {

bool Save(QWidget* widget, const QString& folder, const QString& name)
{
    QApplication::processEvents();
    const QString path = QDir(folder).filePath(name + QStringLiteral(".png"));
    if (!widget->grab().save(path)) {
        std::fprintf(stderr, "Cannot write %s\n", qPrintable(path));
        return false;
    }
    std::printf("%s\n", qPrintable(path));
    return true;
}

CDriverFile SampleInstrument()
{
    CDriverFile records;
    records.m_Driver.m_strName = "Balance XS205";
    records.m_Driver.m_strFileName = "Balance XS205.tbb";
    records.m_Comm.m_strConnector = "COM1";
    records.m_Comm.m_nConnector = -1;
    records.m_FunctionKeys.AppendEmptyKeys();
    const char* names[] = {"Print", "Zero", "Tare", "Unit", "", "", "", "Reset"};
    const char* commands[] = {"P\r\n", "Z\r\n", "T\r\n", "U\r\n", "", "", "", "@\r\n"};
    for (int i = 0; i < 8; ++i) {
        records.m_FunctionKeys.m_Names[i] = names[i];
        records.m_FunctionKeys.m_Commands[i] = commands[i];
    }
    records.m_FunctionKeys.m_bShowKeys = 1;
    // "N     +12.345 g" readings: the weight without its label and blanks.
    records.m_Script.m_bRegistered = 1;
    records.m_Script.m_strEndOfString = "<LF>";
    records.m_Script.m_InputStrings = {"N     +12.345 g<CR><LF>"};
    records.m_Script.m_Sequences = {std::make_shared<CStringArray>(CStringArray{"SkipCharacters(1)", "TrimLeft()"})};
    return records;
}

bool SaveSheet(CPropSheet& sheet, const QString& folder, const QStringList& names)
{
    sheet.show();
    bool bOk = true;
    for (int i = 0; i < sheet.GetPageCount() && i < names.size(); ++i) {
        sheet.SetActivePage(i);
        bOk = Save(&sheet, folder, names.at(i)) && bOk;
    }
    sheet.hide();
    return bOk;
}

} // namespace

int main(int argc, char* argv[])
{
    QApplication application(argc, argv);
    QApplication::setApplicationName(QStringLiteral("Orvalis"));
    QApplication::setWindowIcon(CAppIcon::Icon());
    const QString folder = argc > 1 ? QString::fromLocal8Bit(argv[1]) : QStringLiteral("docs/screenshots");
    QDir().mkpath(folder);

    QTemporaryDir home;
    qputenv("ORVALIS_HOME", home.path().toLocal8Bit());
    COrvalisApp app(QDir(home.path()).filePath(QStringLiteral("Orvalis.ini")));
    app.InitInstance({});
    CMainFrame* frame = app.MainFrame();
    frame->setGeometry(40, 40, 900, 620);
    bool bOk = Save(frame, folder, QStringLiteral("main-window"));

    // An instrument window with its function keys, as the instrument window shows them.
    app.m_strLastUsedDriver = QDir(home.path()).filePath(QStringLiteral("Balance XS205.tbb"));
    frame->OpenNewDocument(QStringLiteral("Orvali"));
    const CDriverFile sample = SampleInstrument();
    for (int i = 0; i < CFunctionKeyBar::ButtonCount; ++i)
        frame->SetFunctionKeyText(CFunctionKeyBar::FirstId + i, QString::fromLatin1(sample.m_FunctionKeys.GetName(i)));
    frame->ShowFunctionKeyBar(1);
    frame->OnShowCount(1234);
    bOk = Save(frame, folder, QStringLiteral("main-window-instrument")) && bOk;

    CInstrumentSheet instrument(frame, 0, false);
    instrument.LoadFrom(sample);
    bOk = SaveSheet(instrument, folder,
                    {QStringLiteral("page-general"), QStringLiteral("page-communication"),
                     QStringLiteral("page-instrument-settings"), QStringLiteral("page-function-keys"),
                     QStringLiteral("page-script")}) && bOk;

    CTerminalFile terminalRecords;
    terminalRecords.m_FunctionKeys.AppendEmptyKeys();
    CTerminalSheet terminal(frame, 0);
    terminal.LoadFrom(terminalRecords);
    terminal.show();
    terminal.SetActivePage(1);
    bOk = Save(&terminal, folder, QStringLiteral("page-terminal-settings")) && bOk;
    terminal.hide();

    CSerialNumberDlg serialNumber(frame);
    serialNumber.show();
    bOk = Save(&serialNumber, folder, QStringLiteral("serial-number")) && bOk;
    serialNumber.hide();

    CAboutDlg about(frame);
    about.show();
    bOk = Save(&about, folder, QStringLiteral("about-box")) && bOk;
    about.hide();

    CHelpWindow* help = CHelpWindow::ShowManual(frame);
    help->resize(760, 600);
    bOk = Save(help, folder, QStringLiteral("help-window")) && bOk;
    help->close();

    frame->close();
    return bOk ? 0 : 1;
}
