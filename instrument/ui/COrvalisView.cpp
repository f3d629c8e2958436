#include "COrvalisView.h"

#include "CAppServices.h"
#include "CCodePage.h"
#include "CCommEvent.h"
#include "CCommGeneralPage.h"
#include "CCommandLineEdit.h"
#include "CCommPage.h"
#include "CDocumentFrame.h"
#include "CDriverFile.h"
#include "CElidedLabel.h"
#include "CExcel.h"
#include "CExcelOutput.h"
#include "CFileFilter.h"
#include "CFrameServices.h"
#include "CFunctionKeysPage.h"
#include "CHexPane.h"
#include "CInstrumentSheet.h"
#include "CLineSettingsText.h"
#include "CNameLineBreaks.h"
#include "CParse.h"
#include "CPublishingPage.h"
#include "CSaveElsewhere.h"
#include "CScriptPage.h"
#include "CSerialNumberDlgPrompt.h"
#include "CSettingsPage.h"
#include "CStringTable.h"
#include "CUserDialogs.h"
#include "FrameworkIds.h"
#include "ResourceIds.h"

#include <QAction>
#include <QCloseEvent>
#include <QCoreApplication>
#include <QDateTime>
#include <QElapsedTimer>
#include <QFileInfo>
#include <QLabel>
#include <QLoggingCategory>
#include <QMdiSubWindow>
#include <QSettings>
#include <QStatusBar>
#include <QTextCursor>
#include <QThread>
#include <QTimer>

Q_LOGGING_CATEGORY(lcView, "orvalis.instrument.view")

namespace {

// Menu positions in the instrument window's menu (129).
constexpr int ConnectPopup = 3;

const QString LinePaneName = QStringLiteral("LinePane");
// The window whose line the pane shows: the active instrument window.
const COrvalisView* g_pLinePaneOwner = nullptr;

// Releases the channel's reader whatever happens in a processing pass.
class CAcknowledgeGuard
{
public:
    explicit CAcknowledgeGuard(CComm& comm)
        : m_comm(comm)
    {
    }
    ~CAcknowledgeGuard() { m_comm.Acknowledge(); }
    CAcknowledgeGuard(const CAcknowledgeGuard&) = delete;
    CAcknowledgeGuard& operator=(const CAcknowledgeGuard&) = delete;

private:
    CComm& m_comm;
};

// A delay line of the playback file waits on the window's thread; the
// windows are still painted and other lines still served meanwhile, but the
// user's input waits.
void WaitPumpingEvents(quint32 milliseconds)
{
    QElapsedTimer timer;
    timer.start();
    for (qint64 left = milliseconds; left > 0; left = qint64(milliseconds) - timer.elapsed()) {
        QCoreApplication::processEvents(QEventLoop::ExcludeUserInputEvents, int(qMin<qint64>(left, 50)));
        const qint64 rest = qint64(milliseconds) - timer.elapsed();
        if (rest > 0)
            QThread::msleep(quint32(qMin<qint64>(rest, 5)));
    }
}

} // namespace

COrvalisView::COrvalisView(CFrameServices* services, QWidget* parent)
    : CCommView(parent)
    , m_pServices(services)
    , m_source(m_comm)
    , m_pipeline(m_script, m_terminalParam, m_driver)
    , m_appender(this)
    , m_document(this)
    , m_transferStatus(services)
    , m_pSerialNumberPrompt(std::make_unique<CSerialNumberDlgPrompt>(this))
    , m_pMessageLine(new QLabel(this))
    , m_pHexPane(new CHexPane(this))
    , m_pCommandLine(new CCommandLineEdit(this))
    , m_pScrollBarGap(new QWidget)
{
    setObjectName(QStringLiteral("COrvalisView"));
    m_pMessageLine->setObjectName(QStringLiteral("MessageLine"));
    m_pMessageLine->setWordWrap(true);
    m_pMessageLine->setTextInteractionFlags(Qt::TextSelectableByMouse);
    m_pMessageLine->setAutoFillBackground(true);
    m_pMessageLine->setBackgroundRole(QPalette::ToolTipBase);
    m_pMessageLine->setForegroundRole(QPalette::ToolTipText);
    m_pMessageLine->setContentsMargins(4, 2, 4, 2);
    m_pMessageLine->hide();
    m_pHexPane->hide();
    m_pCommandLine->hide();
    addScrollBarWidget(m_pScrollBarGap, Qt::AlignBottom);
    m_source.SetObserver([this](const QByteArray& block) { m_pHexPane->AppendBytes(block); });
    connect(m_pCommandLine, &CCommandLineEdit::commandEntered, this, &COrvalisView::OnCommandLine);
    connect(&m_reconnector, &CLineReconnector::reconnected, this, &COrvalisView::OnReconnected);
    if (CAppServices* app = CAppServices::Get())
        m_bDebugConnection = app->Profile().GetProfileInt(CProfile::Settings, QStringLiteral("DebugConnection"));
    m_pipeline.SetByteSource(&m_source);
    m_pipeline.SetTextSink(m_publishing.Sink());
    connect(&m_publishing, &CPublishingLink::Message, this, [this](const QString& text) {
        if (CFrameServices* frame = Frame())
            frame->SetPaneText(CFrameServices::PaneMessage, text);
    });
    m_pipeline.SetCommandTarget(&CommandSink());
    m_pipeline.SetSleeper(&WaitPumpingEvents);
    SetSerialNumberPrompt(m_pSerialNumberPrompt.get());
    m_pipeline.SetDebugConnection(m_bDebugConnection != 0);
    // With the spreadsheet on, received text does not make the text "changed".
    connect(&m_appender, &CTextAppender::appended, this, [this] {
        if (m_driver.m_bExcel)
            m_document.SetModifiedFlag(false);
    });
    if (auto* frame = qobject_cast<CDocumentFrame*>(parent))
        connect(frame, &CDocumentFrame::documentPathChanged, this, &COrvalisView::LoadDocument);
    OnCreate();
}

