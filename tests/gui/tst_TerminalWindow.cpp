// The terminal window end to end: Terminal Emulation opens a driver whose
// connector is the slave end of a pseudo-terminal, and the test plays the
// far end of the line on the master end.

#include "CFunctionKeyBar.h"
#include "CTermView.h"
#include "CTerminalDisplay.h"
#include "CTerminalFile.h"
#include "CTerminalPage.h"
#include "CTerminalSheet.h"
#include "FrameworkIds.h"
#include "InstrumentWindowFixture.h"
#include "ResourceIds.h"

class tst_TerminalWindow : public QObject, public CInstrumentWindowFixture
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    void receivedDataReachesTheScreenAndAnswersGoOnTheLine();
    void typedAndFunctionKeysGoToTheLineNotTheScreen();
    void optionsCancelReopensOkAppliesLineEndingsAtOnceScreenAtNextOpening();
    void driverWrittenBackOnCloseDamagedOneNot();
    void lineThatCannotBeOpenedIsNamed();
    void vanishedLineIsNamedAndScreenKeptReopenedUnlessSwitchedOff();
    void copyPasteAndSendFile();

private:
    static CTerminalFile Driver(const QString& connector, int emulation = 4);
    // Writes the driver, starts the program and opens it with Terminal Emulation.
    CTermView* Open(const CTerminalFile& records, const QString& name = QStringLiteral("term.drv"));
    static QStringList ScreenRows(CTermView* view, int count);
};

void tst_TerminalWindow::init()
{
    InitFixture();
    CTermView::s_nOptionsPage = 0;
}

void tst_TerminalWindow::cleanup()
{
    CleanupFixture();
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
    CTerminalFile copy = records;
    if (!copy.Store(Home(name)).IsOk())
        return nullptr;
    m_dialogs->m_openAnswers = {Home(name)};
    // Terminal Emulation asks for the driver.
    Frame()->OnTerminalEmulation();
    return qobject_cast<CTermView*>(Frame()->ActiveView());
}

QStringList tst_TerminalWindow::ScreenRows(CTermView* view, int count)
{
    return view->Screen().ScreenText().mid(0, count);
}

// CR alone (CR -> CR/LF receiving off) is the options test's.
void tst_TerminalWindow::receivedDataReachesTheScreenAndAnswersGoOnTheLine()
{
    CTermView* view = Open(Driver(m_pty->SlaveName()));
    QVERIFY(view);
    QVERIFY(view->m_comm.IsPortOpen());
    QVERIFY(m_pty->WriteMaster("A\rB"));
    QTRY_COMPARE(ScreenRows(view, 2), (QStringList{"A", "B"}));
    QVERIFY(m_pty->WriteMaster("\x1b[5;7H\x1b[6n"));
    QCOMPARE(Receive(6), QByteArray("\x1b[5;7R"));
}

// Each emulation's keys are tst_TerminalScreen's; here the way from the
// screen widget to the line.
void tst_TerminalWindow::typedAndFunctionKeysGoToTheLineNotTheScreen()
{
    CTerminalFile records = Driver(m_pty->SlaveName());
    records.m_Terminal.m_bSendCRLF = 1;
    CTermView* view = Open(records);
    QVERIFY(view);
    const struct
    {
        Qt::Key key;
        Qt::KeyboardModifiers modifiers;
        QByteArray sent;
    } rows[] = {{Qt::Key_A, {}, "a"},
                {Qt::Key_Return, {}, "\r\n"},             // with CR -> CR/LF sending
                {Qt::Key_C, Qt::ControlModifier, "\x03"}, // ETX, not Copy
                {Qt::Key_Up, {}, "\x1b[A"},
                {Qt::Key_F1, {}, "STAT?\r"}}; // the function key, not Help
    for (const auto& row : rows) {
        QTest::keyClick(view->Display(), row.key, row.modifiers);
        QCOMPARE(m_pty->ReadMaster(row.sent.size()), row.sent);
    }
    QCOMPARE(ScreenRows(view, 1), QStringList{QString()});
    QVERIFY(!Frame()->findChild<QWidget*>(QStringLiteral("CHelpWindow")));
    // The button on the bar; a key without a name beeps and sends nothing.
    QCOMPARE(Frame()->FunctionKeyBar()->Button(ID_FUNCTION_KEY_F1)->text(), QStringLiteral("Status"));
    QSignalSpy beeped(view, &CTermView::beeped);
    QTest::mouseClick(Frame()->FunctionKeyBar()->Button(ID_FUNCTION_KEY_F1 + 1), Qt::LeftButton);
    QCOMPARE(beeped.size(), 1);
    QCOMPARE(m_pty->ReadMaster(1, 200), QByteArray());
    QVERIFY(view->Display()->hasFocus());
}

