// The terminal window end to end: Terminal Emulation opens a driver whose
// connector is the slave end of a pseudo-terminal, and the test plays the
// far end of the line on the master end.

#include "../core/PtyPair.h"
#include "CFrameServices.h"
#include "CFunctionKeyBar.h"
#include "CMainFrame.h"
#include "COrvalisApp.h"
#include "CTermView.h"
#include "CTerminalDisplay.h"
#include "CTerminalFile.h"
#include "CTerminalFrame.h"
#include "CTerminalPage.h"
#include "CTerminalSheet.h"
#include "FrameworkIds.h"
#include "ResourceIds.h"
#include "ScriptedDialogs.h"

#include <QCheckBox>
#include <QClipboard>
#include <QComboBox>
#include <QDir>
#include <QFile>
#include <QLineEdit>
#include <QMdiArea>
#include <QMdiSubWindow>
#include <QPushButton>
#include <QScrollBar>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QSettings>
#include <QTest>

#include <memory>

namespace {

// The main window's part, as a view sees it, without the main window.
class CFakeFrame : public CFrameServices
{
public:
    int SetFunctionKeyText(int nID, const QString& text) override
    {
        m_captions[nID] = text;
        return 1;
    }
    int GetFunctionKeyText(int nID, QString& text) const override
    {
        text = m_captions.value(nID);
        return int(text.size());
    }
    void ShowFunctionKeyBar(int bShow) override { m_bBarShown = bShow != 0; }
    void SetPaneText(int nPane, const QString& text) override { m_panes[nPane] = text; }
    QString GetPaneText(int nPane) const override { return m_panes.value(nPane); }
    QLabel* PaneWidget(int) const override { return nullptr; }
    QStatusBar* StatusBar() override { return nullptr; }
    void PostShowCount(int) override {}
    QAction* MenuItem(int, int) const override { return nullptr; }

    QHash<int, QString> m_captions;
    QHash<int, QString> m_panes;
    bool m_bBarShown = false;
};

} // namespace

class tst_TerminalWindow : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    void receivedDataReachesTheScreen_data();
    void receivedDataReachesTheScreen();
    void answersOfTheEmulationGoOnTheLine();
    void typedKeysGoToTheLineNotTheScreen_data();
    void typedKeysGoToTheLineNotTheScreen();
    void localEchoShowsTypedCharacters();
    void functionKeysSendTheirCommands();
    void optionsCancelReopensTheLine();
    void optionsOkAppliesLineEndingsAtOnceScreenAtNextOpening();
    void driverWrittenBackOnClose();
    void damagedDriverIsNotWrittenOver();
    void twoTerminalsKeepTheirOwnLinesAndDrivers();
    void frameIsSizedAndCentred();
    void lineThatCannotBeOpenedIsNamed();
    void vanishedLineIsNamedAndScreenKept_data();
    void vanishedLineIsNamedAndScreenKept();
    void copyAndPaste();
    void sendFileAndStopTransmission();
    void scrollbackStaysPutWhileScrolledUp();
    void viewNeedsOnlyTheFrameServices();

private:
    static CTerminalFile Driver(const QString& connector, int emulation = 4);
    // Writes the driver, starts the program and opens it with Terminal Emulation.
    CTermView* Open(const CTerminalFile& records, const QString& name = QStringLiteral("term.drv"));
    CTermView* OpenAnother(const CTerminalFile& records, const QString& name);
    CMainFrame* Frame() const { return m_app->MainFrame(); }
    QString Home(const QString& name) const { return QDir(m_home->path()).filePath(name); }
    static QStringList ScreenRows(CTermView* view, int count);
    QString StatusText() const { return Frame()->GetPaneText(CMainFrame::PaneMessage); }

    std::unique_ptr<QTemporaryDir> m_home;
    std::unique_ptr<CPtyPair> m_pty;
    std::unique_ptr<CScriptedDialogs> m_dialogs;
    std::unique_ptr<COrvalisApp> m_app;
};

