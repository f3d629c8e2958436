#include "CMainFrame.h"

#include "CAboutDlg.h"
#include "CAppIcon.h"
#include "CChildFrame.h"
#include "CCodePage.h"
#include "CDriverFile.h"
#include "CFileFilter.h"
#include "CFrameResource.h"
#include "CFunctionKeyBar.h"
#include "CHelpWindow.h"
#include "CInstrumentSheet.h"
#include "CKeyLockState.h"
#include "CMdiWindows.h"
#include "CMnemonicCycler.h"
#include "COrvalisApp.h"
#include "CSaveElsewhere.h"
#include "CStringTable.h"
#include "CTerminalFile.h"
#include "CTerminalFrame.h"
#include "CTerminalSheet.h"
#include "CToolBarIcons.h"
#include "CUserDialogs.h"
#include "FrameworkIds.h"
#include "ResourceIds.h"

#include <QAction>
#include <QApplication>
#include <QCloseEvent>
#include <QDir>
#include <QFileInfo>
#include <QInputDialog>
#include <QLabel>
#include <QLoggingCategory>
#include <QMdiArea>
#include <QMdiSubWindow>
#include <QScreen>
#include <QMenuBar>
#include <QPageSetupDialog>
#include <QPushButton>
#include <QStatusBar>
#include <QTimer>
#include <QToolBar>
#include <QVBoxLayout>
#include <QWhatsThis>

Q_LOGGING_CATEGORY(lcFrame, "orvalis.app.frame")

namespace {

// Status-bar prompt and tool tip of a command: "prompt\ntip".
QStringList PromptParts(int nID)
{
    return CStringTable::Text(nID).split(QLatin1Char('\n'));
}

QString MenuTextWithoutShortcut(const QString& text)
{
    return text.left(text.indexOf(QLatin1Char('\t'))).remove(QLatin1Char('&'));
}

} // namespace

CMainFrame::CMainFrame(QWidget* parent)
    : QMainWindow(parent)
    , m_pMdiArea(new QMdiArea)
    , m_pFunctionKeyBar(new CFunctionKeyBar)
    , m_pKeyLocks(new CKeyLockState)
    , m_pIdleTimer(new QTimer(this))
{
    setObjectName(QStringLiteral("CMainFrame"));
    setWindowTitle(CStringTable::Text(IDR_MAINFRAME));
    setWindowIcon(CAppIcon::Icon());
    m_pMdiArea->setObjectName(QStringLiteral("MdiArea"));
    m_pMdiArea->setHorizontalScrollBarPolicy(Qt::ScrollBarAsNeeded);
    m_pMdiArea->setVerticalScrollBarPolicy(Qt::ScrollBarAsNeeded);

    // The function-key bar lies at the bottom of the frame, above the status bar.
    auto* central = new QWidget;
    auto* layout = new QVBoxLayout(central);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    layout->addWidget(m_pMdiArea, 1);
    layout->addWidget(m_pFunctionKeyBar);
    setCentralWidget(central);
    connect(m_pFunctionKeyBar, &CFunctionKeyBar::commandTriggered, this, &CMainFrame::RouteCommand);

    CreateActions();
    CreateMenus();
    new CMnemonicCycler(menuBar());
    CreateToolBar();
    CreateStatusBar();
    ShowFunctionKeyBar(0);
    SetPaneText(PaneCount, QString());

    connect(m_pMdiArea, &QMdiArea::subWindowActivated, this, &CMainFrame::OnSubWindowActivated);
    // The framework's idle update: tool bar states and the lock indicators.
    connect(m_pIdleTimer, &QTimer::timeout, this, [this] {
        UpdateCommandUI();
        UpdateIndicators();
    });
    m_pIdleTimer->start(250);
    SelectMenu(IDR_MAINFRAME);
    UpdateCommandUI();
    UpdateIndicators();
}

CMainFrame::~CMainFrame()
{
    // Child windows still open are hidden while this window is torn down.
    m_pMdiArea->disconnect(this);
    // They go first, while their views can still reach this window.
    qDeleteAll(m_pMdiArea->subWindowList());
    delete m_pKeyLocks;
}