COrvalisView::~COrvalisView()
{
    OnDestroy();
}

// ---------------------------------------------------------------------------
// Creation and destruction

void COrvalisView::OnCreate()
{
    CAppServices* app = CAppServices::Get();
    if (!app)
        return;
    m_bOpenedByConnect = app->m_bConnectRequested != 0;
    if (!app->m_pCommView)
        app->m_pCommView = this;
    m_pipeline.SetPlaybackFile(&app->m_filePlayback);
    SetPlaybackFile(&app->m_filePlayback);

    m_strDriverPath = app->m_strLastUsedDriver;
    bool driverOpened = true;
    if (!m_strDriverPath.isEmpty()) {
        // A driver that cannot be read leaves the defaults (or what was read
        // before a damaged block).
        const CFileResult loaded =
            CDriverFile::Load(m_strDriverPath, m_driver, m_commParam, m_terminalParam, m_functionKeys, m_script);
        m_strDriverProblem = CSaveElsewhere::LoadProblem(loaded);
        driverOpened = loaded.GetStatus() != CFileResult::Status::NotOpened;
        if (!loaded.IsOk())
            qCInfo(lcView).noquote() << loaded.Message();
    }
    m_appender.SetNameLineBreaks(m_terminalParam.m_bShowControlChars != 0);
    m_stamper.SetControlNames(m_terminalParam.m_bShowControlChars != 0);
    LoadViewSettings();
    CreateExcelLink();
    if (m_bOpenedByConnect)
        m_publishing.StartFromProfile(app->Profile().Path(), CCodePage::ToUnicode(m_driver.m_strName));
    if (CFrameServices* frame = Frame())
        m_publishing.ShowIn(frame->StatusBar());

    // Every opened window adds eight empty keys; only 0..7 are used.
    m_functionKeys.AppendEmptyKeys();
    ShowFunctionKeys();
    if (CFrameServices* frame = Frame())
        frame->SetPaneText(CFrameServices::PaneCount, QString());

    // A window not opened by Connect Instrument (a saved text) is an
    // ordinary text window: its line is not opened at all.
    if (m_bOpenedByConnect) {
        // Without its driver there is no line to open: the window says why.
        if (driverOpened)
            OpenPort();
        else
            ReportLineProblem(m_strDriverProblem);
        EnableWindow(!m_comm.IsPortOpen());
        if (!m_comm.IsPortOpen())
            m_terminalParam.m_bLocalEcho = 1;
        if (!m_strDriverProblem.isEmpty())
            QTimer::singleShot(0, this, [this, driverOpened] { ReportDriverProblem(driverOpened); });
    } else {
        EnableWindow(true);
        m_terminalParam.m_bLocalEcho = 1;
        SetLineState();
    }
    m_bEpsonPrinter = m_v24Printer.CheckPrinter() ? 1 : 0;
    m_bProgress = app->Profile().GetProfileInt(CProfile::Settings, QStringLiteral("Progress"));
    if (m_bProgress)
        m_pipeline.SetProgressReporter([frame = Frame()](qint64 total) {
            if (frame)
                frame->PostShowCount(int(total));
        });
}

void COrvalisView::closeEvent(QCloseEvent* event)
{
    // A processing pass waiting in a dialog or a playback delay finishes first.
    if (m_nPassDepth > 0) {
        m_bCloseAfterPass = true;
        event->ignore();
        return;
    }
    m_appender.Flush();
    if (!SaveModified()) {
        event->ignore();
        return;
    }
    OnDestroy();
    event->accept();
}

bool COrvalisView::SaveModified()
{
    if (!m_document.IsModified())
        return true;
    const QMdiSubWindow* window = qobject_cast<QMdiSubWindow*>(parentWidget());
    const QString name = window ? window->windowTitle() : windowTitle();
    switch (CUserDialogs::Current().AskSaveChanges(this, name)) {
    case CUserDialogs::SaveChanges:
        OnFileSave();
        return !m_document.IsModified();
    case CUserDialogs::DiscardChanges:
        return true;
    case CUserDialogs::CancelClose:
        break;
    }
    return false;
}

void COrvalisView::OnDestroy()
{
    if (m_bDestroyed)
        return;
    m_bDestroyed = true;
    m_reconnector.Stop();
    CAppServices* app = CAppServices::Get();
    // Shown only while the program runs normally, not while it is torn down.
    if (app && app->HasMainWindow() &&
        app->Profile().GetProfileInt(CProfile::Settings, QStringLiteral("TotalBytesDlg"))) {
        CUserDialogs::Current().ShowMessage(this, QString::asprintf("Total Bytes: %d\nTotal Bytes in Array: %d",
                                                                    int(m_pipeline.TotalBytes()),
                                                                    int(m_pipeline.ReceivedBytes().size())));
    }
    if (app) {
        if (app->m_filePlayback.IsOpen())
            app->m_filePlayback.Close();
        app->m_bConnectRequested = 0;
    }
    m_pipeline.SetCellSink(nullptr);
    m_stampColumn.SetTarget(nullptr);
    m_pExcel.reset();
    CCommView::OnDestroy();
    m_log.Stop();
    m_bLogging = false;
    m_publishing.Stop();
    // The printer line closes and its job prints.
    m_v24Printer.SwitchOff();
    m_transferStatus.Finish();
    if (CFrameServices* frame = Frame())
        frame->ShowFunctionKeyBar(0);
    WriteDriverBack();
    m_script.DeleteContents();
    if (app && app->m_pCommView == this)
        app->m_pCommView = nullptr;
    if (g_pLinePaneOwner == this) {
        g_pLinePaneOwner = nullptr;
        UpdateLinePane();
    }
}