void tst_TerminalWindow::init()
{
    m_home = std::make_unique<QTemporaryDir>();
    qputenv("ORVALIS_HOME", m_home->path().toLocal8Bit());
    m_pty = std::make_unique<CPtyPair>();
    QVERIFY(m_pty->IsOpen());
    // The program opens the slave end by its name.
    m_pty->CloseSlave();
    m_dialogs = std::make_unique<CScriptedDialogs>();
    CTermView::s_nOptionsPage = 0;
}

void tst_TerminalWindow::cleanup()
{
    m_app.reset();
    m_dialogs.reset();
    m_pty.reset();
    m_home.reset();
    qunsetenv("ORVALIS_HOME");
}

// VT100, 80 × 24, CR -> CR/LF receiving; F1 "Status" sends STAT?<CR>, F2
// has a command but no name.
CTerminalFile tst_TerminalWindow::Driver(const QString& connector, int emulation)
{
    CTerminalFile records;
    records.m_Comm.m_nConnector = -1;
    records.m_Comm.m_strConnector = connector.toLocal8Bit();
    records.m_Comm.m_nFlowControl = 0;
    records.m_Terminal.m_nEmulation = emulation;
    records.m_FunctionKeys.AppendEmptyKeys();
    records.m_FunctionKeys.m_Names[0] = "Status";
    records.m_FunctionKeys.m_Commands[0] = "STAT?\r";
    records.m_FunctionKeys.m_Commands[1] = "never sent";
    records.m_FunctionKeys.m_bShowKeys = 1;
    return records;
}

CTermView* tst_TerminalWindow::Open(const CTerminalFile& records, const QString& name)
{
    m_app = std::make_unique<COrvalisApp>(Home(QStringLiteral("Orvalis.ini")));
    if (!m_app->InitInstance({}))
        return nullptr;
    QApplication::setActiveWindow(Frame());
    return OpenAnother(records, name);
}

CTermView* tst_TerminalWindow::OpenAnother(const CTerminalFile& records, const QString& name)
{
    CTerminalFile copy = records;
    if (!copy.Store(Home(name)).IsOk())
        return nullptr;
    m_dialogs->m_openAnswers = {Home(name)};
    // With a terminal active, the command is that terminal's Close Terminal.
    Frame()->OnTerminalEmulation();
    return qobject_cast<CTermView*>(Frame()->ActiveView());
}

QStringList tst_TerminalWindow::ScreenRows(CTermView* view, int count)
{
    return view->Screen().ScreenText().mid(0, count);
}

void tst_TerminalWindow::receivedDataReachesTheScreen_data()
{
    QTest::addColumn<int>("receiveCRLF");
    QTest::addColumn<QStringList>("rows");
    QTest::newRow("CR gains a LF") << 1 << QStringList{"A", "B"};
    QTest::newRow("CR alone returns to the line start") << 0 << QStringList{"B", ""};
}

void tst_TerminalWindow::receivedDataReachesTheScreen()
{
    QFETCH(int, receiveCRLF);
    QFETCH(QStringList, rows);
    CTerminalFile records = Driver(m_pty->SlaveName());
    records.m_Terminal.m_bReceiveCRLF = receiveCRLF;
    CTermView* view = Open(records);
    QVERIFY(view);
    QVERIFY(view->m_comm.IsPortOpen());
    QCOMPARE(Frame()->CurrentMenuId(), IDR_TERMINALTYPE);
    QVERIFY(m_pty->WriteMaster("A\rB"));
    QTRY_COMPARE(ScreenRows(view, 2), rows);
}

void tst_TerminalWindow::answersOfTheEmulationGoOnTheLine()
{
    CTermView* view = Open(Driver(m_pty->SlaveName()));
    QVERIFY(view);
    QVERIFY(m_pty->WriteMaster("\x1b[5;7H\x1b[6n"));
    QByteArray answer;
    QTRY_VERIFY((answer += m_pty->ReadMaster(6, 10)) == "\x1b[5;7R");
}