void CMainFrame::PlaceWindow(const std::optional<CWindowRect::Placement>& placement)
{
    if (!placement) {
        // As the window system sizes a new window: three quarters of the
        // screen, so that the status bar's panes fit; at least 800 x 600.
        const QSize screen = this->screen()->availableGeometry().size();
        resize(QSize(qMax(800, screen.width() * 3 / 4), qMax(600, screen.height() * 3 / 4)).boundedTo(screen));
        return;
    }
    if (placement->size)
        setGeometry(QRect(placement->position, *placement->size));
    else
        move(placement->position);
}

// ---------------------------------------------------------------------------
// Actions, menus, tool bar, status bar

QAction* CMainFrame::NewCommandAction(int nID, const QString& text)
{
    auto* action = new QAction(text, this);
    const QStringList prompt = PromptParts(nID);
    action->setStatusTip(prompt.value(0));
    action->setToolTip(prompt.value(1, MenuTextWithoutShortcut(text)));
    action->setData(nID);
    if (nID == ID_VIEW_TOOLBAR || nID == ID_VIEW_STATUS_BAR)
        action->setCheckable(true);
    connect(action, &QAction::triggered, this, [this, nID] { RouteCommand(nID); });
    m_commandActions[nID].append(action);
    return action;
}

void CMainFrame::CreateActions()
{
    // The accelerator table: window-wide shortcuts that route like menu items.
    for (const CFrameResource::Accelerator& accelerator : CFrameResource::Accelerators()) {
        auto* action = new QAction(this);
        action->setShortcut(QKeySequence(accelerator.strKeys));
        action->setShortcutContext(Qt::WindowShortcut);
        const int nID = accelerator.nID;
        connect(action, &QAction::triggered, this, [this, nID] { RouteCommand(nID); });
        addAction(action);
    }
}

void CMainFrame::CreateMenus()
{
    for (const int nMenuId : {IDR_MAINFRAME, IDR_ORVALITYPE, IDR_TERMINALTYPE}) {
        QList<QMenu*> popups;
        for (const CFrameResource::Popup& popup : CFrameResource::Menu(nMenuId)) {
            auto* menu = new QMenu(popup.strText, this);
            menu->setToolTipsVisible(false);
            for (const CFrameResource::MenuItem& item : popup.items) {
                if (item.nID == 0) {
                    menu->addSeparator();
                    continue;
                }
                QAction* action = NewCommandAction(item.nID, item.strText);
                // The recent-file list is shown in place of this item.
                action->setProperty("recentPlaceholder", item.nID == ID_FILE_MRU_FILE1);
                menu->addAction(action);
            }
            const bool windowMenu = std::any_of(popup.items.cbegin(), popup.items.cend(),
                                                [](const CFrameResource::MenuItem& item) {
                                                    return item.nID == ID_WINDOW_CASCADE;
                                                });
            connect(menu, &QMenu::aboutToShow, this, [this, menu, windowMenu] {
                UpdateRecentFileItems(menu);
                if (windowMenu)
                    CMdiWindows::UpdateWindowList(menu, m_pMdiArea);
                UpdateCommandUI();
            });
            popups.append(menu);
        }
        m_menus.insert(nMenuId, popups);
    }
}

void CMainFrame::CreateToolBar()
{
    CToolBarIcons::UseDesktopTheme();
    m_pToolBar = addToolBar(QStringLiteral("Standard"));
    m_pToolBar->setObjectName(QStringLiteral("ToolBar"));
    m_pToolBar->setIconSize(QSize(16, 16));
    m_pToolBar->setAllowedAreas(Qt::AllToolBarAreas);
    for (const int nID : CFrameResource::ToolBar()) {
        if (nID == 0) {
            m_pToolBar->addSeparator();
            continue;
        }
        QAction* action = NewCommandAction(nID, PromptParts(nID).value(1));
        action->setIcon(CToolBarIcons::Icon(nID));
        m_pToolBar->addAction(action);
    }
}