void COrvalisView::ReportDriverProblem(bool bDriverOpened)
{
    const QString consequence =
        bDriverOpened ? QStringLiteral("The window uses what was read before the damage; the file is written "
                                       "back only when you change the settings and confirm.")
                      : QStringLiteral("The instrument is not connected.");
    CUserDialogs::Current().ShowMessage(this, QStringLiteral("%1\n\n%2").arg(m_strDriverProblem, consequence));
}

void COrvalisView::WriteDriverBack()
{
    if (m_strDriverPath.isEmpty())
        return;
    const auto write = [this](const QString& path) {
        // Saved elsewhere, the driver carries the name it is saved under.
        if (path != m_strDriverPath)
            m_driver.m_strFileName = CCodePage::FromUnicode(QFileInfo(path).fileName());
        return CDriverFile::Store(path, m_driver, m_commParam, m_terminalParam, m_functionKeys, m_script).Message();
    };
    const CAppServices* app = CAppServices::Get();
    // While the program is torn down nobody can be asked.
    const bool canAsk = app && app->HasMainWindow();
    if (!m_strDriverProblem.isEmpty()) {
        // A file not read completely is left as it is, unless the user
        // changed the settings and confirms.
        if (m_bDriverEdited && canAsk)
            CSaveElsewhere::WriteOverIncomplete(window(), m_strDriverPath, m_strDriverProblem,
                                                CFileFilter::FromResource(IDS_INSTRUMENT_DRIVER_FILTER), write);
        return;
    }
    // An existing file is overwritten from its start and not shortened.
    if (canAsk) {
        CSaveElsewhere::Write(window(), m_strDriverPath, CFileFilter::FromResource(IDS_INSTRUMENT_DRIVER_FILTER),
                              write);
        return;
    }
    const QString problem = write(m_strDriverPath);
    if (!problem.isEmpty())
        qCWarning(lcView).noquote() << problem;
}

// ---------------------------------------------------------------------------
// The line

void COrvalisView::OpenPort()
{
    if (m_comm.OpenPort(m_commParam) && m_comm.IsPortOpen()) {
        ClearLineProblem();
    } else {
        QString reason = m_comm.GetLastError();
        if (reason.isEmpty())
            reason = QStringLiteral("Cannot open %1").arg(CCodePage::ToUnicode(m_commParam.GetConnector()));
        ReportLineProblem(reason);
    }
    SetLineState();
}

void COrvalisView::SetLineState()
{
    // While the line is open the text is bounded and appended text is not
    // undoable; closed, it is an editor with its undo history.
    const bool open = m_comm.IsPortOpen();
    m_appender.SetMaxLines(open ? CTextAppender::DefaultMaxLines : 0);
    document()->setUndoRedoEnabled(!open);
    UpdateLinePane();
}

void COrvalisView::ClearLineProblem()
{
    // The status bar no longer tells of a problem that is over (another
    // window's message stays).
    CFrameServices* frame = Frame();
    if (frame && !m_strLineProblem.isEmpty() && frame->GetPaneText(CFrameServices::PaneMessage) == m_strLineProblem)
        frame->SetPaneText(CFrameServices::PaneMessage, CStringTable::Text(AFX_IDS_IDLEMESSAGE));
    m_strLineProblem.clear();
    setPlaceholderText(QString());
    ShowMessageLine(QString());
}

void COrvalisView::ShowMessageLine(const QString& text)
{
    m_pMessageLine->setText(text);
    m_pMessageLine->setVisible(!text.isEmpty());
    LayOutPanes();
}

void COrvalisView::LayOutPanes()
{
    // Below the text, as wide as the window and over the gap below the
    // scroll bar; the message as high as the whole message needs.
    const int width = contentsRect().width();
    const int hexHeight = m_pHexPane->isHidden() ? 0 : m_pHexPane->PreferredHeight();
    const int messageHeight = m_pMessageLine->isHidden() ? 0 : m_pMessageLine->heightForWidth(width);
    const int commandHeight = m_pCommandLine->isHidden() ? 0 : m_pCommandLine->sizeHint().height();
    const int panesHeight = hexHeight + messageHeight + commandHeight;
    m_pScrollBarGap->setFixedHeight(panesHeight);
    setViewportMargins(0, 0, 0, panesHeight);
    const QRect text = viewport()->geometry();
    int top = text.bottom() + 1;
    for (auto [pane, height] : {std::pair<QWidget*, int>{m_pHexPane, hexHeight},
                                {m_pMessageLine, messageHeight},
                                {m_pCommandLine, commandHeight}}) {
        pane->setGeometry(contentsRect().left(), top, width, height);
        pane->raise();
        top += height;
    }
}

void COrvalisView::resizeEvent(QResizeEvent* event)
{
    CCommView::resizeEvent(event);
    LayOutPanes();
}

void COrvalisView::ReportLineProblem(const QString& text)
{
    m_strLineProblem = text;
    qCWarning(lcView).noquote() << text;
    // An empty window says it too, in grey; the window's own message line
    // keeps the whole text however narrow the status bar is.
    setPlaceholderText(QStringLiteral("Not connected.\n%1").arg(text));
    ShowMessageLine(text);
    if (CFrameServices* frame = Frame())
        frame->SetPaneText(CFrameServices::PaneMessage, text);
}