void tst_TerminalWindow::typedKeysGoToTheLineNotTheScreen_data()
{
    QTest::addColumn<int>("emulation");
    QTest::addColumn<int>("sendCRLF");
    QTest::addColumn<int>("key");
    QTest::addColumn<int>("modifiers");
    QTest::addColumn<QByteArray>("sent");
    QTest::newRow("a character") << 4 << 0 << int(Qt::Key_A) << 0 << QByteArray("a");
    QTest::newRow("Enter is CR") << 4 << 0 << int(Qt::Key_Return) << 0 << QByteArray("\r");
    QTest::newRow("Enter with CR -> CR/LF sending") << 4 << 1 << int(Qt::Key_Return) << 0 << QByteArray("\r\n");
    QTest::newRow("Backspace") << 1 << 0 << int(Qt::Key_Backspace) << 0 << QByteArray("\b");
    QTest::newRow("Ctrl+C is ETX, not Copy") << 4 << 0 << int(Qt::Key_C) << int(Qt::ControlModifier) << QByteArray("\x03");
    QTest::newRow("VT100 cursor up") << 4 << 0 << int(Qt::Key_Up) << 0 << QByteArray("\x1b[A");
    QTest::newRow("VT100 F9 is PF1") << 4 << 0 << int(Qt::Key_F9) << 0 << QByteArray("\x1bOP");
    QTest::newRow("ANSI Home") << 2 << 0 << int(Qt::Key_Home) << 0 << QByteArray("\x1b[H");
    QTest::newRow("VT52 cursor left") << 3 << 0 << int(Qt::Key_Left) << 0 << QByteArray("\x1b" "D");
    QTest::newRow("TTY cursor key sends nothing") << 1 << 0 << int(Qt::Key_Up) << 0 << QByteArray();
}

void tst_TerminalWindow::typedKeysGoToTheLineNotTheScreen()
{
    QFETCH(int, emulation);
    QFETCH(int, sendCRLF);
    QFETCH(int, key);
    QFETCH(int, modifiers);
    QFETCH(QByteArray, sent);
    CTerminalFile records = Driver(m_pty->SlaveName(), emulation);
    records.m_Terminal.m_bSendCRLF = sendCRLF;
    CTermView* view = Open(records);
    QVERIFY(view);
    const QPoint cursor = view->Screen().CursorPosition();
    QTest::keyClick(view->Display(), Qt::Key(key), Qt::KeyboardModifiers(modifiers));
    QCOMPARE(m_pty->ReadMaster(sent.size() + 1, sent.isEmpty() ? 200 : 1000), sent);
    QCOMPARE(ScreenRows(view, 1), QStringList{QString()});
    QCOMPARE(view->Screen().CursorPosition(), cursor);
}

void tst_TerminalWindow::localEchoShowsTypedCharacters()
{
    CTerminalFile records = Driver(m_pty->SlaveName(), 1);
    records.m_Terminal.m_bLocalEcho = 1;
    records.m_Terminal.m_bSendCRLF = 1;
    CTermView* view = Open(records);
    QVERIFY(view);
    QTest::keyClicks(view->Display(), QStringLiteral("ok"));
    QTest::keyClick(view->Display(), Qt::Key_Return);
    QTest::keyClicks(view->Display(), QStringLiteral("x"));
    QCOMPARE(m_pty->ReadMaster(5), QByteArray("ok\r\nx"));
    QCOMPARE(ScreenRows(view, 2), (QStringList{"ok", "x"}));
}