void CMainFrame::CreateStatusBar()
{
    QStatusBar* bar = statusBar();
    bar->setObjectName(QStringLiteral("StatusBar"));
    for (int i = PaneMessage; i <= PaneScrl; ++i) {
        auto* pane = new QLabel(bar);
        pane->setObjectName(QStringLiteral("Pane%1").arg(i));
        m_panes.append(pane);
    }
    m_panes[PaneMessage]->setText(CStringTable::Text(AFX_IDS_IDLEMESSAGE));
    // The idle prompt stays whole; longer messages are cut, never widen the window.
    m_panes[PaneMessage]->setMinimumWidth(m_panes[PaneMessage]->sizeHint().width());
    // Fly-by prompts cover pane 0 only; the others are permanent.
    bar->addWidget(m_panes[PaneMessage], 1);
    m_panes[PaneCount]->setFixedWidth(300);
    m_panes[PaneCount]->setFrameStyle(QFrame::StyledPanel | QFrame::Sunken);
    bar->addPermanentWidget(m_panes[PaneCount]);
    const int indicatorIds[] = {ID_INDICATOR_CAPS, ID_INDICATOR_NUM, ID_INDICATOR_SCRL};
    for (int i = PaneCaps; i <= PaneScrl; ++i) {
        QLabel* pane = m_panes[i];
        pane->setFrameStyle(QFrame::StyledPanel | QFrame::Sunken);
        // Sized for the indicator text, shown only while the lock is on.
        pane->setMinimumWidth(pane->fontMetrics().horizontalAdvance(CStringTable::Text(indicatorIds[i - PaneCaps])) + 8);
        bar->addPermanentWidget(pane);
    }
    connect(bar, &QStatusBar::messageChanged, this, [this](const QString& message) {
        // An empty fly-by prompt brings the pane text back.
        m_panes[PaneMessage]->setVisible(message.isEmpty());
    });
}

void CMainFrame::SelectMenu(int nMenuId)
{
    if (m_nCurrentMenu == nMenuId)
        return;
    m_nCurrentMenu = nMenuId;
    menuBar()->clear();
    for (QMenu* menu : m_menus.value(nMenuId))
        menuBar()->addMenu(menu);
}

QAction* CMainFrame::MenuItem(int nPopup, int nID) const
{
    const QList<QMenu*> popups = m_menus.value(m_nCurrentMenu);
    if (nPopup < 0 || nPopup >= popups.size())
        return nullptr;
    for (QAction* action : popups.at(nPopup)->actions()) {
        if (action->data().toInt() == nID && !action->isSeparator())
            return action;
    }
    return nullptr;
}

void CMainFrame::UpdateRecentFileItems(QMenu* menu)
{
    QAction* placeholder = nullptr;
    for (QAction* action : menu->actions()) {
        if (action->property("recentEntry").toBool()) {
            menu->removeAction(action);
            m_commandActions[action->data().toInt()].removeAll(action);
            action->deleteLater();
        } else if (action->property("recentPlaceholder").toBool()) {
            placeholder = action;
        }
    }
    if (!placeholder)
        return;
    const QStringList files = COrvalisApp::Get() ? COrvalisApp::Get()->RecentFiles() : QStringList();
    // With no recent file the disabled "Recent File" item stands in the menu.
    placeholder->setVisible(files.isEmpty());
    for (int i = 0; i < files.size(); ++i) {
        const QString shown = fontMetrics().elidedText(QDir::toNativeSeparators(files.at(i)), Qt::ElideMiddle, 400);
        QAction* action = NewCommandAction(ID_FILE_MRU_FILE1 + i, QStringLiteral("&%1 %2").arg(i + 1).arg(shown));
        action->setProperty("recentEntry", true);
        menu->insertAction(placeholder, action);
    }
}

// ---------------------------------------------------------------------------
// Function-key bar and status bar

int CMainFrame::SetFunctionKeyText(int nID, const QString& text)
{
    QPushButton* button = m_pFunctionKeyBar->Button(nID);
    if (!button)
        return 0;
    button->setText(text);
    return 1;
}

int CMainFrame::GetFunctionKeyText(int nID, QString& text) const
{
    const QPushButton* button = m_pFunctionKeyBar->Button(nID);
    if (!button)
        return -1;
    text = button->text();
    return int(text.size());
}

void CMainFrame::ShowFunctionKeyBar(int bShow)
{
    m_pFunctionKeyBar->setVisible(bShow != 0);
}

bool CMainFrame::IsFunctionKeyBarVisible() const
{
    return !m_pFunctionKeyBar->isHidden();
}