void COrvalisView::OnConnectDisconnect()
{
    // The user decides now.
    StopWaitingForLine();
    const bool wasOpen = m_comm.IsPortOpen();
    if (wasOpen) {
        m_appender.Flush();
        m_comm.SetPortOpen(false);
        SetLineState();
    } else {
        OpenPort();
    }
    const bool closed = !m_comm.IsPortOpen();
    EnableWindow(closed);
    m_terminalParam.m_bLocalEcho = closed ? 1 : 0;
    if (!m_bOpenedByConnect)
        return;
    UpdateConnectMenuText();
    if (wasOpen && closed && m_bDebugConnection) {
        // The replay starts on lines of its own, whatever ended the text.
        m_appender.Reset();
        m_pipeline.DebugReplay();
        m_appender.Flush();
    }
}

void COrvalisView::OnComMessage(const CCommEvent& event)
{
    const bool lost = event.lParam() == CCommEvent::LineError && m_comm.IsLineLost();
    {
        CAcknowledgeGuard acknowledge(m_comm);
        if (event.lParam() & CCommEvent::DataReceived)
            OnCommEvent();
        // Everything received before the loss is in the text before it is told.
        if (lost)
            m_appender.Flush();
    }
    if (lost)
        OnLineLost();
    if (m_bCloseAfterPass && m_nPassDepth == 0) {
        m_bCloseAfterPass = false;
        if (QWidget* window = parentWidget())
            QTimer::singleShot(0, window, &QWidget::close);
    }
}

void COrvalisView::OnCommEvent()
{
    ++m_nPassDepth;
    m_pipeline.OnCommEvent();
    --m_nPassDepth;
    NoteTransferStart();
}

bool COrvalisView::PollInput()
{
    const CAppServices* app = CAppServices::Get();
    if (!app || app->m_dwPlatformId != 0)
        return true;
    ++m_nPassDepth;
    m_pipeline.PollInput();
    --m_nPassDepth;
    return true;
}

void COrvalisView::OnLineLost()
{
    // The channel closed itself when the loss was acknowledged.
    QString reason = m_comm.GetLastError();
    if (reason.isEmpty())
        reason = QStringLiteral("Connection to %1 lost").arg(CCodePage::ToUnicode(m_commParam.GetConnector()));
    ReportLineProblem(reason);
    SetLineState();
    EnableWindow(true);
    m_terminalParam.m_bLocalEcho = 1;
    if (m_bOpenedByConnect)
        UpdateConnectMenuText();
    if (m_bOpenedByConnect && m_viewSettings.m_bReconnect)
        StartWaitingForLine();
}

// The link connects on its own thread; the window goes on at once and the
// status bar tells what became of it.
void COrvalisView::CreateExcelLink()
{
    if (m_pExcel || !m_driver.m_bExcel)
        return;
    m_pExcel = std::make_unique<CExcelOutput>(std::make_unique<CExcel>(), m_strDriverPath);
    connect(m_pExcel.get(), &CExcelOutput::message, this, [this](const QString& text) {
        qCInfo(lcView).noquote() << text;
        if (CFrameServices* frame = Frame())
            frame->SetPaneText(CFrameServices::PaneMessage, text);
    });
    m_stampColumn.SetTarget(m_pExcel.get());
    m_pipeline.SetCellSink(&m_stampColumn);
    m_pExcel->Start();
}

void COrvalisView::AppendBytes(const QByteArray& bytes)
{
    m_appender.Append(bytes);
    // The log wrote this piece just before it came here.
    if (m_bLogging && !m_log.IsLogging())
        ReportLogFailure();
}

void COrvalisView::DeleteLastCharacter()
{
    m_appender.Flush();
    QTextCursor cursor(document());
    cursor.movePosition(QTextCursor::End);
    cursor.deletePreviousChar();
}

// ---------------------------------------------------------------------------
// Menu, activation, function keys

void COrvalisView::UpdateConnectMenuText()
{
    CFrameServices* frame = Frame();
    if (!frame)
        return;
    if (QAction* item = frame->MenuItem(ConnectPopup, ID_CONNECT_INSTRUMENT)) {
        item->setText(CStringTable::Text(m_comm.IsPortOpen() ? IDS_DISCONNECT_INSTRUMENT : IDS_CONNECT_INSTRUMENT));
    }
}

void COrvalisView::OnActivateView(bool bActivate)
{
    if (!bActivate) {
        // Another kind of window may come: the pane shows no stale line.
        if (g_pLinePaneOwner == this) {
            g_pLinePaneOwner = nullptr;
            UpdateLinePane();
        }
        return;
    }
    g_pLinePaneOwner = this;
    UpdateLinePane();
    if (CFrameServices* frame = Frame())
        m_publishing.ShowIn(frame->StatusBar());
    UpdateConnectMenuText();
    m_v24Printer.UpdateMenu();
    // The bar shows the keys of the window that is active.
    ShowFunctionKeys();
    if (!m_strLineProblem.isEmpty() && !m_comm.IsPortOpen()) {
        if (CFrameServices* frame = Frame())
            frame->SetPaneText(CFrameServices::PaneMessage, m_strLineProblem);
    }
}

void COrvalisView::ShowFunctionKeys()
{
    CFrameServices* frame = Frame();
    if (!frame)
        return;
    for (int k = 0; k < ID_FUNCTION_KEY_COUNT; ++k)
        frame->SetFunctionKeyText(ID_FUNCTION_KEY_F1 + k, CCodePage::ToUnicode(m_functionKeys.GetName(k)));
    frame->ShowFunctionKeyBar(m_functionKeys.m_bShowKeys);
}