void tst_TerminalWindow::functionKeysSendTheirCommands()
{
    CTermView* view = Open(Driver(m_pty->SlaveName()));
    QVERIFY(view);
    QVERIFY(Frame()->IsFunctionKeyBarVisible());
    QCOMPARE(Frame()->FunctionKeyBar()->Button(ID_FUNCTION_KEY_F1)->text(), QStringLiteral("Status"));
    // The F1 key on the screen is the function key, not Help.
    QTest::keyClick(view->Display(), Qt::Key_F1);
    QCOMPARE(m_pty->ReadMaster(6), QByteArray("STAT?\r"));
    QVERIFY(!Frame()->findChild<QWidget*>(QStringLiteral("CHelpWindow")));
    // The button on the bar; a key without a name beeps and sends nothing.
    QSignalSpy beeped(view, &CTermView::beeped);
    QTest::mouseClick(Frame()->FunctionKeyBar()->Button(ID_FUNCTION_KEY_F1 + 1), Qt::LeftButton);
    QCOMPARE(beeped.size(), 1);
    QCOMPARE(m_pty->ReadMaster(1, 200), QByteArray());
    QVERIFY(view->Display()->hasFocus());
}

void tst_TerminalWindow::optionsCancelReopensTheLine()
{
    CTermView* view = Open(Driver(m_pty->SlaveName()));
    QVERIFY(view);
    bool wasOpen = true;
    m_dialogs->m_onExec = [&](QDialog& dialog) {
        wasOpen = view->m_comm.IsPortOpen();
        auto* sheet = qobject_cast<CTerminalSheet*>(&dialog);
        sheet->m_pTerminalPage->m_pRows->setText(QStringLiteral("30"));
        return int(QDialog::Rejected);
    };
    QVERIFY(Frame()->RouteCommand(ID_OPTIONS));
    QVERIFY(!wasOpen);
    QVERIFY(view->m_comm.IsPortOpen());
    QCOMPARE(view->m_termParam.m_nRows, 24);
    QVERIFY(m_pty->WriteMaster("still here"));
    QTRY_COMPARE(ScreenRows(view, 1), QStringList{"still here"});
}

void tst_TerminalWindow::optionsOkAppliesLineEndingsAtOnceScreenAtNextOpening()
{
    CTermView* view = Open(Driver(m_pty->SlaveName()));
    QVERIFY(view);
    m_dialogs->m_onExec = [](QDialog& dialog) {
        auto* sheet = qobject_cast<CTerminalSheet*>(&dialog);
        CTerminalPage* page = sheet->m_pTerminalPage;
        page->m_pRows->setText(QStringLiteral("30"));
        page->m_pEmulation->setCurrentIndex(1);
        page->m_pReceiveCRLF->setChecked(false);
        page->m_pLocalEcho->setChecked(true);
        sheet->SetActivePage(2);
        // OK: every page takes its fields, as the button does.
        sheet->accept();
        return sheet->result();
    };
    QVERIFY(Frame()->RouteCommand(ID_OPTIONS));
    QCOMPARE(CTermView::s_nOptionsPage, 2);
    QCOMPARE(view->m_termParam.m_nRows, 30);
    // The screen keeps its size and emulation ...
    QCOMPARE(view->Screen().Rows(), 24);
    QCOMPARE(view->Screen().GetEmulation(), int(CTerminalScreen::EmulationVt100));
    // ... the line endings and the echo change at once.
    QVERIFY(m_pty->WriteMaster("A\rB"));
    QTRY_COMPARE(ScreenRows(view, 2), (QStringList{"B", ""}));
    QTest::keyClicks(view->Display(), QStringLiteral("z"));
    QCOMPARE(m_pty->ReadMaster(1), QByteArray("z"));
    QCOMPARE(ScreenRows(view, 1), QStringList{"Bz"});

    QVERIFY(Frame()->RouteCommand(ID_TERMINAL_EMULATION));
    QVERIFY(Frame()->MdiArea()->subWindowList().isEmpty());
    QVERIFY(!Frame()->IsFunctionKeyBarVisible());
    CTerminalFile written;
    QVERIFY(written.Load(Home(QStringLiteral("term.drv"))).IsOk());
    QCOMPARE(written.m_Terminal.m_nRows, 30);
    QCOMPARE(written.m_Terminal.m_nEmulation, 1);

    // Opened again, the screen has the new settings.
    m_dialogs->m_openAnswers = {Home(QStringLiteral("term.drv"))};
    QVERIFY(Frame()->RouteCommand(ID_TERMINAL_EMULATION));
    auto* again = qobject_cast<CTermView*>(Frame()->ActiveView());
    QVERIFY(again);
    QCOMPARE(again->Screen().Rows(), 30);
    QCOMPARE(again->Screen().GetEmulation(), int(CTerminalScreen::EmulationTty));
}

