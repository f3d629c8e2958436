// How the main window looks and answers the keyboard: tool bar pictures,
// titles, the Window menu, mnemonics, status panes, the help window and the
// dialogs' titles and access keys.

#include "CDriverFile.h"
#include "CHelpWindow.h"
#include "CMainFrame.h"
#include "CMdiWindows.h"
#include "COrvalisApp.h"
#include "COrvalisView.h"
#include "CToolBarIcons.h"
#include "FrameworkIds.h"
#include "ResourceIds.h"
#include "ScriptedDialogs.h"

#include <QAbstractButton>
#include <QAction>
#include <QApplication>
#include <QDir>
#include <QGuiApplication>
#include <QImage>
#include <QLabel>
#include <QMdiArea>
#include <QMdiSubWindow>
#include <QMenu>
#include <QMenuBar>
#include <QMessageBox>
#include <QScreen>
#include <QTemporaryDir>
#include <QTest>
#include <QTextBrowser>
#include <QTimer>

#include <memory>

namespace {

const int kToolBarIds[] = {ID_FILE_OPEN,  ID_FILE_SAVE,  ID_EDIT_CUT,  ID_EDIT_COPY,
                           ID_EDIT_PASTE, ID_FILE_PRINT, ID_APP_ABOUT, ID_CONTEXT_HELP};

} // namespace

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

    void drawnIconsWithoutTheme()
    {
        // A desktop whose theme has none of the names, and no fallback.
        const QString theme = QIcon::themeName();
        const QString fallback = QIcon::fallbackThemeName();
        QIcon::setThemeName(QStringLiteral("orvalis-no-such-theme"));
        QIcon::setFallbackThemeName(QStringLiteral("orvalis-no-such-theme"));
        QList<QImage> pictures;
        for (const int nID : kToolBarIds) {
            const QIcon icon = CToolBarIcons::Icon(nID);
            QCOMPARE(icon.pixmap(16).toImage(), CToolBarIcons::Drawn(nID, 16).toImage());
            pictures.append(icon.pixmap(24).toImage());
        }
        QIcon::setThemeName(theme);
        QIcon::setFallbackThemeName(fallback);
        // Each command has a picture of its own.
        for (int i = 0; i < pictures.size(); ++i) {
            QVERIFY(!pictures.at(i).isNull());
            for (int j = i + 1; j < pictures.size(); ++j)
                QVERIFY2(pictures.at(i) != pictures.at(j),
                         qPrintable(QStringLiteral("%1 = %2").arg(i).arg(j)));
        }
    }

    void titlesNameTheProgramOnceAndWindowMenuListsAndCascadesTheWindows()
    {
        // The desktop appends a display name set by the program to every title
        // that does not end with it: none is set, it follows the program's name.
        COrvalisApp::InitApplication();
        QCOMPARE(QGuiApplication::applicationName(), QStringLiteral("Orvalis"));
        QGuiApplication::setApplicationName(QStringLiteral("Orvalis-probe"));
        const QString displayName = QGuiApplication::applicationDisplayName();
        QGuiApplication::setApplicationName(QStringLiteral("Orvalis"));
        QCOMPARE(displayName, QStringLiteral("Orvalis-probe"));

        StartApp();
        QVERIFY(OpenText(QStringLiteral("R&D.txt")));
        QCOMPARE(Frame()->windowTitle(), QStringLiteral("Orvalis - R&D.txt"));
        QVERIFY(Frame()->OpenNewDocument(QStringLiteral("Orvali")));
        QCOMPARE(Frame()->windowTitle(), QStringLiteral("Orvalis - Orvali2"));

        // The Window menu lists them, the active one checked.
        QMenu* windowMenu = Frame()->menuBar()->actions().at(5)->menu();
        QCOMPARE(windowMenu->title(), QStringLiteral("&Window"));
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
        QCOMPARE(listed.at(1)->text(), QStringLiteral("&2 Orvali2"));
        QVERIFY(!listed.at(0)->isChecked());
        QVERIFY(listed.at(1)->isChecked());
        // Back to the saved text: the title follows; shown again, the list is made anew.
        listed.at(0)->trigger();
        QCOMPARE(Frame()->MdiArea()->activeSubWindow(), Frame()->MdiArea()->subWindowList().first());
        QCOMPARE(Frame()->windowTitle(), QStringLiteral("Orvalis - R&D.txt"));
        listed = entries();
        QCOMPARE(listed.size(), 2);
        QVERIFY(listed.at(0)->isChecked());

        // Cascaded, three windows stay readable.
        Frame()->setGeometry(0, 0, 1000, 760);
        QVERIFY(Frame()->OpenNewDocument(QStringLiteral("Orvali")));
        QMdiSubWindow* active = Frame()->MdiArea()->activeSubWindow();
        QVERIFY(Frame()->RouteCommand(ID_WINDOW_CASCADE));
        const QSize area = Frame()->MdiArea()->viewport()->size();
        QPoint previous(-1, -1);
        for (QMdiSubWindow* window : Frame()->MdiArea()->subWindowList(QMdiArea::StackingOrder)) {
            const QRect geometry = window->geometry();
            // At least three quarters of the area each way (both sizes shown on failure).
            const QSize least(area.width() * 3 / 4, area.height() * 3 / 4);
            QCOMPARE(geometry.size().expandedTo(least), geometry.size());
            QVERIFY(QRect(QPoint(0, 0), area).contains(geometry));
            QVERIFY(geometry.x() > previous.x() && geometry.y() > previous.y());
            previous = geometry.topLeft();
        }
        QCOMPARE(Frame()->MdiArea()->subWindowList(QMdiArea::StackingOrder).last(), active);
    }

    void cascadeStartsAgainAtTheCorner()
    {
        const QList<QRect> rects = CMdiWindows::CascadeRects(QSize(400, 300), 4, 40, QSize(100, 80));
        QCOMPARE(rects, (QList<QRect>{QRect(0, 0, 300, 225), QRect(40, 40, 300, 225), QRect(0, 0, 300, 225),
                                      QRect(40, 40, 300, 225)}));
        // A small area gives each window the minimum the window needs, within the area.
        QCOMPARE(CMdiWindows::CascadeRects(QSize(200, 100), 1, 40, QSize(180, 120)),
                 QList<QRect>{QRect(0, 0, 180, 100)});
    }

    void sharedMnemonicCyclesEditAndExtras()
    {
        StartApp();
        QVERIFY(Frame()->OpenNewDocument(QStringLiteral("Orvali")));
        Frame()->activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(Frame()));
        const auto openPopup = [] {
            auto* menu = qobject_cast<QMenu*>(QApplication::activePopupWidget());
            return menu ? menu->title() : QString();
        };
        // As typed: Alt goes down first, then E, then both come up.
        const auto pressAltE = [] {
            const auto target = [] {
                QWidget* popup = QApplication::activePopupWidget();
                return popup ? popup : QApplication::focusWidget();
            };
            QTest::keyPress(target(), Qt::Key_Alt, Qt::AltModifier);
            QTest::keyClick(target(), Qt::Key_E, Qt::AltModifier);
            QTest::keyRelease(target(), Qt::Key_Alt);
        };
        pressAltE();
        QTRY_COMPARE(openPopup(), QStringLiteral("&Edit"));
        pressAltE();
        QTRY_COMPARE(openPopup(), QStringLiteral("&Extras"));
        pressAltE();
        QTRY_COMPARE(openPopup(), QStringLiteral("&Edit"));
        QTest::keyClick(QApplication::activePopupWidget(), Qt::Key_Escape);
    }

    void lockIndicatorsShowTheKeyboard()
    {
        // Offscreen there is no X server: the kernel's LEDs answer.
        QTemporaryDir sysfs;
        const auto setLed = [&sysfs](const QString& name, const QByteArray& value) {
            QDir(sysfs.path()).mkpath(QStringLiteral("class/leds/input3::") + name);
            QFile file(
                sysfs.filePath(QStringLiteral("class/leds/input3::") + name + QStringLiteral("/brightness")));
            return file.open(QIODevice::WriteOnly | QIODevice::Truncate) && file.write(value) == value.size();
        };
        QVERIFY(setLed(QStringLiteral("capslock"), "1\n"));
        QVERIFY(setLed(QStringLiteral("numlock"), "0\n"));
        QVERIFY(setLed(QStringLiteral("scrolllock"), "1\n"));
        qputenv("ORVALIS_SYSFS_ROOT", QFile::encodeName(sysfs.path()));
        StartApp();
        qunsetenv("ORVALIS_SYSFS_ROOT");
        QTRY_COMPARE(Frame()->GetPaneText(CMainFrame::PaneCaps), QStringLiteral("CAP"));
        QCOMPARE(Frame()->GetPaneText(CMainFrame::PaneNum), QString());
        QCOMPARE(Frame()->GetPaneText(CMainFrame::PaneScrl), QStringLiteral("SCRL        "));
        QVERIFY(setLed(QStringLiteral("numlock"), "1\n"));
        QVERIFY(setLed(QStringLiteral("capslock"), "0\n"));
        QTRY_COMPARE(Frame()->GetPaneText(CMainFrame::PaneNum), QStringLiteral("NUM"));
        QTRY_COMPARE(Frame()->GetPaneText(CMainFrame::PaneCaps), QString());
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

        // The manual, whose window fits the screen and Esc closes.
        QVERIFY(Frame()->RouteCommand(ID_HELP_FINDER));
        auto* help = Frame()->findChild<CHelpWindow*>();
        QVERIFY(help && help->isVisible());
        const QString text = help->Browser()->toPlainText();
        QVERIFY2(text.contains(QStringLiteral("The script language")), qPrintable(text.left(200)));
        QVERIFY(text.contains(QStringLiteral("<CR>")));
        // A second request brings the same window to the front.
        Frame()->RouteCommand(ID_HELP);
        QCOMPARE(Frame()->findChildren<CHelpWindow*>().size(), 1);
        const QRect screen = Frame()->screen()->availableGeometry();
        QCOMPARE(screen.united(help->geometry()), screen); // on failure both rectangles are shown
        help->activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(help));
        QTest::keyClick(help->Browser(), Qt::Key_Escape);
        QTRY_VERIFY(!help->isVisible());
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
            {0, "&Don't Save", CUserDialogs::DiscardChanges},
            {0, "&Save", CUserDialogs::SaveChanges},
            {1, "Save &As...", 1},
            {1, "&Don't Save", 0},
            {2, "&Write Anyway", CUserDialogs::Overwrite},
            {2, "Esc", CUserDialogs::DontSave},
        };
        for (const auto& row : rows) {
            QStringList buttons;
            QTimer::singleShot(0, this, [&] {
                auto* box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget());
                if (!box)
                    return;
                for (QAbstractButton* button : box->buttons()) {
                    buttons.append(button->text());
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
            QVERIFY2(result == row.answer, qPrintable(row.click));
            QVERIFY(!buttons.isEmpty());
            // Every button but Cancel (Esc) can be reached with Alt and its letter.
            for (const QString& text : std::as_const(buttons)) {
                if (text != QLatin1String("&Cancel") && text != QLatin1String("Cancel"))
                    QVERIFY2(QKeySequence::mnemonic(text) != QKeySequence(), qPrintable(text));
            }
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