void COrvalisView::OnFunctionKey(int k)
{
    QString caption;
    if (CFrameServices* frame = Frame())
        frame->GetFunctionKeyText(ID_FUNCTION_KEY_F1 + k, caption);
    if (caption.isEmpty()) {
        MessageBeep();
    } else {
        SendCommand(m_functionKeys.GetCommand(k));
        NoteTransferStart();
    }
    setFocus();
}

bool COrvalisView::OnCommand(int nID)
{
    if (nID >= ID_FUNCTION_KEY_F1 && nID < ID_FUNCTION_KEY_F1 + ID_FUNCTION_KEY_COUNT) {
        OnFunctionKey(nID - ID_FUNCTION_KEY_F1);
        return true;
    }
    switch (nID) {
    case ID_CONNECT_INSTRUMENT: OnConnectDisconnect(); return true;
    case ID_OPTIONS: OnOptions(); return true;
    case ID_SEND_FILE: OnSendFile(); return true;
    case ID_STOP_TRANSMISSION: OnStopTransmission(); return true;
    case ID_V24_PRINTER: OnV24Printer(); return true;
    case ID_V24_PRINTER_SETTINGS: OnV24PrinterSettings(); return true;
    case ID_FILE_SAVE: OnFileSave(); return true;
    case ID_FILE_SAVE_AS: OnFileSaveAs(); return true;
    case ID_LOG_TO_FILE: OnLogToFile(); return true;
    case ID_STOP_LOGGING: OnStopLogging(); return true;
    case ID_TIME_STAMPS: OnTimeStamps(); return true;
    case ID_TIME_STAMP_COLUMN: OnTimeStampColumn(); return true;
    case ID_HEX_BYTES: OnHexBytes(); return true;
    case ID_COMMAND_LINE: OnCommandLineShown(); return true;
    case ID_LINE_DTR: OnModemLine(CComm::LineDtr); return true;
    case ID_LINE_RTS: OnModemLine(CComm::LineRts); return true;
    case ID_RECONNECT: OnReconnectSwitch(); return true;
    default: break;
    }
    if (OnPaneEditCommand(nID))
        return true;
    // Print and the edit commands: the pending text goes in first.
    m_appender.Flush();
    return CCommView::OnCommand(nID);
}

bool COrvalisView::OnUpdateCommand(int nID, CCmdUI& ui)
{
    if (nID >= ID_FUNCTION_KEY_F1 && nID < ID_FUNCTION_KEY_F1 + ID_FUNCTION_KEY_COUNT)
        return true;
    switch (nID) {
    case ID_CONNECT_INSTRUMENT:
    case ID_SEND_FILE:
        ui.bEnabled = m_bOpenedByConnect;
        return true;
    case ID_V24_PRINTER:
        // Once on, it can always be switched off.
        ui.bEnabled = m_bEpsonPrinter != 0 || m_v24Printer.IsOn();
        ui.bCheckable = true;
        ui.bChecked = m_v24Printer.IsOn();
        return true;
    case ID_V24_PRINTER_SETTINGS:
        return true;
    case ID_STOP_TRANSMISSION:
        ui.bEnabled = m_bSending != 0;
        return true;
    case ID_OPTIONS:
    case ID_FILE_SAVE:
    case ID_FILE_SAVE_AS:
        return true;
    case ID_LOG_TO_FILE:
        ui.bCheckable = true;
        ui.bChecked = m_log.IsLogging();
        return true;
    case ID_STOP_LOGGING:
        ui.bEnabled = m_log.IsLogging();
        return true;
    case ID_TIME_STAMPS:
        ui.bCheckable = true;
        ui.bChecked = m_viewSettings.m_bTimeStamps;
        return true;
    case ID_TIME_STAMP_COLUMN:
        // Only cells have columns.
        ui.bEnabled = m_driver.m_bExcel != 0;
        ui.bCheckable = true;
        ui.bChecked = m_viewSettings.m_bTimeStampColumn;
        return true;
    case ID_HEX_BYTES:
        ui.bCheckable = true;
        ui.bChecked = m_viewSettings.m_bHexBytes;
        return true;
    case ID_LINE_DTR:
    case ID_LINE_RTS: {
        const CComm::ModemLine line = nID == ID_LINE_DTR ? CComm::LineDtr : CComm::LineRts;
        ui.bEnabled = m_comm.IsPortOpen() && m_comm.IsModemLineFree(line);
        ui.bCheckable = true;
        ui.bChecked = m_comm.IsModemLineRaised(line);
        return true;
    }
    case ID_RECONNECT:
        ui.bEnabled = m_bOpenedByConnect;
        ui.bCheckable = true;
        ui.bChecked = m_viewSettings.m_bReconnect;
        return true;
    case ID_COMMAND_LINE:
        // A saved text opened from a file has no line to send to.
        ui.bEnabled = m_bOpenedByConnect;
        ui.bCheckable = true;
        ui.bChecked = m_viewSettings.m_bCommandLine;
        return true;
    default:
        if (OnUpdatePaneEditCommand(nID, ui))
            return true;
        return CCommView::OnUpdateCommand(nID, ui);
    }
}

// ---------------------------------------------------------------------------
// Options

