// Writes PNG pictures of the main window, an instrument window receiving
// readings and sending a file, every page of the settings sheets and the
// About box into the folder given as the first argument (default
// docs/screenshots). Run offscreen by tools/screenshots.sh. The instrument
// is played on the master end of a pseudo-terminal.

#include "CAboutDlg.h"
#include "CDriverFile.h"
#include "CFunctionKeyBar.h"
#include "CHelpWindow.h"
#include "CInstrumentSheet.h"
#include "CMainFrame.h"
#include "COrvalisApp.h"
#include "COrvalisView.h"
#include "CTerminalFile.h"
#include "CSerialNumberDlg.h"
#include "CTerminalSheet.h"
#include "CUserDialogs.h"
#include "ResourceIds.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QLabel>
#include <QFile>
#include <QDir>
#include <QLineEdit>
#include <QMdiArea>
#include <QMdiSubWindow>
#include <QProgressBar>
#include <QTemporaryDir>
#include <QTextStream>

#include <cstdio>
#include <atomic>
#include <thread>

#include <fcntl.h>
#include <poll.h>
#include <pty.h>
#include <unistd.h>

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

// The balance on the master end of a pseudo-terminal.
class CInstrumentEnd
{
public:
    CInstrumentEnd()
    {
        int slave = -1;
        char name[256] = {};
        if (openpty(&m_nMaster, &slave, name, nullptr, nullptr) != 0)
            return;
        ::close(slave);
        m_strSlave = name;
    }
    ~CInstrumentEnd()
    {
        StopDraining();
        if (m_nMaster >= 0)
            ::close(m_nMaster);
    }
    QByteArray Slave() const { return m_strSlave; }
    void Send(const QByteArray& bytes) const
    {
        for (qsizetype done = 0; done < bytes.size();) {
            const ssize_t n = ::write(m_nMaster, bytes.constData() + done, size_t(bytes.size() - done));
            if (n <= 0)
                return;
            done += n;
        }
    }
    // Takes what the program sends, so a file transfer runs.
    void StartDraining()
    {
        m_drain = std::thread([this] {
            char buffer[4096];
            while (!m_bStop) {
                pollfd p{m_nMaster, POLLIN, 0};
                if (::poll(&p, 1, 20) > 0 && ::read(m_nMaster, buffer, sizeof buffer) <= 0)
                    return;
            }
        });
    }
    void StopDraining()
    {
        m_bStop = true;
        if (m_drain.joinable())
            m_drain.join();
    }

private:
    int m_nMaster = -1;
    QByteArray m_strSlave;
    std::thread m_drain;
    std::atomic<bool> m_bStop{false};
};

// Answers Send File's dialog with one file.
class CChosenFile : public CUserDialogs
{
public:
    explicit CChosenFile(const QString& path)
        : m_strPath(path)
    {
        CUserDialogs::SetCurrent(this);
    }
    ~CChosenFile() override { CUserDialogs::SetCurrent(nullptr); }
    QString GetOpenFileName(QWidget*, const QString&, const CFileFilter&, const QString&) override { return m_strPath; }

private:
    QString m_strPath;
};

// Lets the window work until the condition holds (at most two seconds).
template <class Condition>
void WaitFor(Condition condition)
{
    QElapsedTimer timer;
    timer.start();
    while (!condition() && timer.elapsed() < 2000)
        QApplication::processEvents(QEventLoop::AllEvents, 20);
}

QByteArray Readings()
{
    const char* weights[] = {"+12.345", "+12.346", "+12.346", "+12.344", "+0.000", "+150.020", "+150.021",
                             "+150.019", "+150.020", "-0.002", "+75.500", "+75.501", "+75.499"};
    QByteArray lines;
    for (const char* weight : weights)
        lines += "N     " + QByteArray(weight).rightJustified(8, ' ') + " g\r\n";
    return lines;
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
    COrvalisApp::InitApplication();
    const QString folder = argc > 1 ? QString::fromLocal8Bit(argv[1]) : QStringLiteral("docs/screenshots");
    QDir().mkpath(folder);

    QTemporaryDir home;
    qputenv("ORVALIS_HOME", home.path().toLocal8Bit());
    COrvalisApp app(QDir(home.path()).filePath(QStringLiteral("Orvalis.ini")));
    app.InitInstance({});
    CMainFrame* frame = app.MainFrame();
    frame->setGeometry(40, 40, 900, 620);
    bool bOk = Save(frame, folder, QStringLiteral("main-window"));

    CInstrumentSheet instrument(frame, 0, false);
    instrument.LoadFrom(SampleInstrument());
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

    // An instrument window connected to a balance, receiving readings (last:
    // the pseudo-terminal would appear in the communication page's list).
    CInstrumentEnd balance;
    CDriverFile sample = SampleInstrument();
    sample.m_Comm.m_strConnector = balance.Slave();
    const QString driverPath = QDir(home.path()).filePath(QStringLiteral("Balance XS205.tbb"));
    sample.Store(driverPath);
    app.m_strLastUsedDriver = driverPath;
    app.m_bConnectRequested = 1;
    frame->OpenNewDocument(QStringLiteral("Orvali"));
    auto* view = qobject_cast<COrvalisView*>(frame->ActiveView());
    frame->MdiArea()->currentSubWindow()->setGeometry(10, 10, 560, 330);
    balance.Send(Readings());
    WaitFor([view] { return view && view->toPlainText().count(QLatin1Char('\n')) >= 13; });
    frame->OnShowCount(int(view ? view->Pipeline().TotalBytes() : 0));
    bOk = Save(frame, folder, QStringLiteral("main-window-instrument")) && bOk;

    // Sending a file: the progress bar over pane 1, the elapsed time in pane 4.
    QFile data(QDir(home.path()).filePath(QStringLiteral("calibration.txt")));
    if (data.open(QIODevice::WriteOnly))
        data.write(QByteArray(400 * 1024, 'c'));
    data.close();
    balance.StartDraining();
    if (view) {
        const CChosenFile chosen(data.fileName());
        frame->RouteCommand(ID_SEND_FILE);
        frame->RouteCommand(ID_FUNCTION_KEY_F1); // "Print" waits for the end of the file
        WaitFor([frame] {
            const auto* bar = frame->PaneWidget(CMainFrame::PaneCount)->findChild<QProgressBar*>();
            return bar && bar->value() >= 35;
        });
    }
    bOk = Save(frame, folder, QStringLiteral("instrument-window-sending")) && bOk;
    if (view)
        view->StopTransmission();
    WaitFor([view] { return !view || !view->IsTransferRunning(); });
    balance.StopDraining();

    // The line cannot be opened: the window says so and stays usable.
    sample.m_Comm.m_strConnector = "/dev/ttyUSB7";
    sample.Store(driverPath);
    frame->OpenNewDocument(QStringLiteral("Orvali"));
    frame->MdiArea()->currentSubWindow()->setGeometry(60, 60, 560, 330);
    bOk = Save(frame, folder, QStringLiteral("instrument-window-no-line")) && bOk;
    frame->MdiArea()->currentSubWindow()->close();
    frame->MdiArea()->setActiveSubWindow(frame->MdiArea()->subWindowList().value(0));

    // Nothing to keep: the windows close without asking.
    if (view)
        view->GetDocument().SetModifiedFlag(false);
    frame->close();
    return bOk ? 0 : 1;
}