void CMainFrame::SetPaneText(int nPane, const QString& text)
{
    if (nPane < 0 || nPane >= m_panes.size())
        return;
    if (nPane == PaneMessage) {
        statusBar()->clearMessage();
        // A long message is cut at the pane's end; its whole text is at hand.
        m_panes[nPane]->setToolTip(text);
    }
    m_panes[nPane]->setText(text);
}

QString CMainFrame::GetPaneText(int nPane) const
{
    return nPane >= 0 && nPane < m_panes.size() ? m_panes.at(nPane)->text() : QString();
}

QLabel* CMainFrame::PaneWidget(int nPane) const
{
    return nPane >= 0 && nPane < m_panes.size() ? m_panes.at(nPane) : nullptr;
}

void CMainFrame::OnShowCount(int nCount)
{
    SetPaneText(PaneCount, QString::asprintf("%8d", nCount));
}

void CMainFrame::PostShowCount(int nCount)
{
    QCoreApplication::postEvent(this, new CShowCountEvent(nCount));
}

void CMainFrame::customEvent(QEvent* event)
{
    if (event->type() == CShowCountEvent::EventType) {
        OnShowCount(static_cast<CShowCountEvent*>(event)->m_nCount);
        return;
    }
    QMainWindow::customEvent(event);
}

void CMainFrame::UpdateIndicators()
{
    const int indicatorIds[] = {ID_INDICATOR_CAPS, ID_INDICATOR_NUM, ID_INDICATOR_SCRL};
    const CKeyLockState::Lock locks[] = {CKeyLockState::CapsLock, CKeyLockState::NumLock, CKeyLockState::ScrollLock};
    for (int i = 0; i < 3; ++i) {
        QLabel* pane = m_panes[PaneCaps + i];
        // A transfer shows its elapsed time in pane 4; leave such a text alone.
        const QString indicator = CStringTable::Text(indicatorIds[i]);
        if (!pane->text().isEmpty() && pane->text() != indicator)
            continue;
        pane->setText(m_pKeyLocks->IsOn(locks[i]) ? indicator : QString());
    }
}

// ---------------------------------------------------------------------------
// Child windows and command routing

QWidget* CMainFrame::ActiveView() const
{
    // The current window stays current while a dialog has the focus.
    const QMdiSubWindow* window = m_pMdiArea->currentSubWindow();
    return window ? window->widget() : nullptr;
}

void CMainFrame::OnSubWindowActivated(QMdiSubWindow*)
{
    QMdiSubWindow* window = m_pMdiArea->currentSubWindow();
    if (window == m_pLastActive)
        return;
    if (m_pLastActive) {
        if (auto* target = dynamic_cast<CCommandTarget*>(m_pLastActive->widget()))
            target->OnActivateView(false);
    }
    m_pLastActive = window;
    if (!window)
        SelectMenu(IDR_MAINFRAME);
    else if (qobject_cast<CTerminalFrame*>(window))
        SelectMenu(IDR_TERMINALTYPE);
    else
        SelectMenu(IDR_ORVALITYPE);
    // The view adjusts the menu it now owns (the Connect item's text).
    if (window) {
        if (auto* target = dynamic_cast<CCommandTarget*>(window->widget()))
            target->OnActivateView(true);
    }
    UpdateTitle();
    UpdateCommandUI();
}

void CMainFrame::UpdateTitle()
{
    const QString title = CStringTable::Text(IDR_MAINFRAME);
    const QMdiSubWindow* window = m_pMdiArea->currentSubWindow();
    setWindowTitle(window ? QStringLiteral("%1 - %2").arg(title, window->windowTitle()) : title);
}

bool CMainFrame::RouteCommand(int nID)
{
    if (auto* target = dynamic_cast<CCommandTarget*>(ActiveView())) {
        if (target->OnCommand(nID)) {
            UpdateCommandUI();
            return true;
        }
    }
    const bool bHandled = OnCommand(nID);
    UpdateCommandUI();
    return bHandled;
}

CCmdUI CMainFrame::QueryCommand(int nID)
{
    CCmdUI ui;
    if (auto* target = dynamic_cast<CCommandTarget*>(ActiveView())) {
        if (target->OnUpdateCommand(nID, ui))
            return ui;
    }
    if (OnUpdateCommand(nID, ui))
        return ui;
    ui.bEnabled = false;
    return ui;
}