void tst_TerminalWindow::optionsCancelReopensOkAppliesLineEndingsAtOnceScreenAtNextOpening()
{
    CTermView* view = Open(Driver(m_pty->SlaveName()));
    QVERIFY(view);
    bool wasOpen = true;
    m_dialogs->m_onExec = [&](QDialog& dialog) {
        wasOpen = view->m_comm.IsPortOpen();
        qobject_cast<CTerminalSheet*>(&dialog)->m_pTerminalPage->m_pRows->setText(QStringLiteral("30"));
        return int(QDialog::Rejected);
    };
    QVERIFY(Frame()->RouteCommand(ID_OPTIONS));
    QVERIFY(!wasOpen);
    QVERIFY(view->m_comm.IsPortOpen());

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

void tst_TerminalWindow::driverWrittenBackOnCloseDamagedOneNot()
{
    CTermView* view = Open(Driver(m_pty->SlaveName()));
    QVERIFY(view);
    QVERIFY(Frame()->MdiArea()->subWindowList().first()->close());
    CTerminalFile written;
    QVERIFY(written.Load(Home(QStringLiteral("term.drv"))).IsOk());
    // The first eight are the keys (the eight more per opening are tst_DriverCommands').
    QCOMPARE(written.m_FunctionKeys.GetName(0), QByteArray("Status"));

    // A damaged driver is named and left as it is.
    const QString path = Home(QStringLiteral("term.drv"));
    const QByteArray cut = ReadFile(path).left(40);
    QVERIFY(WriteFile(path, cut));
    m_dialogs->m_openAnswers = {path};
    QVERIFY(Frame()->RouteCommand(ID_TERMINAL_EMULATION));
    QVERIFY(StatusText().contains(QStringLiteral("damaged at byte")));
    QVERIFY(StatusText().contains(path));
    QVERIFY(Frame()->RouteCommand(ID_TERMINAL_EMULATION));
    QCOMPARE(ReadFile(path), cut);
}

void tst_TerminalWindow::lineThatCannotBeOpenedIsNamed()
{
    const QString missing = QStringLiteral("/dev/orvalis-missing");
    CTermView* view = Open(Driver(missing));
    QVERIFY(view);
    QVERIFY(!view->m_comm.IsPortOpen());
    QVERIFY(StatusText().contains(missing));
    QVERIFY(view->Display()->Notice().contains(missing));
}

void tst_TerminalWindow::vanishedLineIsNamedAndScreenKeptReopenedUnlessSwitchedOff()
{
    // Through a link that survives replugging, as /dev/serial/by-id names do.
    const QString link = Home(QStringLiteral("terminal-tty"));
    QVERIFY(QFile::link(m_pty->SlaveName(), link));
    CTermView* view = Open(Driver(link));
    QVERIFY(view);
    QVERIFY(m_pty->WriteMaster("last words"));
    QString shown = QStringLiteral("last words");
    QTRY_COMPARE(ScreenRows(view, 1), QStringList{shown});
    std::unique_ptr<CPtyPair> line = std::move(m_pty);
    // Opened again when the device comes back; then left closed with
    // Reconnect Automatically off.
    for (const bool reconnect : {true, false}) {
        if (!reconnect)
            QVERIFY(Frame()->RouteCommand(ID_RECONNECT));
        QCOMPARE(Profile(QStringLiteral("term.drv/ReconnectAutomatically"), true).toBool(), reconnect);
        line->CloseMaster();
        // The device is gone, its node with it (a stale link could meet another
        // test's pty that took the same number).
        QVERIFY(QFile::remove(link));
        QTRY_VERIFY(!view->m_comm.IsPortOpen());
        QCOMPARE(view->IsWaitingForLine(), reconnect);
        QVERIFY(view->Display()->Notice().contains(link));
        QCOMPARE(StatusText().endsWith(QStringLiteral("Waiting for %1\u2026").arg(link)), reconnect);
        QCOMPARE(ScreenRows(view, 1), QStringList{shown});

        line = std::make_unique<CPtyPair>();
        line->CloseSlave();
        QVERIFY(QFile::link(line->SlaveName(), link));
        if (!reconnect) {
            QTest::qWait(CDeviceWatch::LongestWaitMs() + 300);
            QVERIFY(!view->m_comm.IsPortOpen());
            break;
        }
        QTRY_VERIFY_WITH_TIMEOUT(view->m_comm.IsPortOpen(), 3 * CDeviceWatch::LongestWaitMs());
        QVERIFY(StatusText().startsWith(QStringLiteral("Reconnected to %1 at ").arg(link)));
        QVERIFY(view->Display()->Notice().isEmpty());
        QVERIFY(line->WriteMaster(" and more"));
        shown += QStringLiteral(" and more");
        QTRY_COMPARE(ScreenRows(view, 1), QStringList{shown});
    }
}

void tst_TerminalWindow::copyPasteAndSendFile()
{
    CTermView* view = Open(Driver(m_pty->SlaveName()));
    QVERIFY(view);
    QVERIFY(m_pty->WriteMaster("first line\rsecond"));
    QTRY_COMPARE(ScreenRows(view, 2), (QStringList{"first line", "second"}));
    const int top = view->Screen().ScrollbackCount();
    view->Display()->Select(QPoint(6, top), QPoint(3, top + 1));
    QVERIFY(Frame()->RouteCommand(ID_EDIT_COPY));
    QCOMPARE(QApplication::clipboard()->text(), QStringLiteral("line\nsec"));

    QApplication::clipboard()->setText(QStringLiteral("ls -l\nexit\n"));
    QVERIFY(Frame()->RouteCommand(ID_EDIT_PASTE));
    QCOMPARE(m_pty->ReadMaster(11), QByteArray("ls -l\rexit\r"));

    QVERIFY(WriteFile(Home(QStringLiteral("data.txt")), "line 1\r\nline 2\r\n"));
    m_dialogs->m_openAnswers = {Home(QStringLiteral("data.txt"))};
    QVERIFY(Frame()->RouteCommand(ID_SEND_FILE));
    QVERIFY(Frame()->QueryCommand(ID_STOP_TRANSMISSION).bEnabled);
    QCOMPARE(Receive(16), QByteArray("line 1\r\nline 2\r\n"));
    QTRY_COMPARE(view->m_bSending, 0);
}

QTEST_MAIN(tst_TerminalWindow)
#include "tst_TerminalWindow.moc"