void COrvalisView::OnOptions()
{
    CAppServices* app = CAppServices::Get();
    CInstrumentSheet sheet(this, app->m_nInstrumentOptionsPage, true);
    sheet.m_pGeneralPage->SetData(m_driver);
    sheet.m_pCommPage->SetParameters(m_commParam);
    sheet.m_pSettingsPage->LoadFrom(m_terminalParam);
    sheet.m_pFunctionKeysPage->LoadFrom(m_functionKeys);
    sheet.m_pScriptPage->LoadFrom(m_script);
    const QString driverName = CCodePage::ToUnicode(m_driver.m_strName);
    sheet.m_pPublishingPage->LoadFor(app->Profile().Path(), driverName);

    m_appender.Flush();
    StopWaitingForLine();
    if (m_comm.IsPortOpen())
        m_comm.SetPortOpen(false);
    if (CUserDialogs::Current().Exec(sheet) != QDialog::Accepted) {
        // The line opens again with the settings it had.
        OpenPort();
        if (m_bOpenedByConnect)
            UpdateConnectMenuText();
        return;
    }
    app->m_nInstrumentOptionsPage = sheet.m_nLastActivePage;
    m_bDriverEdited = true;
    const int showControlChars = m_terminalParam.m_bShowControlChars;
    sheet.m_pGeneralPage->GetData(m_driver);
    sheet.m_pSettingsPage->SaveTo(m_terminalParam);
    sheet.m_pCommPage->GetParameters(m_commParam);
    sheet.m_pScriptPage->SaveTo(m_script);
    OpenPort();
    if (m_terminalParam.m_bShowControlChars != showControlChars)
        ConvertShownText(m_terminalParam.m_bShowControlChars != 0);
    sheet.m_pFunctionKeysPage->SaveTo(m_functionKeys);
    ShowFunctionKeys();
    sheet.m_pPublishingPage->SaveFor(driverName);
    if (m_bOpenedByConnect)
        m_publishing.Start(sheet.m_pPublishingPage->Settings(), driverName);
    if (m_bOpenedByConnect)
        UpdateConnectMenuText();
    CreateExcelLink();
}

void COrvalisView::ConvertShownText(bool bShowControlChars)
{
    m_appender.Flush();
    const CParse parse;
    QString converted;
    if (bShowControlChars) {
        // Every line break stands for the CR LF it was received as.
        QString text = toPlainText();
        text.replace(QLatin1Char('\n'), QLatin1String("\r\n"));
        QByteArray bytes = CCodePage::FromUnicode(text);
        parse.EncodeControlCodes(bytes);
        converted = CNameLineBreaks().Add(CCodePage::ToUnicode(bytes));
    } else {
        // Line by line, so a "<NUL>" in the text ends only its own line.
        const QStringList lines = CNameLineBreaks::Remove(toPlainText()).split(QLatin1Char('\n'));
        QByteArray bytes;
        for (qsizetype i = 0; i < lines.size(); ++i) {
            QByteArray line = CCodePage::FromUnicode(lines.at(i));
            parse.DecodeControlCodes(line);
            if (i > 0)
                bytes += '\n';
            bytes += line;
        }
        converted = CDisplayText().Convert(bytes);
    }
    m_appender.ReplaceAll(converted);
    m_appender.SetNameLineBreaks(bShowControlChars);
    m_stamper.SetControlNames(bShowControlChars);
}

// ---------------------------------------------------------------------------
// Sending files

void COrvalisView::OnSendFile()
{
    CAppServices* app = CAppServices::Get();
    const QString path = CUserDialogs::Current().GetOpenFileName(
        this, app->ProgramFolder(), CFileFilter::FromResource(IDS_ALL_FILES_FILTER), QStringLiteral("Send File"));
    if (path.isEmpty())
        return;
    CFrameServices* frame = Frame();
    if (frame) {
        frame->SetPaneText(CFrameServices::PaneMessage, QStringLiteral("Sending file %1").arg(path));
        frame->PaneWidget(CFrameServices::PaneMessage)->repaint();
    }
    if (!SendFile(path)) {
        // One file at a time: the one going out is not disturbed.
        if (frame)
            frame->SetPaneText(CFrameServices::PaneMessage,
                               QStringLiteral("Cannot send %1: a file is being sent already").arg(path));
        return;
    }
    NoteTransferStart();
    if (frame)
        frame->SetPaneText(CFrameServices::PaneMessage, CStringTable::Text(AFX_IDS_IDLEMESSAGE));
}

void COrvalisView::NoteTransferStart()
{
    // Whatever started it (Send File, a function key's or a playback line's
    // file macro), a transfer of this window can be stopped here.
    if (!IsTransferRunning() || m_bSending)
        return;
    m_bSending = 1;
    m_transferStatus.Start(Sender().Progress());
}

void COrvalisView::OnStopTransmission()
{
    StopTransmission();
}

void COrvalisView::OnSendProgressMessage(qint64 sent, qint64 total)
{
    CCommView::OnSendProgressMessage(sent, total);
    m_transferStatus.Update(Sender().Progress(), QDateTime::currentSecsSinceEpoch());
}

void COrvalisView::OnTransmissionEnded()
{
    m_bSending = 0;
    CCommView::OnTransmissionEnded();
    m_transferStatus.Finish();
    // What was queued meanwhile may have started the next file.
    NoteTransferStart();
}

// ---------------------------------------------------------------------------
// The text as a document

void COrvalisView::LoadDocument(const QString& path)
{
    if (path.isEmpty() || path == m_document.GetPathName())
        return;
    QString error;
    if (m_document.OnOpenDocument(path, &error)) {
        m_appender.Reset();
        return;
    }
    CUserDialogs::Current().ShowMessage(this, error);
    // Nothing to show: the window goes, as if it had not been opened.
    if (QWidget* window = parentWidget())
        QTimer::singleShot(0, window, &QWidget::close);
}

void COrvalisView::OnFileSave()
{
    if (m_document.GetPathName().isEmpty()) {
        OnFileSaveAs();
        return;
    }
    SaveTo(m_document.GetPathName());
}

