// The main window: start-up and exit with the profile, the function-key
// bar, the status panes, menus by active window, command routing, and the
// Connect Instrument and Terminal Emulation commands.

#include "CChildFrame.h"
#include "CFunctionKeyBar.h"
#include "CMainFrame.h"
#include "COrvalisApp.h"
#include "CStringTable.h"
#include "CTerminalFrame.h"
#include "FrameworkIds.h"
#include "ResourceIds.h"
#include "ScriptedDialogs.h"
#include "WidgetTestIncludes.h"

class tst_MainFrame : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        m_home = std::make_unique<QTemporaryDir>();
        qputenv("ORVALIS_HOME", m_home->path().toLocal8Bit());
    }

    void cleanup()
    {
        m_app.reset();
        m_home.reset();
        qunsetenv("ORVALIS_HOME");
    }

    void firstStartCopiesExamplesIntoEmptyFolder_data()
    {
        QTest::addColumn<QByteArray>("profile");
        QTest::addColumn<QString>("ownDriver");
        QTest::addColumn<QStringList>("expected");
        const QStringList examples{"Balance.tbb", "Meter.tbb"};
        QTest::newRow("first start, empty folder: the examples") << QByteArray() << QString() << examples;
        QTest::newRow("first start, the user's own driver: nothing added")
            << QByteArray() << QStringLiteral("lab.tbb") << QStringList{"lab.tbb"};
        QTest::newRow("a terminal driver counts too")
            << QByteArray() << QStringLiteral("vt.drv") << QStringList{};
        QTest::newRow("a later start: examples the user deleted stay deleted")
            << QByteArray("[Settings]\nWindow=10 20 810 620\n") << QString() << QStringList{};
    }

    void firstStartCopiesExamplesIntoEmptyFolder()
    {
        QFETCH(QByteArray, profile);
        QFETCH(QString, ownDriver);
        QFETCH(QStringList, expected);
        const QDir folder(m_home->path());
        if (!ownDriver.isEmpty()) {
            QFile own(folder.filePath(ownDriver));
            QVERIFY(own.open(QIODevice::WriteOnly));
        }
        CScriptedDialogs dialogs;
        StartApp({}, profile);
        QCOMPARE(folder.entryList({QStringLiteral("*.tbb")}, QDir::Files, QDir::Name), expected);
        if (!ownDriver.isEmpty() || !profile.isEmpty())
            return;
        // The first start asks nothing and opens no window.
        CMainFrame* frame = m_app->MainFrame();
        QVERIFY(frame->isVisible());
        QCOMPARE(frame->MdiArea()->subWindowList().size(), 0);
        QCOMPARE(dialogs.m_nOpenCalls, 0);
        // The Connect Instrument dialog opens where they are; they are the
        // examples as shipped, and the user's to change.
        m_app->MainFrame()->OnConnectInstrument();
        QCOMPARE(dialogs.m_strLastFolder, QDir::cleanPath(folder.path()));
        for (const QString& name : expected) {
            QFile copy(folder.filePath(name));
            QFile shipped(QStringLiteral(ORVALIS_SOURCE_DIR "/res/examples/") + name);
            QVERIFY(copy.permissions().testFlag(QFileDevice::WriteOwner));
            QVERIFY(copy.open(QIODevice::ReadWrite) && shipped.open(QIODevice::ReadOnly));
            QCOMPARE(copy.readAll(), shipped.readAll());
        }
    }

    void remembersItsRestoredRectangle()
    {
        StartApp({}, "[Settings]\nWindow=10 20 810 620\nLastUsedDriver=/data/lab.tbb\n");
        CMainFrame* frame = m_app->MainFrame();
        QCOMPARE(frame->geometry(), QRect(10, 20, 800, 600));
        QCOMPARE(m_app->m_strLastUsedDriver, QStringLiteral("/data/lab.tbb"));

        // Smaller than the screen, so that the maximised rectangle differs.
        frame->setGeometry(30, 40, 400, 300);
        frame->showMaximized();
        QTRY_VERIFY(frame->isMaximized());
        QTRY_VERIFY(frame->geometry() != QRect(30, 40, 400, 300));
        QVERIFY(frame->close());
        QCOMPARE(m_app->m_rcWindow, (CWindowRect{30, 40, 430, 340}));
        m_app->ExitInstance(0);
        m_app.reset();

        const CProfile profile(ProfilePath());
        QCOMPARE(profile.GetProfileString(CProfile::Settings, QStringLiteral("Window")),
                 QStringLiteral("30 40 430 340"));
        // The next start opens restored at the same place.
        StartApp();
        QVERIFY(!m_app->MainFrame()->isMaximized());
        QCOMPARE(m_app->MainFrame()->geometry(), QRect(30, 40, 400, 300));
    }

    void driversOnTheCommandLineOpenAfterShowing()
    {
        // A driver named by /D, and a terminal driver whose full path the file
        // manager passes, open without asking for a file.
        CScriptedDialogs dialogs;
        const QString instrument = m_home->filePath(QStringLiteral("Lab Balance.tbb"));
        const QString terminal = m_home->filePath(QStringLiteral("VT100.drv"));
        QVERIFY(QFile::copy(QStringLiteral(ORVALIS_SOURCE_DIR "/res/examples/Balance.tbb"), instrument));
        QVERIFY(QFile::copy(QStringLiteral(ORVALIS_TEST_DATA "/VT100.drv"), terminal));
        StartApp({QStringLiteral("/DLab Balance.tbb"), terminal});
        QCOMPARE(dialogs.m_nOpenCalls, 0);
        QCOMPARE(m_app->m_strLastUsedDriver, instrument);
        QCOMPARE(m_app->m_strLastTerminalDriver, terminal);
        const QList<QMdiSubWindow*> windows = m_app->MainFrame()->MdiArea()->subWindowList();
        QCOMPARE(windows.size(), 2);
        QVERIFY(qobject_cast<CChildFrame*>(windows.at(0)));
        QVERIFY(qobject_cast<CTerminalFrame*>(windows.at(1)));
        // Every later Connect reopens it.
        m_app->MainFrame()->OnConnectInstrument();
        QCOMPARE(dialogs.m_nOpenCalls, 0);
        QCOMPARE(m_app->MainFrame()->MdiArea()->subWindowList().size(), 3);

        QVERIFY(m_app->MainFrame()->close());
        m_app->ExitInstance(0);
        m_app.reset();
        QCOMPARE(
            CProfile(ProfilePath()).GetProfileString(CProfile::Settings, QStringLiteral("LastUsedDriver")),
            instrument);
    }

    void embeddedStartShowsNothing()
    {
        CScriptedDialogs dialogs;
        StartApp({QStringLiteral("/Automation"), QStringLiteral("/Dlab.tbb")});
        QVERIFY(m_app->RunsEmbedded());
        QVERIFY(!m_app->MainFrame()->isVisible());
        QCOMPARE(m_app->MainFrame()->MdiArea()->subWindowList().size(), 0);
        QCOMPARE(m_app->m_bConnectRequested, 0);
    }

    void connectInstrumentAndTerminalMenusAndCommandRouting()
    {
        CScriptedDialogs dialogs;
        StartApp();
        CMainFrame* frame = m_app->MainFrame();
        // Cancelled: no window, no driver; the request stays set.
        frame->OnConnectInstrument();
        QCOMPARE(dialogs.m_strLastFolder, m_app->ProgramFolder());
        QCOMPARE(dialogs.m_lastFilter.strDefaultExtension, QStringLiteral("tbb"));
        QCOMPARE(frame->MdiArea()->subWindowList().size(), 0);
        QVERIFY(m_app->m_strLastUsedDriver.isEmpty());
        QCOMPARE(m_app->m_bConnectRequested, 1);
        dialogs.m_openAnswers = {QStringLiteral("/data/lab.tbb"), QStringLiteral("/data/vt100.drv")};
        frame->RouteCommand(ID_CONNECT_INSTRUMENT);
        QCOMPARE(m_app->m_strLastUsedDriver, QStringLiteral("/data/lab.tbb"));
        QVERIFY(qobject_cast<CChildFrame*>(frame->MdiArea()->subWindowList().value(0)));
        QCOMPARE(frame->CurrentMenuId(), IDR_ORVALITYPE);
        // The window rewrites the item: its line (the default connector) did not open.
        QCOMPARE(frame->MenuItem(3, ID_CONNECT_INSTRUMENT)->text(), QStringLiteral("&Connect Instrument"));

        frame->OnTerminalEmulation();
        QCOMPARE(m_app->m_strLastTerminalDriver, QStringLiteral("/data/vt100.drv"));
        QVERIFY(qobject_cast<CTerminalFrame*>(frame->MdiArea()->subWindowList().last()));
        QCOMPARE(frame->CurrentMenuId(), IDR_TERMINALTYPE);
        QCOMPARE(frame->MenuItem(3, ID_TERMINAL_EMULATION)->text(), QStringLiteral("&Close Terminal"));
        // With a terminal window active the same command closes it, without a file dialog.
        const int asked = dialogs.m_nOpenCalls;
        QVERIFY(frame->RouteCommand(ID_TERMINAL_EMULATION));
        QTRY_COMPARE(frame->MdiArea()->subWindowList().size(), 1);
        QCOMPARE(dialogs.m_nOpenCalls, asked);

        frame->MdiArea()->closeAllSubWindows();
        QTRY_COMPARE(frame->CurrentMenuId(), IDR_MAINFRAME);
        QCOMPARE(frame->windowTitle(), QStringLiteral("Orvalis"));
        // Without a window, Terminal Emulation is the main window's file dialog.
        QVERIFY(frame->RouteCommand(ID_TERMINAL_EMULATION));
        QCOMPARE(dialogs.m_nOpenCalls, asked + 1);
    }

    void openFileRecentFilesAndBars()
    {
        CScriptedDialogs dialogs;
        StartApp({}, "[Recent%20File%20List]\nFile1=/data/old.txt\n");
        CMainFrame* frame = m_app->MainFrame();
        QCOMPARE(m_app->RecentFiles(), QStringList{"/data/old.txt"});

        // The function-key bar and the count pane.
        frame->ShowFunctionKeyBar(1);
        QTRY_VERIFY(frame->FunctionKeyBar()->isVisible());
        // Laid out at the bottom, over the full width of the window.
        QTRY_COMPARE(frame->FunctionKeyBar()->width(), frame->centralWidget()->width());

        dialogs.m_openAnswers = {QStringLiteral("/data/run 7.txt")};
        QVERIFY(frame->RouteCommand(ID_FILE_OPEN));
        auto* window = qobject_cast<CChildFrame*>(frame->MdiArea()->currentSubWindow());
        QVERIFY(window);
        QCOMPARE(window->DocumentPath(), QStringLiteral("/data/run 7.txt"));
        // An opened text is not a connection.
        QCOMPARE(m_app->m_bConnectRequested, 0);
        QCOMPARE(m_app->RecentFiles(), (QStringList{"/data/run 7.txt", "/data/old.txt"}));

        // The File menu lists them in place of "Recent File".
        QMenu* file = frame->menuBar()->actions().first()->menu();
        Q_EMIT file->aboutToShow();
        QStringList entries;
        for (const QAction* action : file->actions()) {
            if (action->isVisible() && action->data().toInt() >= ID_FILE_MRU_FILE1 &&
                action->data().toInt() < ID_FILE_MRU_FILE1 + 4)
                entries.append(action->text());
        }
        QCOMPARE(entries, (QStringList{"&1 /data/run 7.txt", "&2 /data/old.txt"}));

        QVERIFY(frame->close());
        m_app->ExitInstance(0);
        m_app.reset();
        QCOMPARE(CProfile(ProfilePath())
                     .GetProfileString(QStringLiteral("Recent File List"), QStringLiteral("File2")),
                 QStringLiteral("/data/old.txt"));
    }

private:
    void StartApp(const QStringList& arguments = {}, const QByteArray& profile = {});
    QString ProfilePath() const { return m_home->filePath(QStringLiteral("Orvalis.ini")); }

    std::unique_ptr<QTemporaryDir> m_home;
    std::unique_ptr<COrvalisApp> m_app;
};

void tst_MainFrame::StartApp(const QStringList& arguments, const QByteArray& profile)
{
    if (!profile.isEmpty()) {
        QFile file(ProfilePath());
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write(profile);
    }
    m_app = std::make_unique<COrvalisApp>(ProfilePath());
    QVERIFY(m_app->InitInstance(arguments));
}

QTEST_MAIN(tst_MainFrame)
#include "tst_MainFrame.moc"
