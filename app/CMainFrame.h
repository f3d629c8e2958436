#pragma once

#include "CCommandTarget.h"
#include "CFrameServices.h"
#include "CWindowRect.h"

#include <QEvent>
#include <QHash>
#include <QList>
#include <QMainWindow>
#include <QPointer>

#include <optional>

class CDriverFile;
class CFileResult;
class CFunctionKeyBar;
class CTerminalFile;
class CKeyLockState;
class QLabel;
class QMdiArea;
class QMdiSubWindow;
class QMenu;
class QTimer;

// The count message (WM_USER + 1 of the original program): the instrument
// view posts it to the main window after received data when "Progress" is
// set; the main window shows the count in status pane 1.
class CShowCountEvent : public QEvent
{
public:
    static constexpr QEvent::Type EventType = QEvent::Type(QEvent::User + 1);

    explicit CShowCountEvent(int nCount)
        : QEvent(EventType)
        , m_nCount(nCount)
    {
    }
    int m_nCount;
};

// The main window: MDI area, menus 128/129/130, tool bar, status bar with
// five panes, the function-key bar, and the commands that connect
// instruments, open terminals and add or modify drivers.
class CMainFrame : public QMainWindow, public CCommandTarget, public CFrameServices
{
    Q_OBJECT

public:
    explicit CMainFrame(QWidget* parent = nullptr);
    ~CMainFrame() override;

    // Creation rectangle from the profile; nothing: the window system's choice.
    void PlaceWindow(const std::optional<CWindowRect::Placement>& placement);

    // Function-key bar. SetFunctionKeyText: 1, or 0 for an id outside
    // 3048..3055. GetFunctionKeyText: the caption's length, or -1.
    int SetFunctionKeyText(int nID, const QString& text) override;
    int GetFunctionKeyText(int nID, QString& text) const override;
    void ShowFunctionKeyBar(int bShow) override;
    bool IsFunctionKeyBarVisible() const;
    CFunctionKeyBar* FunctionKeyBar() const { return m_pFunctionKeyBar; }

    // Status bar panes 0..4 (PaneMessage .. PaneScrl). A file transfer lays its
    // progress bar over pane 1 (PaneWidget gives its place).
    void SetPaneText(int nPane, const QString& text) override;
    QString GetPaneText(int nPane) const override;
    QStatusBar* StatusBar() override { return statusBar(); }
    QLabel* PaneWidget(int nPane) const override;
    // The received-byte count in pane 1, "%8d".
    void OnShowCount(int nCount);
    // Posts the count message to this window (any thread).
    void PostShowCount(int nCount) override;

    // The item of the menu shown now: popup index (0 = "&File") and command.
    // The instrument window rewrites "&Connect" (popup 3) and checks items of
    // "&Extras" (popup 4) with it. nullptr when the menu has no such item.
    QAction* MenuItem(int nPopup, int nID) const override;
    // The menu shown now: 128, 129 or 130.
    int CurrentMenuId() const { return m_nCurrentMenu; }

    QMdiArea* MdiArea() const { return m_pMdiArea; }
    // The active child's view, or nullptr.
    QWidget* ActiveView() const;

    // Command routing: the active view first, this window when the view does
    // not take it. True when someone handled the command.
    bool RouteCommand(int nID);
    // Enabled and checked state of a command after routing; a command no
    // one handles is disabled.
    CCmdUI QueryCommand(int nID);
    void UpdateCommandUI();

    // Opens an instrument ("Orvali") or terminal ("Terminal") window through
    // the first document template with that new-file name; nullptr when no
    // template matches.
    QMdiSubWindow* OpenNewDocument(const QString& newFileName);

    // CCommandTarget: the commands of this window.
    bool OnCommand(int nID) override;
    bool OnUpdateCommand(int nID, CCmdUI& ui) override;

    void OnConnectInstrument();
    void OnAddInstrument();
    void OnModifyInstrument();
    void OnTerminalEmulation();
    void OnAddTerminal();
    void OnModifyTerminal();
    void OnAppAbout();
    void OnHelpTopics();

protected:
    void closeEvent(QCloseEvent* event) override;
    void customEvent(QEvent* event) override;

private:
    void CreateActions();
    void CreateMenus();
    void CreateToolBar();
    void CreateStatusBar();
    QAction* NewCommandAction(int nID, const QString& text);
    void SelectMenu(int nMenuId);
    void UpdateRecentFileItems(QMenu* menu);
    void OnSubWindowActivated(QMdiSubWindow* window);
    void UpdateIndicators();
    void UpdateTitle();
    void OnFileOpen();
    void OnFileNew();
    void OnOpenRecentFile(int nIndex);
    void OnPrintSetup();
    void OnCloseDocument();
    void ArrangeIcons();
    // Shows a driver's records in its sheet; the page active at OK, or -1 on Cancel.
    int EditInstrumentDriver(CDriverFile& records, int startPage);
    int EditTerminalDriver(CTerminalFile& records, int startPage);
    // Writes into the program folder; openedPath is the file Modify read
    // (readProblem: why it was not read completely), empty for Add.
    void StoreInstrumentDriver(CDriverFile& records, const QString& openedPath, const QString& readProblem);
    QString ReportLoadProblem(const CFileResult& result);

    QMdiArea* m_pMdiArea;
    CFunctionKeyBar* m_pFunctionKeyBar;
    QToolBar* m_pToolBar = nullptr;
    QList<QLabel*> m_panes;
    CKeyLockState* m_pKeyLocks;
    QTimer* m_pIdleTimer;
    // Menus 128, 129, 130, each a list of popups; one is in the menu bar.
    QHash<int, QList<QMenu*>> m_menus;
    int m_nCurrentMenu = 0;
    // Every action that carries a command: menu items, tool bar buttons, accelerators.
    QHash<int, QList<QAction*>> m_commandActions;
    QPointer<QMdiSubWindow> m_pLastActive;
    QHash<int, int> m_untitledCounts; // per document type
};
