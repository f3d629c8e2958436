// How the main window looks and answers the keyboard: tool bar pictures,
// titles, the Window menu, mnemonics, status panes, the help window and the
// dialogs' titles and access keys.

#include "CMainFrame.h"
#include "COrvalisApp.h"
#include "CToolBarIcons.h"
#include "FrameworkIds.h"
#include "ResourceIds.h"
#include "ScriptedDialogs.h"

#include <QAction>
#include <QDir>
#include <QImage>
#include <QTemporaryDir>
#include <QTest>
#include <QToolBar>

#include <memory>

class tst_FrameLook : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    void toolBarShowsTheThemeIcons();
    void drawnIconsWithoutTheme();

private:
    void StartApp();
    CMainFrame* Frame() const { return m_app->MainFrame(); }
    QAction* ToolButton(int nID) const;

    std::unique_ptr<QTemporaryDir> m_home;
    std::unique_ptr<CScriptedDialogs> m_dialogs;
    std::unique_ptr<COrvalisApp> m_app;
};

void tst_FrameLook::init()
{
    m_home = std::make_unique<QTemporaryDir>();
    qputenv("ORVALIS_HOME", m_home->path().toLocal8Bit());
    m_dialogs = std::make_unique<CScriptedDialogs>();
}

void tst_FrameLook::cleanup()
{
    m_app.reset();
    m_dialogs.reset();
    m_home.reset();
    qunsetenv("ORVALIS_HOME");
}

void tst_FrameLook::StartApp()
{
    m_app = std::make_unique<COrvalisApp>(QDir(m_home->path()).filePath(QStringLiteral("Orvalis.ini")));
    QVERIFY(m_app->InitInstance({}));
}

QAction* tst_FrameLook::ToolButton(int nID) const
{
    for (QAction* action : Frame()->findChild<QToolBar*>(QStringLiteral("ToolBar"))->actions()) {
        if (!action->isSeparator() && action->data().toInt() == nID)
            return action;
    }
    return nullptr;
}

namespace {

const int kToolBarIds[] = {ID_FILE_OPEN, ID_FILE_SAVE,  ID_EDIT_CUT,  ID_EDIT_COPY,
                           ID_EDIT_PASTE, ID_FILE_PRINT, ID_APP_ABOUT, ID_CONTEXT_HELP};

} // namespace

void tst_FrameLook::toolBarShowsTheThemeIcons()
{
    if (!QDir(QStringLiteral("/usr/share/icons/Adwaita")).exists())
        QSKIP("the freedesktop icon theme (adwaita-icon-theme) is not installed");
    StartApp();
    const QStringList expected{"document-open", "document-save",  "edit-cut",   "edit-copy",
                               "edit-paste",    "document-print", "help-about", "help-browser"};
    for (int i = 0; i < int(std::size(kToolBarIds)); ++i) {
        QAction* button = ToolButton(kToolBarIds[i]);
        QVERIFY(button);
        QCOMPARE(button->icon().name(), expected.at(i));
        QVERIFY(!button->icon().pixmap(16).isNull());
    }
}

void tst_FrameLook::drawnIconsWithoutTheme()
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
            QVERIFY2(pictures.at(i) != pictures.at(j), qPrintable(QStringLiteral("%1 = %2").arg(i).arg(j)));
    }
}

QTEST_MAIN(tst_FrameLook)
#include "tst_FrameLook.moc"