void tst_TerminalWindow::driverWrittenBackOnClose()
{
    CTermView* view = Open(Driver(m_pty->SlaveName()));
    QVERIFY(view);
    QCOMPARE(view->m_fkeys.m_Names.size(), 16);
    QVERIFY(Frame()->MdiArea()->subWindowList().first()->close());
    CTerminalFile written;
    QVERIFY(written.Load(Home(QStringLiteral("term.drv"))).IsOk());
    // Eight empty names and commands more per opening; the first eight are the keys.
    QCOMPARE(written.m_FunctionKeys.m_Names.size(), 16);
    QCOMPARE(written.m_FunctionKeys.m_Commands.size(), 16);
    QCOMPARE(written.m_FunctionKeys.GetName(0), QByteArray("Status"));
    QCOMPARE(written.m_Comm.m_strConnector, m_pty->SlaveName().toLocal8Bit());

    // A driver that does not exist gives the defaults and is created on close.
    m_dialogs->m_openAnswers = {Home(QStringLiteral("new.drv"))};
    QVERIFY(Frame()->RouteCommand(ID_TERMINAL_EMULATION));
    view = qobject_cast<CTermView*>(Frame()->ActiveView());
    QVERIFY(view);
    QCOMPARE(view->Screen().Rows(), 24);
    QCOMPARE(view->Screen().Columns(), 80);
    QCOMPARE(view->Screen().GetEmulation(), int(CTerminalScreen::EmulationAnsi));
    QVERIFY(Frame()->RouteCommand(ID_TERMINAL_EMULATION));
    QVERIFY(QFile::exists(Home(QStringLiteral("new.drv"))));
}

void tst_TerminalWindow::damagedDriverIsNotWrittenOver()
{
    QVERIFY(Open(Driver(m_pty->SlaveName())));
    QVERIFY(Frame()->RouteCommand(ID_TERMINAL_EMULATION));
    QFile file(Home(QStringLiteral("term.drv")));
    QVERIFY(file.open(QIODevice::ReadWrite));
    const QByteArray cut = file.readAll().left(40);
    QVERIFY(file.resize(0));
    QCOMPARE(file.write(cut), cut.size());
    file.close();

    m_dialogs->m_openAnswers = {file.fileName()};
    QVERIFY(Frame()->RouteCommand(ID_TERMINAL_EMULATION));
    QVERIFY(StatusText().contains(QStringLiteral("damaged at byte")));
    QVERIFY(StatusText().contains(file.fileName()));
    QVERIFY(Frame()->RouteCommand(ID_TERMINAL_EMULATION));
    QVERIFY(file.open(QIODevice::ReadOnly));
    QCOMPARE(file.readAll(), cut);
}