void COrvalisView::OnFileSaveAs()
{
    CAppServices* app = CAppServices::Get();
    const QString path = CUserDialogs::Current().GetSaveFileName(this, app->ProgramFolder(),
                                                                 CFileFilter::FromResource(IDS_ALL_FILES_FILTER));
    if (!path.isEmpty())
        SaveTo(path);
}

bool COrvalisView::SaveTo(const QString& path)
{
    m_appender.Flush();
    const QString written =
        CSaveElsewhere::Write(this, path, CFileFilter::FromResource(IDS_ALL_FILES_FILTER), [this](const QString& target) {
            QString error;
            return m_document.OnSaveDocument(target, &error) ? QString() : error;
        });
    if (written.isEmpty())
        return false;
    if (CAppServices* app = CAppServices::Get())
        app->AddToRecentFileList(written);
    if (auto* frame = qobject_cast<CDocumentFrame*>(parentWidget()))
        frame->SetDocumentPath(written);
    return true;
}

// ---------------------------------------------------------------------------
// Time stamps, hex pane, command line, session log

void COrvalisView::LoadViewSettings()
{
    if (CAppServices* app = CAppServices::Get())
        m_viewSettings.Load(QSettings(app->Profile().Path(), QSettings::IniFormat),
                            CCodePage::ToUnicode(m_driver.m_strName));
    m_pCommandLine->SetHistory(m_viewSettings.m_commandHistory);
    ApplyViewSettings();
}

void COrvalisView::SaveViewSettings()
{
    m_viewSettings.m_commandHistory = m_pCommandLine->History();
    CAppServices* app = CAppServices::Get();
    if (!app)
        return;
    QSettings settings(app->Profile().Path(), QSettings::IniFormat);
    m_viewSettings.Save(settings, CCodePage::ToUnicode(m_driver.m_strName));
    settings.sync();
    if (settings.status() != QSettings::NoError) {
        if (CFrameServices* frame = Frame())
            frame->SetPaneText(CFrameServices::PaneMessage,
                               QStringLiteral("Cannot write %1: the window's settings are not kept").arg(settings.fileName()));
    }
}

void COrvalisView::ApplyViewSettings()
{
    m_stamper.SetOn(m_viewSettings.m_bTimeStamps);
    m_stampColumn.SetOn(m_viewSettings.m_bTimeStampColumn);
    m_pHexPane->setVisible(m_viewSettings.m_bHexBytes);
    m_pCommandLine->setVisible(m_viewSettings.m_bCommandLine && m_bOpenedByConnect);
    LayOutPanes();
}

void COrvalisView::OnTimeStamps()
{
    m_viewSettings.m_bTimeStamps = !m_viewSettings.m_bTimeStamps;
    ApplyViewSettings();
    SaveViewSettings();
}

void COrvalisView::OnTimeStampColumn()
{
    m_viewSettings.m_bTimeStampColumn = !m_viewSettings.m_bTimeStampColumn;
    ApplyViewSettings();
    SaveViewSettings();
}

void COrvalisView::OnHexBytes()
{
    m_viewSettings.m_bHexBytes = !m_viewSettings.m_bHexBytes;
    ApplyViewSettings();
    SaveViewSettings();
}

void COrvalisView::OnCommandLineShown()
{
    m_viewSettings.m_bCommandLine = !m_viewSettings.m_bCommandLine;
    ApplyViewSettings();
    SaveViewSettings();
    if (m_pCommandLine->isVisible())
        m_pCommandLine->setFocus();
}

void COrvalisView::OnCommandLine(const QString& text)
{
    if (!m_comm.IsPortOpen()) {
        // The text stays in the line for when the instrument is back.
        MessageBeep();
        if (CFrameServices* frame = Frame())
            frame->SetPaneText(CFrameServices::PaneMessage,
                               QStringLiteral("Not sent: %1 is not connected")
                                   .arg(CCodePage::ToUnicode(m_commParam.GetConnector())));
        return;
    }
    QByteArray bytes = CCodePage::FromUnicode(text);
    CParse().DecodeControlCodes(bytes);
    bytes += '\r';
    if (m_terminalParam.m_bSendCRLF)
        bytes += '\n';
    SendCommand(bytes);
    NoteTransferStart();
    m_pCommandLine->Accept();
    SaveViewSettings();
}

void COrvalisView::OnLogToFile()
{
    CAppServices* app = CAppServices::Get();
    const QString path =
        CUserDialogs::Current().GetSaveFileName(this, app ? app->ProgramFolder() : QString(),
                                                CFileFilter::FromResource(IDS_ALL_FILES_FILTER),
                                                QStringLiteral("Log to File"));
    if (path.isEmpty())
        return;
    m_bLogging = m_log.Start(path);
    CFrameServices* frame = Frame();
    if (!m_bLogging) {
        CUserDialogs::Current().ShowMessage(this, m_log.ErrorString());
        return;
    }
    if (frame)
        frame->SetPaneText(CFrameServices::PaneMessage, QStringLiteral("Logging to %1").arg(path));
}

void COrvalisView::OnStopLogging()
{
    if (!m_log.IsLogging())
        return;
    const QString path = m_log.FileName();
    m_log.Stop();
    m_bLogging = false;
    if (CFrameServices* frame = Frame())
        frame->SetPaneText(CFrameServices::PaneMessage, QStringLiteral("Logging to %1 stopped").arg(path));
}