void CMainFrame::UpdateCommandUI()
{
    for (auto it = m_commandActions.cbegin(); it != m_commandActions.cend(); ++it) {
        const CCmdUI ui = QueryCommand(it.key());
        for (QAction* action : it.value()) {
            action->setEnabled(ui.bEnabled);
            if (ui.bCheckable && !action->isCheckable())
                action->setCheckable(true);
            if (action->isCheckable())
                action->setChecked(ui.bChecked);
        }
    }
    // A function key without a handler (no window open) cannot be pressed.
    for (int i = 0; i < CFunctionKeyBar::ButtonCount; ++i) {
        const int nID = CFunctionKeyBar::FirstId + i;
        m_pFunctionKeyBar->Button(nID)->setEnabled(QueryCommand(nID).bEnabled);
    }
}

QMdiSubWindow* CMainFrame::OpenNewDocument(const QString& newFileName)
{
    COrvalisApp* app = COrvalisApp::Get();
    if (!app)
        return nullptr;
    for (const CDocTemplate& docTemplate : app->DocTemplates()) {
        if (docTemplate.NewFileName() != newFileName)
            continue;
        // Untitled documents count up per type: "Orvali1", "Terminal2".
        const QString title =
            docTemplate.GetDocString(1) + QString::number(++m_untitledCounts[docTemplate.ResourceId()]);
        QMdiSubWindow* window = nullptr;
        if (docTemplate.ResourceId() == IDR_TERMINALTYPE)
            window = new CTerminalFrame;
        else
            window = new CChildFrame;
        window->setWindowTitle(title);
        // A saved text renames its window after it is shown.
        connect(window, &QWidget::windowTitleChanged, this, &CMainFrame::UpdateTitle);
        m_pMdiArea->addSubWindow(window);
        window->show();
        m_pMdiArea->setActiveSubWindow(window);
        OnSubWindowActivated(window);
        return window;
    }
    qCWarning(lcFrame) << "no document type" << newFileName;
    return nullptr;
}

// ---------------------------------------------------------------------------
// Commands of the main window

bool CMainFrame::OnUpdateCommand(int nID, CCmdUI& ui)
{
    switch (nID) {
    case ID_CONNECT_INSTRUMENT:
    case ID_ADD_INSTRUMENT:
    case ID_MODIFY_INSTRUMENT:
    case ID_ADD_TERMINAL:
    case ID_MODIFY_TERMINAL:
    case ID_FILE_NEW:
    case ID_FILE_OPEN:
    case ID_FILE_PRINT_SETUP:
    case ID_APP_EXIT:
    case ID_APP_ABOUT:
    case ID_HELP_FINDER:
    case ID_HELP:
    case ID_DEFAULT_HELP:
    case ID_CONTEXT_HELP:
        return true;
    case ID_TERMINAL_EMULATION:
        // A platform without threads cannot run the terminal display.
        ui.bEnabled = COrvalisApp::Get() && COrvalisApp::Get()->m_dwPlatformId != 0;
        return true;
    case ID_VIEW_TOOLBAR:
        ui.bCheckable = true;
        ui.bChecked = !m_pToolBar->isHidden();
        return true;
    case ID_VIEW_STATUS_BAR:
        ui.bCheckable = true;
        ui.bChecked = !statusBar()->isHidden();
        return true;
    case ID_FILE_CLOSE:
    case ID_WINDOW_CASCADE:
    case ID_WINDOW_TILE_HORZ:
    case ID_WINDOW_ARRANGE:
    case ID_NEXT_PANE:
    case ID_PREV_PANE:
        ui.bEnabled = !m_pMdiArea->subWindowList().isEmpty();
        return true;
    default:
        break;
    }
    if (nID >= ID_FILE_MRU_FILE1 && nID < ID_FILE_MRU_FILE1 + ID_FILE_MRU_COUNT) {
        const QStringList files = COrvalisApp::Get() ? COrvalisApp::Get()->RecentFiles() : QStringList();
        ui.bEnabled = nID - ID_FILE_MRU_FILE1 < files.size();
        return true;
    }
    return false;
}