void tst_TerminalWindow::twoTerminalsKeepTheirOwnLinesAndDrivers()
{
    CPtyPair second;
    QVERIFY(second.IsOpen());
    second.CloseSlave();
    CTerminalFile recordsA = Driver(m_pty->SlaveName());
    recordsA.m_FunctionKeys.m_Names[0] = "A-key";
    recordsA.m_FunctionKeys.m_Commands[0] = "from A";
    CTermView* a = Open(recordsA, QStringLiteral("a.drv"));
    QVERIFY(a);
    CTerminalFile recordsB = Driver(second.SlaveName(), 3);
    recordsB.m_FunctionKeys.m_Names[0] = "B-key";
    recordsB.m_FunctionKeys.m_Commands[0] = "from B";
    CTermView* b = OpenAnother(recordsB, QStringLiteral("b.drv"));
    QVERIFY(b);
    QVERIFY(a != b);

    QVERIFY(m_pty->WriteMaster("to A"));
    QVERIFY(second.WriteMaster("to B"));
    QTRY_COMPARE(ScreenRows(a, 1), QStringList{"to A"});
    QTRY_COMPARE(ScreenRows(b, 1), QStringList{"to B"});
    QTest::keyClicks(a->Display(), QStringLiteral("a"));
    QTest::keyClick(b->Display(), Qt::Key_Up);
    QCOMPARE(m_pty->ReadMaster(1), QByteArray("a"));
    QCOMPARE(second.ReadMaster(2), QByteArray("\x1b" "A"));
    // The bar and the function keys are those of the active window.
    QCOMPARE(Frame()->FunctionKeyBar()->Button(ID_FUNCTION_KEY_F1)->text(), QStringLiteral("B-key"));
    QVERIFY(Frame()->RouteCommand(ID_FUNCTION_KEY_F1));
    QCOMPARE(second.ReadMaster(6), QByteArray("from B"));
    Frame()->MdiArea()->setActiveSubWindow(Frame()->MdiArea()->subWindowList().first());
    QCOMPARE(Frame()->FunctionKeyBar()->Button(ID_FUNCTION_KEY_F1)->text(), QStringLiteral("A-key"));

    // Closing A writes A's records into a.drv; b.drv stays as B found it
    // until B closes.
    QVERIFY(Frame()->RouteCommand(ID_TERMINAL_EMULATION));
    CTerminalFile writtenA;
    QVERIFY(writtenA.Load(Home(QStringLiteral("a.drv"))).IsOk());
    QCOMPARE(writtenA.m_FunctionKeys.GetName(0), QByteArray("A-key"));
    QCOMPARE(writtenA.m_FunctionKeys.m_Names.size(), 16);
    CTerminalFile writtenB;
    QVERIFY(writtenB.Load(Home(QStringLiteral("b.drv"))).IsOk());
    QCOMPARE(writtenB.m_FunctionKeys.m_Names.size(), 8);
    QVERIFY(second.WriteMaster(" again"));
    QTRY_COMPARE(ScreenRows(b, 1), QStringList{"to B again"});
}

void tst_TerminalWindow::frameIsSizedAndCentred()
{
    CTermView* view = Open(Driver(m_pty->SlaveName()));
    QVERIFY(view);
    QMdiSubWindow* frame = Frame()->MdiArea()->subWindowList().first();
    const auto centre = [this, frame] {
        const QSize client = Frame()->MdiArea()->viewport()->size();
        return QPoint(qMax(0, (client.width() - frame->width()) / 2), qMax(0, (client.height() - frame->height()) / 2));
    };
    // Placed when it opened.
    QCOMPARE(frame->pos(), centre());
    Frame()->resize(1600, 1200);
    view->FitFrame();
    const QSize screen = view->Display()->CellSize();
    QVERIFY(view->Display()->width() >= 80 * screen.width());
    QVERIFY(view->Display()->height() >= 24 * screen.height());
    QCOMPARE(frame->pos(), centre());
    QVERIFY(frame->pos().x() > 0 && frame->pos().y() > 0);
    // Larger than the client area: at the top left corner.
    Frame()->resize(300, 200);
    view->FitFrame();
    QCOMPARE(frame->pos(), QPoint(0, 0));
}