void COrvalisView::ReportLogFailure()
{
    m_bLogging = false;
    const QString text = m_log.ErrorString();
    qCWarning(lcView).noquote() << text;
    if (CFrameServices* frame = Frame())
        frame->SetPaneText(CFrameServices::PaneMessage, text);
    // Not in the middle of a processing pass: the reader waits for it.
    QTimer::singleShot(0, this, [this, text] { CUserDialogs::Current().ShowMessage(this, text); });
}

// ---------------------------------------------------------------------------
// The line's state in the status bar, DTR and RTS

void COrvalisView::OnModemLine(CComm::ModemLine line)
{
    if (!m_comm.SetModemLine(line, !m_comm.IsModemLineRaised(line)))
        MessageBeep();
    UpdateLinePane();
}

// The pane names a modem line only while it is dropped: every line opens
// raised, and one held by the flow control follows it. Its tooltip tells all,
// so that the pane stays short enough for a narrow main window.
QString COrvalisView::LinePaneText(bool bFull) const
{
    const bool open = m_comm.IsPortOpen();
    // The pane is narrow; its tooltip names a long connector in full.
    const QString connector = CCodePage::ToUnicode(m_commParam.GetConnector());
    QString text = QStringLiteral("%1  %2  %3")
                       .arg(bFull ? connector : CLineSettingsText::ShortConnector(connector),
                            CLineSettingsText::Summary(m_commParam),
                            open                 ? QStringLiteral("connected")
                            : IsWaitingForLine() ? QStringLiteral("waiting")
                                                 : QStringLiteral("closed"));
    if (!open)
        return text;
    for (const auto& [line, name] : {std::pair{CComm::LineDtr, QStringLiteral("DTR")},
                                     std::pair{CComm::LineRts, QStringLiteral("RTS")}}) {
        const QString state = !m_comm.IsModemLineFree(line) ? QStringLiteral("flow")
                              : m_comm.IsModemLineRaised(line) ? QStringLiteral("on")
                                                               : QStringLiteral("off");
        if (bFull || state == QStringLiteral("off"))
            text += QStringLiteral("  %1 %2").arg(name, state);
    }
    return text;
}

void COrvalisView::UpdateLinePane()
{
    CFrameServices* frame = Frame();
    QStatusBar* bar = frame ? frame->StatusBar() : nullptr;
    if (!bar || (g_pLinePaneOwner && g_pLinePaneOwner != this))
        return;
    auto* pane = bar->findChild<CElidedLabel*>(LinePaneName);
    if (!pane) {
        pane = new CElidedLabel(bar);
        pane->setObjectName(LinePaneName);
        pane->setFrameStyle(QFrame::StyledPanel | QFrame::Sunken);
        bar->addPermanentWidget(pane);
    }
    if (!g_pLinePaneOwner) {
        pane->clear();
        pane->hide();
        return;
    }
    pane->setText(LinePaneText(false));
    pane->setToolTip(LinePaneText(true));
    // The desktop's own colours: normal text while connected, the dimmed
    // text of the theme while closed.
    pane->setForegroundRole(m_comm.IsPortOpen() ? QPalette::WindowText : QPalette::PlaceholderText);
    pane->show();
}

bool COrvalisView::OnPaneEditCommand(int nID)
{
    if (m_pCommandLine->hasFocus()) {
        switch (nID) {
        case ID_EDIT_UNDO: m_pCommandLine->undo(); return true;
        case ID_EDIT_CUT: m_pCommandLine->cut(); return true;
        case ID_EDIT_COPY: m_pCommandLine->copy(); return true;
        case ID_EDIT_PASTE: m_pCommandLine->paste(); return true;
        default: return false;
        }
    }
    if (m_pHexPane->hasFocus() && nID == ID_EDIT_COPY) {
        m_pHexPane->copy();
        return true;
    }
    return false;
}

bool COrvalisView::OnUpdatePaneEditCommand(int nID, CCmdUI& ui) const
{
    if (m_pCommandLine->hasFocus()) {
        switch (nID) {
        case ID_EDIT_UNDO: ui.bEnabled = m_pCommandLine->isUndoAvailable(); return true;
        case ID_EDIT_CUT:
        case ID_EDIT_COPY: ui.bEnabled = m_pCommandLine->hasSelectedText(); return true;
        case ID_EDIT_PASTE: ui.bEnabled = true; return true;
        default: return false;
        }
    }
    if (m_pHexPane->hasFocus() && nID == ID_EDIT_COPY) {
        ui.bEnabled = m_pHexPane->textCursor().hasSelection();
        return true;
    }
    return false;
}

// ---------------------------------------------------------------------------
// Reconnecting a lost line

void COrvalisView::OnReconnectSwitch()
{
    m_viewSettings.m_bReconnect = !m_viewSettings.m_bReconnect;
    SaveViewSettings();
    if (!m_viewSettings.m_bReconnect)
        StopWaitingForLine();
}

void COrvalisView::StartWaitingForLine()
{
    m_reconnector.Start(m_commParam);
    ReportLineProblem(QStringLiteral("%1 - %2").arg(m_strLineProblem, m_reconnector.WaitingText()));
    UpdateLinePane();
}

void COrvalisView::StopWaitingForLine()
{
    if (!m_reconnector.IsWaiting())
        return;
    m_reconnector.Stop();
    UpdateLinePane();
}

void COrvalisView::OnReconnected(const QString& message)
{
    ClearLineProblem();
    // The readings have a gap: the window says so until the line is opened
    // or lost again, however little of the status bar the message gets.
    ShowMessageLine(message);
    SetLineState();
    EnableWindow(false);
    m_terminalParam.m_bLocalEcho = 0;
    UpdateConnectMenuText();
    if (CFrameServices* frame = Frame())
        frame->SetPaneText(CFrameServices::PaneMessage, message);
}