bool CMainFrame::OnCommand(int nID)
{
    switch (nID) {
    case ID_CONNECT_INSTRUMENT: OnConnectInstrument(); return true;
    case ID_ADD_INSTRUMENT: OnAddInstrument(); return true;
    case ID_MODIFY_INSTRUMENT: OnModifyInstrument(); return true;
    case ID_TERMINAL_EMULATION: OnTerminalEmulation(); return true;
    case ID_ADD_TERMINAL: OnAddTerminal(); return true;
    case ID_MODIFY_TERMINAL: OnModifyTerminal(); return true;
    case ID_FILE_NEW: OnFileNew(); return true;
    case ID_FILE_OPEN: OnFileOpen(); return true;
    case ID_FILE_CLOSE: OnCloseDocument(); return true;
    case ID_FILE_PRINT_SETUP: OnPrintSetup(); return true;
    case ID_APP_EXIT: close(); return true;
    case ID_APP_ABOUT: OnAppAbout(); return true;
    case ID_HELP_FINDER:
    case ID_HELP:
    case ID_DEFAULT_HELP: OnHelpTopics(); return true;
    case ID_CONTEXT_HELP: QWhatsThis::enterWhatsThisMode(); return true;
    case ID_VIEW_TOOLBAR: m_pToolBar->setVisible(m_pToolBar->isHidden()); return true;
    case ID_VIEW_STATUS_BAR: statusBar()->setVisible(statusBar()->isHidden()); return true;
    case ID_WINDOW_CASCADE: CMdiWindows::Cascade(m_pMdiArea); return true;
    case ID_WINDOW_TILE_HORZ: m_pMdiArea->tileSubWindows(); return true;
    case ID_WINDOW_ARRANGE: ArrangeIcons(); return true;
    case ID_NEXT_PANE: m_pMdiArea->activateNextSubWindow(); return true;
    case ID_PREV_PANE: m_pMdiArea->activatePreviousSubWindow(); return true;
    default:
        break;
    }
    if (nID >= ID_FILE_MRU_FILE1 && nID < ID_FILE_MRU_FILE1 + ID_FILE_MRU_COUNT) {
        OnOpenRecentFile(nID - ID_FILE_MRU_FILE1);
        return true;
    }
    return false;
}

void CMainFrame::OnConnectInstrument()
{
    COrvalisApp* app = COrvalisApp::Get();
    // Stays set when the dialog is cancelled.
    app->m_bConnectRequested = 1;
    // A driver named on the command line is reconnected without asking.
    if (!app->m_bDriverOnCommandLine) {
        const QString path = CUserDialogs::Current().GetOpenFileName(
            this, app->ProgramFolder(), CFileFilter::FromResource(IDS_INSTRUMENT_DRIVER_FILTER));
        if (path.isEmpty())
            return;
        app->m_strLastUsedDriver = path;
    }
    OpenNewDocument(CDocTemplate(IDR_ORVALITYPE).NewFileName());
}

void CMainFrame::OnTerminalEmulation()
{
    COrvalisApp* app = COrvalisApp::Get();
    const QString path = CUserDialogs::Current().GetOpenFileName(
        this, app->ProgramFolder(), CFileFilter::FromResource(IDS_TERMINAL_DRIVER_FILTER));
    if (path.isEmpty())
        return;
    app->m_strLastTerminalDriver = path;
    OpenNewDocument(CDocTemplate(IDR_TERMINALTYPE).NewFileName());
}

namespace {

// New and modified instrument drivers always go into the program folder,
// under the file name of the General page.
QString InstrumentDriverTarget(const CDriverParameter& driver)
{
    return QDir(COrvalisApp::Get()->ProgramFolder()).filePath(CCodePage::ToUnicode(driver.m_strFileName));
}

bool IsSameFile(const QString& a, const QString& b)
{
    const QString canonical = QFileInfo(a).canonicalFilePath();
    return !canonical.isEmpty() && canonical == QFileInfo(b).canonicalFilePath();
}

} // namespace

void CMainFrame::OnAddInstrument()
{
    CDriverFile records;
    if (EditInstrumentDriver(records, 0) >= 0)
        StoreInstrumentDriver(records, QString(), QString());
}