void tst_TerminalWindow::lineThatCannotBeOpenedIsNamed()
{
    CTermView* view = Open(Driver(QStringLiteral("/dev/orvalis-missing")));
    QVERIFY(view);
    QVERIFY(!view->m_comm.IsPortOpen());
    QVERIFY(view->LineProblem().contains(QStringLiteral("/dev/orvalis-missing")));
    QVERIFY(StatusText().contains(QStringLiteral("/dev/orvalis-missing")));
    QVERIFY(view->Display()->Notice().contains(QStringLiteral("/dev/orvalis-missing")));
}

void tst_TerminalWindow::vanishedLineIsNamedAndScreenKept_data()
{
    QTest::addColumn<bool>("reconnect");
    QTest::newRow("opened again when the device comes back") << true;
    QTest::newRow("left closed with Reconnect Automatically off") << false;
}

void tst_TerminalWindow::vanishedLineIsNamedAndScreenKept()
{
    QFETCH(bool, reconnect);
    // Through a link that survives replugging, as /dev/serial/by-id names do.
    const QString link = Home(QStringLiteral("terminal-tty"));
    QVERIFY(QFile::link(m_pty->SlaveName(), link));
    CTermView* view = Open(Driver(link));
    QVERIFY(view);
    if (!reconnect)
        QVERIFY(Frame()->RouteCommand(ID_RECONNECT));
    QCOMPARE(Frame()->QueryCommand(ID_RECONNECT).bChecked, reconnect);
    QCOMPARE(QSettings(Home(QStringLiteral("Orvalis.ini")), QSettings::IniFormat)
                 .value(QStringLiteral("term.drv/ReconnectAutomatically"), true)
                 .toBool(),
             reconnect);
    QVERIFY(m_pty->WriteMaster("last words"));
    QTRY_COMPARE(ScreenRows(view, 1), QStringList{"last words"});
    m_pty->CloseMaster();
    // The device is gone, its node with it (a stale link could meet another
    // test's pty that took the same number).
    QVERIFY(QFile::remove(link));
    QTRY_VERIFY(!view->m_comm.IsPortOpen());
    QCOMPARE(view->IsWaitingForLine(), reconnect);
    QVERIFY(view->LineProblem().contains(link));
    QVERIFY(view->Display()->Notice().contains(link));
    QCOMPARE(StatusText().endsWith(QStringLiteral("Waiting for %1\u2026").arg(link)), reconnect);
    QCOMPARE(ScreenRows(view, 1), QStringList{"last words"});
    QCOMPARE(Frame()->MdiArea()->subWindowList().size(), 1);

    CPtyPair again;
    again.CloseSlave();
    QVERIFY(QFile::link(again.SlaveName(), link));
    if (!reconnect) {
        QTest::qWait(CDeviceWatch::LongestWaitMs() + 300);
        QVERIFY(!view->m_comm.IsPortOpen());
        return;
    }
    QTRY_VERIFY_WITH_TIMEOUT(view->m_comm.IsPortOpen(), 3 * CDeviceWatch::LongestWaitMs());
    QVERIFY(StatusText().startsWith(QStringLiteral("Reconnected to %1 at ").arg(link)));
    QVERIFY(view->Display()->Notice().isEmpty());
    QVERIFY(again.WriteMaster(" and more"));
    QTRY_COMPARE(ScreenRows(view, 1), QStringList{"last words and more"});
}

void tst_TerminalWindow::copyAndPaste()
{
    CTermView* view = Open(Driver(m_pty->SlaveName()));
    QVERIFY(view);
    QVERIFY(m_pty->WriteMaster("first line\rsecond"));
    QTRY_COMPARE(ScreenRows(view, 2), (QStringList{"first line", "second"}));
    QVERIFY(!Frame()->QueryCommand(ID_EDIT_COPY).bEnabled);
    const int top = view->Screen().ScrollbackCount();
    view->Display()->Select(QPoint(6, top), QPoint(3, top + 1));
    QVERIFY(Frame()->QueryCommand(ID_EDIT_COPY).bEnabled);
    QVERIFY(Frame()->RouteCommand(ID_EDIT_COPY));
    QCOMPARE(QApplication::clipboard()->text(), QStringLiteral("line\nsec"));

    QApplication::clipboard()->setText(QStringLiteral("ls -l\nexit\n"));
    QVERIFY(Frame()->QueryCommand(ID_EDIT_PASTE).bEnabled);
    QVERIFY(Frame()->RouteCommand(ID_EDIT_PASTE));
    QCOMPARE(m_pty->ReadMaster(11), QByteArray("ls -l\rexit\r"));
}

