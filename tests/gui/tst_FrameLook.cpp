// How the main window looks and answers the keyboard: titles, the Window
// menu, mnemonics, a long line problem, the help window and the access keys
// of the questions.

#include "CDriverFile.h"
#include "CHelpWindow.h"
#include "CMainFrame.h"
#include "COrvalisApp.h"
#include "COrvalisView.h"
#include "FrameworkIds.h"
#include "ResourceIds.h"
#include "ScriptedDialogs.h"
#include "WidgetTestIncludes.h"

#include <QAbstractButton>
#include <QScreen>
#include <QTextBrowser>
#include <QTimer>

class tst_FrameLook : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        m_home = std::make_unique<QTemporaryDir>();
        qputenv("ORVALIS_HOME", m_home->path().toLocal8Bit());
        m_dialogs = std::make_unique<CScriptedDialogs>();
    }

    void cleanup()
    {
        m_app.reset();
        m_dialogs.reset();
        m_home.reset();
        qunsetenv("ORVALIS_HOME");
    }

    void titlesNameTheProgramOnceAndWindowMenuListsAndCascadesTheWindows()
    {
        COrvalisApp::InitApplication(); // as main() does
        StartApp();
        QVERIFY(OpenText(QStringLiteral("R&D.txt")));
        QCOMPARE(Frame()->windowTitle(), QStringLiteral("Orvalis - R&D.txt"));
        QVERIFY(Frame()->OpenNewDocument(QStringLiteral("Orvali")));
        QCOMPARE(Frame()->windowTitle(), QStringLiteral("Orvalis - Orvali2"));

        // The Window menu lists them, the active one checked.
        QMenu* windowMenu = Frame()->menuBar()->actions().at(5)->menu();
        const auto entries = [windowMenu] {
            Q_EMIT windowMenu->aboutToShow();
            QList<QAction*> listed;
            for (QAction* action : windowMenu->actions()) {
                if (action->isCheckable())
                    listed.append(action);
            }
            return listed;
        };
        QList<QAction*> listed = entries();
        QCOMPARE(listed.size(), 2);
        QCOMPARE(listed.at(0)->text(), QStringLiteral("&1 R&&D.txt"));
        QVERIFY(listed.at(1)->isChecked());
        // Back to the saved text: the title follows; shown again, the list is made anew.
        listed.at(0)->trigger();
        QCOMPARE(Frame()->windowTitle(), QStringLiteral("Orvalis - R&D.txt"));
        QVERIFY(entries().at(0)->isChecked());

        // Cascaded, three windows stay readable.
        Frame()->setGeometry(0, 0, 1000, 760);
        QVERIFY(Frame()->OpenNewDocument(QStringLiteral("Orvali")));
        QMdiSubWindow* active = Frame()->MdiArea()->activeSubWindow();
        QVERIFY(Frame()->RouteCommand(ID_WINDOW_CASCADE));
        // The rectangles are CascadeRects'; here the windows take them: at
        // least three quarters of the area each way (both sizes shown on failure).
        const QSize area = Frame()->MdiArea()->viewport()->size();
        const QSize least(area.width() * 3 / 4, area.height() * 3 / 4);
        QCOMPARE(active->size().expandedTo(least), active->size());
        QCOMPARE(Frame()->MdiArea()->subWindowList(QMdiArea::StackingOrder).last(), active);
    }

    void longLineProblemShownWholeAndHelpWindowFitsTheScreen()
    {
        StartApp();
        CDriverFile driver;
        driver.m_Comm.m_nConnector = -1;
        driver.m_Comm.m_strConnector =
            "/dev/serial/by-id/usb-Prolific_Technology_Inc._USB-Serial_Controller_D-"
            "if00-port0-of-the-balance-in-room-4711-next-to-the-window";
        const QString path = QDir(m_home->path()).filePath(QStringLiteral("long.tbb"));
        QVERIFY(driver.Store(path).IsOk());
        m_app->m_strLastUsedDriver = path;
        m_app->m_bConnectRequested = 1;
        Frame()->setGeometry(0, 0, 640, 480);
        QVERIFY(Frame()->OpenNewDocument(QStringLiteral("Orvali")));
        auto* view = qobject_cast<COrvalisView*>(Frame()->ActiveView());
        QVERIFY(view && !view->m_comm.IsPortOpen());
        const QString problem = view->LineProblem();
        QVERIFY(problem.contains(QString::fromLatin1(driver.m_Comm.m_strConnector)));
        // The status bar cuts it; its tool tip has it whole.
        QCOMPARE(Frame()->PaneWidget(CMainFrame::PaneMessage)->toolTip(), problem);
        // The window's own message line shows it whole, below the text.
        auto* line = view->findChild<QLabel*>(QStringLiteral("MessageLine"));
        QVERIFY(line && line->isVisible());
        QCOMPARE(line->text(), problem);
        QCOMPARE(line->height(), line->heightForWidth(line->width()));
        QVERIFY(line->height() > line->fontMetrics().height());
        QCOMPARE(line->geometry().top(), view->viewport()->geometry().bottom() + 1);

        // The manual, whose window fits the screen.
        QVERIFY(Frame()->RouteCommand(ID_HELP_FINDER));
        auto* help = Frame()->findChild<CHelpWindow*>();
        QVERIFY(help && help->isVisible());
        const QString text = help->Browser()->toPlainText();
        QVERIFY2(text.contains(QStringLiteral("The script language")), qPrintable(text.left(200)));
        const QRect screen = Frame()->screen()->availableGeometry();
        QCOMPARE(screen.united(help->geometry()), screen); // on failure both rectangles are shown
    }

    void questionsHaveAccessKeys()
    {
        m_dialogs.reset(); // the real message boxes
        CUserDialogs real;
        const struct
        {
            int question; // 0 save changes, 1 write failed, 2 not read completely
            QString click;
            int answer;
        } rows[] = {
            {0, "&Save", CUserDialogs::SaveChanges},
            {1, "Save &As...", 1},
            {2, "&Write Anyway", CUserDialogs::Overwrite},
            {2, "Esc", CUserDialogs::DontSave},
        };
        for (const auto& row : rows) {
            QTimer::singleShot(0, this, [&] {
                auto* box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget());
                if (!box)
                    return;
                for (QAbstractButton* button : box->buttons()) {
                    if (button->text() == row.click)
                        button->click();
                }
                if (row.click == QLatin1String("Esc"))
                    QTest::keyClick(box, Qt::Key_Escape);
            });
            int result = -1;
            if (row.question == 0)
                result = real.AskSaveChanges(nullptr, QStringLiteral("Orvali1"));
            else if (row.question == 1)
                result = real.AskSaveElsewhere(nullptr, QStringLiteral("/ro/lab.tbb: cannot write"));
            else
                result = real.AskOverwrite(nullptr, QStringLiteral("/lab.tbb: damaged at byte 96"));
            // The clicked button is found by its text with the access key.
            QVERIFY2(result == row.answer, qPrintable(row.click));
        }
    }

private:
    void StartApp();
    CMainFrame* Frame() const { return m_app->MainFrame(); }
    // A saved text opened with File Open, in a window of its own.
    QMdiSubWindow* OpenText(const QString& name);

    std::unique_ptr<QTemporaryDir> m_home;
    std::unique_ptr<CScriptedDialogs> m_dialogs;
    std::unique_ptr<COrvalisApp> m_app;
};

void tst_FrameLook::StartApp()
{
    m_app = std::make_unique<COrvalisApp>(QDir(m_home->path()).filePath(QStringLiteral("Orvalis.ini")));
    QVERIFY(m_app->InitInstance({}));
}

QMdiSubWindow* tst_FrameLook::OpenText(const QString& name)
{
    QFile text(QDir(m_home->path()).filePath(name));
    if (!text.open(QIODevice::WriteOnly) || text.write("12.5\r\n") != 6)
        return nullptr;
    text.close();
    m_dialogs->m_openAnswers = {text.fileName()};
    Frame()->RouteCommand(ID_FILE_OPEN);
    return Frame()->MdiArea()->currentSubWindow();
}

QTEST_MAIN(tst_FrameLook)
#include "tst_FrameLook.moc"