void CMainFrame::OnModifyInstrument()
{
    COrvalisApp* app = COrvalisApp::Get();
    const QString path = CUserDialogs::Current().GetOpenFileName(
        this, app->ProgramFolder(), CFileFilter::FromResource(IDS_INSTRUMENT_DRIVER_FILTER));
    if (path.isEmpty())
        return;
    CDriverFile records;
    // An unreadable file leaves the defaults; a damaged one what was read before the damage.
    const QString readProblem = ReportLoadProblem(records.Load(path));
    const int page = EditInstrumentDriver(records, app->m_nModifyInstrumentPage);
    if (page < 0)
        return;
    app->m_nModifyInstrumentPage = page;
    // Not necessarily the file opened: a renamed driver or one from another
    // folder is saved under its new name in the program folder.
    StoreInstrumentDriver(records, path, readProblem);
}

void CMainFrame::OnAddTerminal()
{
    COrvalisApp* app = COrvalisApp::Get();
    CTerminalFile records;
    if (EditTerminalDriver(records, 0) < 0)
        return;
    const CFileFilter filter = CFileFilter::FromResource(IDS_TERMINAL_DRIVER_FILTER);
    const QString path = CUserDialogs::Current().GetSaveFileName(this, app->ProgramFolder(), filter);
    if (path.isEmpty())
        return;
    CSaveElsewhere::Write(this, path, filter, [&records](const QString& target) { return records.Store(target).Message(); });
}

void CMainFrame::OnModifyTerminal()
{
    COrvalisApp* app = COrvalisApp::Get();
    const CFileFilter filter = CFileFilter::FromResource(IDS_TERMINAL_DRIVER_FILTER);
    const QString path = CUserDialogs::Current().GetOpenFileName(this, app->ProgramFolder(), filter);
    if (path.isEmpty())
        return;
    CTerminalFile records;
    const QString readProblem = ReportLoadProblem(records.Load(path));
    const int page = EditTerminalDriver(records, app->m_nModifyTerminalPage);
    if (page < 0)
        return;
    app->m_nModifyTerminalPage = page;
    const auto write = [&records](const QString& target) { return records.Store(target).Message(); };
    if (readProblem.isEmpty())
        CSaveElsewhere::Write(this, path, filter, write);
    else
        CSaveElsewhere::WriteOverIncomplete(this, path, readProblem, filter, write);
}

int CMainFrame::EditInstrumentDriver(CDriverFile& records, int startPage)
{
    records.m_FunctionKeys.AppendEmptyKeys();
    CInstrumentSheet sheet(this, startPage, false);
    sheet.LoadFrom(records);
    if (CUserDialogs::Current().Exec(sheet) != QDialog::Accepted)
        return -1;
    sheet.SaveTo(records);
    return sheet.m_nLastActivePage;
}

int CMainFrame::EditTerminalDriver(CTerminalFile& records, int startPage)
{
    records.m_FunctionKeys.AppendEmptyKeys();
    CTerminalSheet sheet(this, startPage);
    sheet.LoadFrom(records);
    if (CUserDialogs::Current().Exec(sheet) != QDialog::Accepted)
        return -1;
    sheet.SaveTo(records);
    return sheet.m_nLastActivePage;
}

void CMainFrame::StoreInstrumentDriver(CDriverFile& records, const QString& openedPath, const QString& readProblem)
{
    const CFileFilter filter = CFileFilter::FromResource(IDS_INSTRUMENT_DRIVER_FILTER);
    // Saved elsewhere, the driver carries the name it is saved under.
    const auto write = [&records](const QString& target) {
        records.m_Driver.m_strFileName = CCodePage::FromUnicode(QFileInfo(target).fileName());
        return records.Store(target).Message();
    };
    const QString target = InstrumentDriverTarget(records.m_Driver);
    QString written;
    if (records.m_Driver.m_strFileName.isEmpty()) {
        written = CSaveElsewhere::OfferElsewhere(this, target + QLatin1Char('/'),
                                                 QStringLiteral("The driver has no file name (page \"General\"): "
                                                                "it was not written."),
                                                 filter, write);
    } else if (!readProblem.isEmpty() && IsSameFile(target, openedPath)) {
        written = CSaveElsewhere::WriteOverIncomplete(this, target, readProblem, filter, write);
    } else {
        written = CSaveElsewhere::Write(this, target, filter, write);
    }
    records.m_Script.DeleteContents();
    if (written.isEmpty() || openedPath.isEmpty() || IsSameFile(written, openedPath))
        return;
    // The file opened stays as it was: say where the changes went.
    CUserDialogs::Current().ShowMessage(
        this, QStringLiteral("The driver was saved as %1.\n%2 is unchanged.").arg(written, openedPath));
}

