// Writes PNG pictures of terminal windows into the folder given as the first
// argument (default docs/screenshots): terminal-vt100.png and
// terminal-vt100-top.png, full-screen programs (vi, top) running with
// TERM=vt100 on the far end of the line, and terminal-vt52.png, a VT52 menu
// screen. The line is the slave end
// of a pseudo-terminal; the far end is played on its master end. Run
// offscreen by tools/screenshots.sh.

#include "CAppIcon.h"
#include "CMainFrame.h"
#include "COrvalisApp.h"
#include "CTermView.h"
#include "CTerminalDisplay.h"
#include "CTerminalFile.h"
#include "ResourceIds.h"

#include <QApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QMdiArea>
#include <QMdiSubWindow>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>

#include <atomic>
#include <csignal>
#include <cstdio>
#include <thread>

#include <poll.h>
#include <pty.h>
#include <sys/wait.h>
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

// Lets the windows work until the condition holds (at most five seconds).
template <class Condition>
bool WaitFor(Condition condition)
{
    QElapsedTimer timer;
    timer.start();
    while (!condition() && timer.elapsed() < 5000)
        QApplication::processEvents(QEventLoop::AllEvents, 20);
    return condition();
}

// The far end of the terminal's line: the master end of a pseudo-terminal
// whose slave end the terminal opens by name.
class CFarEnd
{
public:
    CFarEnd()
    {
        int slave = -1;
        char name[256] = {};
        if (openpty(&m_nMaster, &slave, name, nullptr, nullptr) != 0)
            return;
        ::close(slave);
        m_strSlave = name;
    }
    ~CFarEnd()
    {
        m_bStop = true;
        if (m_bridge.joinable())
            m_bridge.join();
        if (m_nChild > 0) {
            ::kill(m_nChild, SIGTERM);
            ::waitpid(m_nChild, nullptr, 0);
        }
        if (m_nProgram >= 0)
            ::close(m_nProgram);
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
    // Runs a program on a terminal of its own (24 × 80, TERM=vt100) and
    // joins it to the line: what it writes goes to the terminal window,
    // what the window sends is its input.
    bool Run(const QStringList& command)
    {
        winsize size{};
        size.ws_row = 24;
        size.ws_col = 80;
        const pid_t child = forkpty(&m_nProgram, nullptr, nullptr, &size);
        if (child < 0)
            return false;
        if (child == 0) {
            setenv("TERM", "vt100", 1);
            setenv("LC_ALL", "C", 1);
            QList<QByteArray> arguments;
            for (const QString& part : command)
                arguments.append(part.toLocal8Bit());
            std::vector<char*> argv;
            for (QByteArray& argument : arguments)
                argv.push_back(argument.data());
            argv.push_back(nullptr);
            execvp(argv[0], argv.data());
            _exit(127);
        }
        m_nChild = child;
        m_bridge = std::thread([this] { Bridge(); });
        return true;
    }

private:
    void Bridge() const
    {
        char buffer[4096];
        while (!m_bStop) {
            pollfd fds[2] = {{m_nMaster, POLLIN, 0}, {m_nProgram, POLLIN, 0}};
            if (::poll(fds, 2, 20) <= 0)
                continue;
            for (int i = 0; i < 2; ++i) {
                if (!(fds[i].revents & POLLIN))
                    continue;
                const ssize_t n = ::read(fds[i].fd, buffer, sizeof buffer);
                if (n <= 0)
                    return;
                const int to = i == 0 ? m_nProgram : m_nMaster;
                for (ssize_t done = 0; done < n;) {
                    const ssize_t w = ::write(to, buffer + done, size_t(n - done));
                    if (w <= 0)
                        return;
                    done += w;
                }
            }
        }
    }

    int m_nMaster = -1;
    int m_nProgram = -1;
    pid_t m_nChild = -1;
    QByteArray m_strSlave;
    std::thread m_bridge;
    std::atomic<bool> m_bStop{false};
};

CTerminalFile Driver(const QByteArray& connector, int emulation)
{
    CTerminalFile records;
    records.m_Comm.m_nConnector = -1;
    records.m_Comm.m_strConnector = connector;
    records.m_Comm.m_nBaudRate = 19200;
    records.m_Terminal.m_nEmulation = emulation;
    // A full-screen program ends its own lines.
    records.m_Terminal.m_bReceiveCRLF = 0;
    records.m_Terminal.m_bBlockCursor = 1;
    records.m_FunctionKeys.AppendEmptyKeys();
    const char* names[] = {"Status", "Start", "Stop", "", "", "", "", "Menu"};
    for (int i = 0; i < 8; ++i)
        records.m_FunctionKeys.m_Names[i] = names[i];
    records.m_FunctionKeys.m_bShowKeys = 1;
    return records;
}

CTermView* OpenTerminal(COrvalisApp& app, const QString& path, const CTerminalFile& records)
{
    CTerminalFile copy = records;
    if (!copy.Store(path).IsOk())
        return nullptr;
    app.m_strLastTerminalDriver = path;
    app.MainFrame()->OpenNewDocument(QStringLiteral("Terminal"));
    return qobject_cast<CTermView*>(app.MainFrame()->ActiveView());
}

void TypeText(CTermView* view, const QString& text)
{
    QTest::keyClicks(view->Display(), text);
}

// A data logger's menu as a VT52 host draws it: addressed rows, a frame in
// the graphics characters, the cursor left at the prompt.
QByteArray Vt52Menu()
{
    const auto at = [](int row, int column) { return QByteArray("\x1bY") + char(32 + row) + char(32 + column); };
    QByteArray screen = "\x1bH\x1bJ";
    screen += at(1, 24) + "DATA LOGGER DL-400   SETUP";
    screen += at(3, 16) + "\x1b" "Fl" + QByteArray(46, 'q') + "k";
    for (int row = 4; row < 14; ++row)
        screen += at(row, 16) + "x" + at(row, 63) + "x";
    screen += at(14, 16) + "m" + QByteArray(46, 'q') + "j\x1bG";
    const char* items[] = {"1  Channels ............ 8 active", "2  Interval ............ 10 s",
                           "3  Units ............... degC", "4  Alarm limits ........ on",
                           "5  Serial line ......... 9600 8N1", "6  Clock ............... 2026-03-14 09:30",
                           "7  Memory .............. 61 % free", "8  Start logging"};
    for (int i = 0; i < 8; ++i)
        screen += at(5 + i, 20) + items[i];
    screen += at(17, 16) + "Select 1-8, ESC to leave";
    screen += at(22, 0) + "DL-400 V2.11   Logging stopped   Batt 3.6 V";
    screen += at(19, 16) + "> ";
    return screen;
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
    frame->setGeometry(40, 40, 900, 660);
    bool bOk = true;

    // VT100: vi on the far end, editing a small file.
    {
        CFarEnd line;
        CTermView* view = OpenTerminal(app, QDir(home.path()).filePath(QStringLiteral("vt100.drv")),
                                       Driver(line.Slave(), 4));
        const QString sample = QDir(home.path()).filePath(QStringLiteral("logger.cfg"));
        QFile file(sample);
        if (file.open(QIODevice::WriteOnly)) {
            file.write("# DL-400 logger settings\n[channels]\nactive = 1 2 3 4 5 6 7 8\ninterval = 10\n"
                       "unit = degC\n\n[alarm]\nlow = -20.0\nhigh = 85.0\nhysteresis = 0.5\n\n[line]\n"
                       "baud = 9600\nformat = 8N1\n");
            file.close();
        }
        const bool vi = !QStandardPaths::findExecutable(QStringLiteral("vi")).isEmpty();
        const bool started = view && (vi ? line.Run({QStringLiteral("vi"), sample}) : line.Run({QStringLiteral("top")}));
        if (!started) {
            std::fprintf(stderr, "Cannot start a program on the far end\n");
            return 1;
        }
        WaitFor([view] { return view->Screen().ScreenText().join(QString()).contains(QLatin1String("unit")); });
        if (vi) {
            // Down to "interval = 10" with the cursor keys, then 10 -> 30.
            for (int i = 0; i < 3; ++i)
                QTest::keyClick(view->Display(), Qt::Key_Down);
            TypeText(view, QStringLiteral("$ciw30"));
            QTest::keyClick(view->Display(), Qt::Key_Escape);
            WaitFor([view] { return view->Screen().ScreenText().join(QString()).contains(QLatin1String("interval = 30")); });
        }
        QTest::qWait(300);
        bOk = Save(frame, folder, QStringLiteral("terminal-vt100")) && bOk;
        if (vi)
            TypeText(view, QStringLiteral(":q!\r"));
        QTest::qWait(200);
        frame->RouteCommand(ID_TERMINAL_EMULATION); // Close Terminal
    }

    // VT100: top, with its reverse-video heading, where the system has it.
    if (!QStandardPaths::findExecutable(QStringLiteral("top")).isEmpty()) {
        CFarEnd line;
        CTermView* view = OpenTerminal(app, QDir(home.path()).filePath(QStringLiteral("top.drv")),
                                       Driver(line.Slave(), 4));
        if (view && line.Run({QStringLiteral("top"), QStringLiteral("-d"), QStringLiteral("5")})) {
            WaitFor([view] { return view->Screen().ScreenText().join(QString()).contains(QLatin1String("PID")); });
            QTest::qWait(300);
            bOk = Save(frame, folder, QStringLiteral("terminal-vt100-top")) && bOk;
            TypeText(view, QStringLiteral("q"));
            QTest::qWait(200);
        }
        frame->RouteCommand(ID_TERMINAL_EMULATION);
    }

    // VT52: a menu screen drawn by the far end.
    {
        CFarEnd line;
        CTermView* view = OpenTerminal(app, QDir(home.path()).filePath(QStringLiteral("vt52.drv")),
                                       Driver(line.Slave(), 3));
        if (!view)
            return 1;
        line.Send(Vt52Menu());
        WaitFor([view] { return view->Screen().ScreenText().join(QString()).contains(QLatin1String("Batt")); });
        QTest::qWait(100);
        bOk = Save(frame, folder, QStringLiteral("terminal-vt52")) && bOk;
        frame->RouteCommand(ID_TERMINAL_EMULATION);
    }
    frame->close();
    return bOk ? 0 : 1;
}