void tst_TerminalWindow::sendFileAndStopTransmission()
{
    CTermView* view = Open(Driver(m_pty->SlaveName()));
    QVERIFY(view);
    QFile file(Home(QStringLiteral("data.txt")));
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write("line 1\r\nline 2\r\n");
    file.close();
    QVERIFY(!Frame()->QueryCommand(ID_STOP_TRANSMISSION).bEnabled);
    m_dialogs->m_openAnswers = {file.fileName()};
    QVERIFY(Frame()->RouteCommand(ID_SEND_FILE));
    QCOMPARE(view->m_bSending, 1);
    QVERIFY(Frame()->QueryCommand(ID_STOP_TRANSMISSION).bEnabled);
    QByteArray received;
    QTRY_VERIFY((received += m_pty->ReadMaster(16, 10)).size() == 16);
    QCOMPARE(received, QByteArray("line 1\r\nline 2\r\n"));
    QTRY_COMPARE(view->m_bSending, 0);
    QVERIFY(!Frame()->QueryCommand(ID_STOP_TRANSMISSION).bEnabled);
}

void tst_TerminalWindow::scrollbackStaysPutWhileScrolledUp()
{
    CTermView* view = Open(Driver(m_pty->SlaveName()));
    QVERIFY(view);
    QByteArray lines;
    for (int i = 0; i < 100; ++i)
        lines += "line " + QByteArray::number(i) + "\r";
    QVERIFY(m_pty->WriteMaster(lines));
    QTRY_COMPARE(view->Screen().ScrollbackCount(), 100 + 1 - 24);
    QScrollBar* bar = view->Display()->verticalScrollBar();
    QTRY_COMPARE(bar->maximum(), 77);
    QVERIFY(view->Display()->IsFollowing());
    bar->setValue(10);
    QVERIFY(!view->Display()->IsFollowing());
    QVERIFY(m_pty->WriteMaster("more\r"));
    QTRY_COMPARE(bar->maximum(), 78);
    QCOMPARE(view->Display()->TopLine(), 10);
    // Typing goes back to the bottom.
    QTest::keyClicks(view->Display(), QStringLiteral("q"));
    QCOMPARE(bar->value(), bar->maximum());
}

void tst_TerminalWindow::viewNeedsOnlyTheFrameServices()
{
    CTerminalFile records = Driver(m_pty->SlaveName());
    QVERIFY(records.Store(Home(QStringLiteral("alone.drv"))).IsOk());
    CFakeFrame frame;
    {
        CTermView view(&frame, Home(QStringLiteral("alone.drv")));
        view.show();
        QCOMPARE(frame.m_captions.value(ID_FUNCTION_KEY_F1), QStringLiteral("Status"));
        QVERIFY(frame.m_bBarShown);
        QVERIFY(view.OnCommand(ID_FUNCTION_KEY_F1));
        QCOMPARE(m_pty->ReadMaster(6), QByteArray("STAT?\r"));
        QVERIFY(m_pty->WriteMaster("ok"));
        QTRY_COMPARE(ScreenRows(&view, 1), QStringList{"ok"});
        QVERIFY(view.close());
        QVERIFY(!frame.m_bBarShown);
    }
    CTerminalFile written;
    QVERIFY(written.Load(Home(QStringLiteral("alone.drv"))).IsOk());
    QCOMPARE(written.m_FunctionKeys.m_Names.size(), 16);
}

QTEST_MAIN(tst_TerminalWindow)
#include "tst_TerminalWindow.moc"