// The sheet shows what could be read; the user is told what could not.
QString CMainFrame::ReportLoadProblem(const CFileResult& result)
{
    const QString problem = CSaveElsewhere::LoadProblem(result);
    if (!problem.isEmpty()) {
        qCInfo(lcFrame).noquote() << problem;
        CUserDialogs::Current().ShowMessage(this, problem);
    }
    return problem;
}

void CMainFrame::OnFileNew()
{
    COrvalisApp* app = COrvalisApp::Get();
    QStringList names;
    for (const CDocTemplate& docTemplate : app->DocTemplates())
        names.append(docTemplate.NewFileName());
    QInputDialog dialog(this);
    dialog.setWindowTitle(QStringLiteral("New"));
    dialog.setLabelText(QStringLiteral("&New"));
    dialog.setComboBoxItems(names);
    dialog.setOption(QInputDialog::UseListViewForComboBoxItems);
    if (CUserDialogs::Current().Exec(dialog) != QDialog::Accepted)
        return;
    // A new instrument window is an empty text, not a connection.
    app->m_bConnectRequested = 0;
    OpenNewDocument(dialog.textValue());
}

void CMainFrame::OnFileOpen()
{
    COrvalisApp* app = COrvalisApp::Get();
    const QString path = CUserDialogs::Current().GetOpenFileName(this, app->ProgramFolder(),
                                                                 CFileFilter::FromResource(IDS_ALL_FILES_FILTER));
    if (path.isEmpty())
        return;
    app->AddToRecentFileList(path);
    // A saved text opens in an instrument window that is not connected.
    app->m_bConnectRequested = 0;
    if (auto* window = qobject_cast<CChildFrame*>(OpenNewDocument(CDocTemplate(IDR_ORVALITYPE).NewFileName())))
        window->SetDocumentPath(path);
}

void CMainFrame::OnOpenRecentFile(int nIndex)
{
    COrvalisApp* app = COrvalisApp::Get();
    const QString path = app->RecentFiles().value(nIndex);
    if (path.isEmpty())
        return;
    app->AddToRecentFileList(path);
    app->m_bConnectRequested = 0;
    if (auto* window = qobject_cast<CChildFrame*>(OpenNewDocument(CDocTemplate(IDR_ORVALITYPE).NewFileName())))
        window->SetDocumentPath(path);
}

void CMainFrame::OnPrintSetup()
{
    QPageSetupDialog dialog(&COrvalisApp::Get()->Printer(), this);
    CUserDialogs::Current().Exec(dialog);
}

void CMainFrame::OnCloseDocument()
{
    if (QMdiSubWindow* window = m_pMdiArea->currentSubWindow())
        window->close();
}

void CMainFrame::ArrangeIcons()
{
    // Minimised windows in a row along the bottom edge of the MDI area.
    int x = 0;
    for (QMdiSubWindow* window : m_pMdiArea->subWindowList()) {
        if (!window->isMinimized())
            continue;
        window->move(x, m_pMdiArea->viewport()->height() - window->height());
        x += window->width();
    }
}

void CMainFrame::OnAppAbout()
{
    CAboutDlg dialog(this);
    CUserDialogs::Current().Exec(dialog);
}

void CMainFrame::OnHelpTopics()
{
    CHelpWindow::ShowManual(this);
}

void CMainFrame::closeEvent(QCloseEvent* event)
{
    // Every child window may refuse (unsaved text); then the program stays.
    m_pMdiArea->closeAllSubWindows();
    for (const QMdiSubWindow* window : m_pMdiArea->subWindowList()) {
        if (window->isVisible()) {
            event->ignore();
            return;
        }
    }
    if (COrvalisApp* app = COrvalisApp::Get()) {
        app->m_nCmdShow = windowState();
        // Only the normal rectangle is kept: a maximised window opens restored.
        const QRect normal = normalGeometry();
        if (normal.isValid())
            app->m_rcWindow = CWindowRect::FromGeometry(normal);
    }
    m_pIdleTimer->stop();
    event->accept();
}
