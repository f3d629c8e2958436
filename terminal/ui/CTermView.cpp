#include "CTermView.h"

#include "CAppServices.h"
#include "CCodePage.h"
#include "CCommEvent.h"
#include "CFileFilter.h"
#include "CFrameServices.h"
#include "CProgramFolder.h"
#include "CSerialNumberDlgPrompt.h"
#include "CStringTable.h"
#include "CTerminalDisplay.h"
#include "CTerminalFile.h"
#include "CTerminalReceiver.h"
#include "CTerminalSheet.h"
#include "CUserDialogs.h"
#include "FrameworkIds.h"
#include "ResourceIds.h"

#include <QApplication>
#include <QClipboard>
#include <QCloseEvent>
#include <QDateTime>
#include <QFileInfo>
#include <QKeyEvent>
#include <QLabel>
#include <QLoggingCategory>
#include <QMdiArea>
#include <QMdiSubWindow>
#include <QSettings>
#include <QVBoxLayout>

Q_LOGGING_CATEGORY(lcTermView, "orvalis.terminal.view")

int CTermView::s_nOptionsPage = 0;

namespace {

// The control code of Ctrl with a key: Ctrl+A..Z 1..26, Ctrl+@ or Space 0,
// Ctrl+[ \ ] ^ _ 27..31; -1 for any other key.
int ControlCode(int key)
{
    if (key >= Qt::Key_A && key <= Qt::Key_Z)
        return key - Qt::Key_A + 1;
    switch (key) {
    case Qt::Key_At:
    case Qt::Key_Space: return 0;
    case Qt::Key_BracketLeft: return 27;
    case Qt::Key_Backslash: return 28;
    case Qt::Key_BracketRight: return 29;
    case Qt::Key_AsciiCircum: return 30;
    case Qt::Key_Underscore: return 31;
    default: return -1;
    }
}

// Keys whose character a platform may not report: what a terminal's keys send.
QByteArray PlainKeyBytes(int key)
{
    switch (key) {
    case Qt::Key_Return:
    case Qt::Key_Enter: return "\r";
    case Qt::Key_Backspace: return "\b";
    case Qt::Key_Tab:
    case Qt::Key_Backtab: return "\t";
    case Qt::Key_Escape: return "\x1b";
    case Qt::Key_Delete: return "\x7f";
    default: return {};
    }
}

bool IsProgramFunctionKey(const QKeyEvent& event)
{
    const Qt::KeyboardModifiers modifiers = event.modifiers() & ~Qt::KeypadModifier;
    return event.key() >= Qt::Key_F1 && event.key() <= Qt::Key_F8 && modifiers == Qt::NoModifier;
}

} // namespace

CTermView::CTermView(CFrameServices* services, const QString& driverPath, QWidget* parent)
    : QWidget(parent)
    , m_pServices(services)
    , m_strDriverPath(driverPath)
    , m_document(this)
    , m_pDisplay(new CTerminalDisplay(m_screen, this))
    , m_source(m_comm)
    , m_transferStatus(services)
    , m_pSerialNumberPrompt(std::make_unique<CSerialNumberDlgPrompt>(this))
{
    setObjectName(QStringLiteral("CTermView"));
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(m_pDisplay);
    setFocusProxy(m_pDisplay);
    m_comm.Sender().SetSerialNumberPrompt(m_pSerialNumberPrompt.get());
    connect(&m_reconnector, &CLineReconnector::reconnected, this, &CTermView::OnReconnected);
    OnCreate();
}

CTermView::~CTermView()
{
    OnDestroy();
}

// ---------------------------------------------------------------------------
// Creation and destruction

void CTermView::OnCreate()
{
    // A missing driver gives the defaults and is created on close; one that
    // cannot be read completely is not written over.
    if (!m_strDriverPath.isEmpty()) {
        const CFileResult loaded = CTerminalFile::Load(m_strDriverPath, m_commParam, m_termParam, m_fkeys);
        if (!loaded.IsOk() && QFileInfo::exists(m_strDriverPath)) {
            m_bWriteBack = false;
            m_strStoreProblem = QStringLiteral("%1 - it is not written back when the terminal closes").arg(loaded.Message());
            qCWarning(lcTermView).noquote() << m_strStoreProblem;
        }
    }

    if (CAppServices* app = CAppServices::Get())
        m_bReconnect = QSettings(app->Profile().Path(), QSettings::IniFormat).value(ReconnectKey(), true).toBool();
    m_comm.Create(this);
    m_comm.SetDisplay(&m_screen);
    m_screen.SetReplyOutput(&m_comm);
    // The key filter: typed keys never reach the display.
    m_pDisplay->installEventFilter(this);

    // The line opens with the driver's settings and they go to the screen,
    // which takes its size from them.
    m_comm.OpenTerminal(m_commParam, m_termParam);
    ShowLineState();
    FitFrame();

    // Every opened window adds eight empty keys; only 0..7 are used.
    m_fkeys.AppendEmptyKeys();
    ShowFunctionKeys();
    if (!m_strStoreProblem.isEmpty())
        SetStatus(m_strStoreProblem);
    m_pDisplay->setFocus();
}

void CTermView::showEvent(QShowEvent* event)
{
    QWidget::showEvent(event);
    if (m_bPlaced)
        return;
    // Only now is the frame in the main window's client area.
    m_bPlaced = true;
    if (const QWidget* frame = parentWidget())
        m_document.SetTitle(frame->windowTitle());
    FitFrame();
}

void CTermView::FitFrame()
{
    auto* frame = qobject_cast<QMdiSubWindow*>(parentWidget());
    if (!frame) {
        resize(sizeHint());
        return;
    }
    frame->resize(frame->sizeHint());
    const QMdiArea* area = frame->mdiArea();
    if (!area)
        return;
    const QSize client = area->viewport()->size();
    frame->move(qMax(0, (client.width() - frame->width()) / 2), qMax(0, (client.height() - frame->height()) / 2));
    frame->update();
}

void CTermView::closeEvent(QCloseEvent* event)
{
    OnDestroy();
    // The main window is still there; not so when the view goes with it.
    if (m_pServices) {
        m_pServices->ShowFunctionKeyBar(0);
        if (!m_strStoreProblem.isEmpty())
            SetStatus(m_strStoreProblem);
    }
    event->accept();
}

void CTermView::OnDestroy()
{
    if (m_bDestroyed)
        return;
    m_bDestroyed = true;
    m_reconnector.Stop();
    m_comm.Sender().StopTransmission();
    m_comm.SetPortOpen(false);
    m_comm.SetDisplay(nullptr);
    m_screen.SetReplyOutput(nullptr);
    m_pDisplay->removeEventFilter(this);
    m_transferStatus.Finish();
    WriteDriverBack();
}

void CTermView::WriteDriverBack()
{
    if (m_strDriverPath.isEmpty() || !m_bWriteBack)
        return;
    // An existing file is overwritten from its start and not shortened; a
    // missing one is created.
    const CFileResult stored = CTerminalFile::Store(m_strDriverPath, m_commParam, m_termParam, m_fkeys);
    if (stored.IsOk())
        return;
    m_strStoreProblem = stored.Message();
    qCWarning(lcTermView).noquote() << m_strStoreProblem;
}

void CTermView::OnCloseTerminal()
{
    if (m_pServices)
        m_pServices->ShowFunctionKeyBar(0);
    m_reconnector.Stop();
    m_comm.SetPortOpen(false);
    if (auto* frame = qobject_cast<QMdiSubWindow*>(parentWidget()))
        frame->close();
    else
        close();
}

// ---------------------------------------------------------------------------
// The line

void CTermView::OpenPort()
{
    m_comm.OpenPort(m_commParam);
    ShowLineState();
}

// An open line clears the notice; otherwise the screen and the status bar
// say why it is not open, naming the device.
void CTermView::ShowLineState()
{
    if (m_comm.IsPortOpen() && m_comm.IsReaderRunning()) {
        m_strLineProblem.clear();
        m_pDisplay->SetNotice(QString());
        return;
    }
    QString reason = m_comm.GetLastError();
    if (reason.isEmpty())
        reason = QStringLiteral("Cannot open %1").arg(CCodePage::ToUnicode(m_commParam.GetConnector()));
    m_strLineProblem = reason;
    qCWarning(lcTermView).noquote() << reason;
    m_pDisplay->SetNotice(QStringLiteral("Not connected: %1").arg(reason));
    SetStatus(reason);
}

void CTermView::customEvent(QEvent* event)
{
    const QEvent::Type type = event->type();
    const auto* message = static_cast<const CCommEvent*>(event);
    if (type == CCommEvent::ComMessage()) {
        // Another channel's, or a late one of a line closed since.
        if (m_comm.IsFrom(*message))
            OnComMessage(*message);
    } else if (type == CCommEvent::SendProgress()) {
        OnSendProgressMessage(message->wParam(), message->lParam());
    } else if (type == CCommEvent::EndOfTransmission()) {
        OnTransmissionEnded();
    } else {
        QWidget::customEvent(event);
    }
}

void CTermView::OnComMessage(const CCommEvent& event)
{
    const bool lost = event.lParam() == CCommEvent::LineError && m_comm.IsLineLost();
    if (event.lParam() & CCommEvent::DataReceived)
        OnReceivedData();
    // Always, also when nothing was read: the reader waits for it.
    m_comm.Acknowledge();
    if (lost)
        OnLineLost();
}

void CTermView::OnReceivedData()
{
    const QByteArray input = CTerminalReceiver::OnReceivedData(m_source, m_termParam.m_bReceiveCRLF != 0);
    if (!input.isEmpty())
        m_screen.DisplayInput(input);
}

void CTermView::OnLineLost()
{
    // The channel closed itself when the loss was acknowledged.
    if (m_comm.GetLastError().isEmpty())
        m_strLineProblem = QStringLiteral("Connection to %1 lost").arg(CCodePage::ToUnicode(m_commParam.GetConnector()));
    else
        m_strLineProblem = m_comm.GetLastError();
    if (m_bReconnect) {
        m_reconnector.Start(m_commParam);
        m_strLineProblem = QStringLiteral("%1 - %2").arg(m_strLineProblem, m_reconnector.WaitingText());
    }
    m_pDisplay->SetNotice(QStringLiteral("Not connected: %1").arg(m_strLineProblem));
    SetStatus(m_strLineProblem);
}

void CTermView::OnReconnected(const QString& message)
{
    ShowLineState();
    SetStatus(message);
}

QString CTermView::ReconnectKey() const
{
    return QFileInfo(m_strDriverPath).fileName() + QStringLiteral("/ReconnectAutomatically");
}

void CTermView::OnReconnectSwitch()
{
    m_bReconnect = !m_bReconnect;
    if (!m_bReconnect)
        m_reconnector.Stop();
    if (CAppServices* app = CAppServices::Get())
        QSettings(app->Profile().Path(), QSettings::IniFormat).setValue(ReconnectKey(), m_bReconnect);
}

// ---------------------------------------------------------------------------
// Keys

bool CTermView::eventFilter(QObject* watched, QEvent* event)
{
    if (watched != m_pDisplay)
        return QWidget::eventFilter(watched, event);
    switch (event->type()) {
    case QEvent::ShortcutOverride: {
        auto* key = static_cast<QKeyEvent*>(event);
        if (!TakesKey(*key))
            return false;
        key->accept();
        return true;
    }
    case QEvent::KeyPress:
        OnKeyPress(*static_cast<QKeyEvent*>(event));
        return true;
    case QEvent::KeyRelease:
        return true;
    default:
        return false;
    }
}

// Keys the terminal takes before the main window's shortcuts: F1..F8 for
// the function keys, Ctrl with a letter for the control codes (Ctrl+C is
// ETX here, not Copy; Ctrl+Insert and Shift+Insert still copy and paste).
bool CTermView::TakesKey(const QKeyEvent& event) const
{
    if (IsProgramFunctionKey(event))
        return true;
    const Qt::KeyboardModifiers modifiers = event.modifiers();
    return (modifiers & Qt::ControlModifier) && !(modifiers & Qt::AltModifier) && ControlCode(event.key()) >= 0;
}

void CTermView::OnKeyPress(const QKeyEvent& event)
{
    const int key = event.key();
    const Qt::KeyboardModifiers modifiers = event.modifiers();
    // Alt belongs to the menus.
    if (modifiers & Qt::AltModifier)
        return;
    if (IsProgramFunctionKey(event)) {
        OnFunctionKey(key - Qt::Key_F1);
        return;
    }
    QByteArray bytes;
    if ((modifiers & Qt::ControlModifier) && ControlCode(key) >= 0)
        bytes = QByteArray(1, char(ControlCode(key)));
    if (bytes.isEmpty())
        bytes = m_screen.KeySequence(key, modifiers);
    if (bytes.isEmpty())
        bytes = PlainKeyBytes(key);
    if (bytes.isEmpty() && !(modifiers & Qt::ControlModifier))
        bytes = CCodePage::FromUnicode(event.text());
    if (bytes.isEmpty())
        return;
    Type(bytes);
    m_pDisplay->ScrollToBottom();
}

// Typed bytes go out as typed characters: CR -> CR/LF when the driver says
// so, shown on the screen with local echo, held back while a file is sent.
void CTermView::Type(const QByteArray& bytes)
{
    for (const char byte : bytes)
        m_comm.OnChar(byte);
}

void CTermView::OnFunctionKey(int k)
{
    QString caption;
    if (m_pServices)
        m_pServices->GetFunctionKeyText(ID_FUNCTION_KEY_F1 + k, caption);
    if (caption.isEmpty()) {
        MessageBeep();
    } else {
        m_comm.SendCommand(m_fkeys.GetCommand(k));
        NoteTransferStart();
    }
    m_pDisplay->setFocus();
}

void CTermView::OnEditCopy()
{
    if (m_pDisplay->HasSelection())
        QApplication::clipboard()->setText(m_pDisplay->SelectedText());
}

// Pasted text goes on the line as if typed; each line end is one Enter.
void CTermView::OnEditPaste()
{
    QString text = QApplication::clipboard()->text();
    text.replace(QLatin1String("\r\n"), QLatin1String("\r"));
    text.replace(QLatin1Char('\n'), QLatin1Char('\r'));
    Type(CCodePage::FromUnicode(text));
    m_pDisplay->ScrollToBottom();
}

void CTermView::MessageBeep()
{
    ++m_nBeeps;
    Q_EMIT beeped();
    QApplication::beep();
}

// ---------------------------------------------------------------------------
// Commands

bool CTermView::OnCommand(int nID)
{
    if (nID >= ID_FUNCTION_KEY_F1 && nID < ID_FUNCTION_KEY_F1 + ID_FUNCTION_KEY_COUNT) {
        OnFunctionKey(nID - ID_FUNCTION_KEY_F1);
        return true;
    }
    switch (nID) {
    case ID_TERMINAL_EMULATION: OnCloseTerminal(); return true;
    case ID_OPTIONS: OnOptions(); return true;
    case ID_SEND_FILE: OnSendFile(); return true;
    case ID_STOP_TRANSMISSION: OnStopTransmission(); return true;
    case ID_EDIT_COPY: OnEditCopy(); return true;
    case ID_EDIT_PASTE: OnEditPaste(); return true;
    case ID_RECONNECT: OnReconnectSwitch(); return true;
    default: return false;
    }
}

bool CTermView::OnUpdateCommand(int nID, CCmdUI& ui)
{
    if (nID >= ID_FUNCTION_KEY_F1 && nID < ID_FUNCTION_KEY_F1 + ID_FUNCTION_KEY_COUNT)
        return true;
    switch (nID) {
    case ID_TERMINAL_EMULATION:
    case ID_OPTIONS:
    case ID_SEND_FILE:
        return true;
    case ID_STOP_TRANSMISSION:
        ui.bEnabled = m_bSending != 0;
        return true;
    case ID_EDIT_COPY:
        ui.bEnabled = m_pDisplay->HasSelection();
        return true;
    case ID_EDIT_PASTE:
        ui.bEnabled = m_comm.IsPortOpen();
        return true;
    case ID_RECONNECT:
        ui.bCheckable = true;
        ui.bChecked = m_bReconnect;
        return true;
    case ID_EDIT_CUT:
    case ID_EDIT_UNDO:
        // Nothing on a terminal screen can be cut or undone.
        ui.bEnabled = false;
        return true;
    default:
        return false;
    }
}

void CTermView::OnActivateView(bool bActivate)
{
    if (!bActivate)
        return;
    // The bar shows the keys of the window that is active.
    ShowFunctionKeys();
    if (!m_strLineProblem.isEmpty())
        SetStatus(m_strLineProblem);
    m_pDisplay->setFocus();
}

void CTermView::ShowFunctionKeys()
{
    if (!m_pServices)
        return;
    for (int k = 0; k < ID_FUNCTION_KEY_COUNT; ++k)
        m_pServices->SetFunctionKeyText(ID_FUNCTION_KEY_F1 + k, CCodePage::ToUnicode(m_fkeys.GetName(k)));
    m_pServices->ShowFunctionKeyBar(m_fkeys.m_bShowKeys);
}

void CTermView::SetStatus(const QString& text)
{
    if (m_pServices)
        m_pServices->SetPaneText(CFrameServices::PaneMessage, text);
}

// ---------------------------------------------------------------------------
// Options

void CTermView::OnOptions()
{
    CTerminalFile records;
    records.m_Comm = m_commParam;
    records.m_Terminal = m_termParam;
    records.m_FunctionKeys = m_fkeys;
    CTerminalSheet sheet(this, s_nOptionsPage);
    sheet.LoadFrom(records);
    m_reconnector.Stop();
    if (m_comm.IsPortOpen())
        m_comm.SetPortOpen(false);
    if (CUserDialogs::Current().Exec(sheet) != QDialog::Accepted) {
        // The line opens again with the settings it had.
        OpenPort();
        m_pDisplay->setFocus();
        return;
    }
    s_nOptionsPage = sheet.m_nLastActivePage;
    sheet.SaveTo(records);
    m_termParam = records.m_Terminal;
    m_commParam = records.m_Comm;
    // The screen keeps its settings until the window opens again; typed
    // line endings and local echo follow the new values at once.
    m_comm.SetTerminalParameter(m_termParam);
    OpenPort();
    m_fkeys = records.m_FunctionKeys;
    ShowFunctionKeys();
    m_pDisplay->setFocus();
}

// ---------------------------------------------------------------------------
// Sending files

void CTermView::OnSendFile()
{
    const QString path = CUserDialogs::Current().GetOpenFileName(this, CProgramFolder::Path(),
                                                                 CFileFilter::FromResource(IDS_ALL_FILES_FILTER));
    if (path.isEmpty())
        return;
    SetStatus(QStringLiteral("Sending file %1").arg(path));
    if (m_pServices) {
        if (QLabel* pane = m_pServices->PaneWidget(CFrameServices::PaneMessage))
            pane->repaint();
    }
    const bool busy = m_comm.Sender().IsSending();
    if (!m_comm.SendFile(path)) {
        SetStatus(busy ? QStringLiteral("Cannot send %1: a file is being sent already").arg(path)
                       : QStringLiteral("Cannot send %1: it cannot be read").arg(path));
        return;
    }
    NoteTransferStart();
    SetStatus(CStringTable::Text(AFX_IDS_IDLEMESSAGE));
}

void CTermView::NoteTransferStart()
{
    // Whatever started it (Send File, a function key's file macro), a
    // transfer of this window can be stopped here.
    if (!m_comm.Sender().IsSending() || m_bSending)
        return;
    m_bSending = 1;
    m_transferStatus.Start(m_comm.Sender().Progress());
}

void CTermView::OnStopTransmission()
{
    m_comm.Sender().StopTransmission();
}

void CTermView::OnSendProgressMessage(qint64 sent, qint64 total)
{
    m_comm.OnSendProgress(sent, total);
    m_transferStatus.Update(m_comm.Sender().Progress(), QDateTime::currentSecsSinceEpoch());
}

void CTermView::OnTransmissionEnded()
{
    m_bSending = 0;
    m_comm.OnEndOfTransmission();
    m_transferStatus.Finish();
    // What was queued meanwhile may have started the next file.
    NoteTransferStart();
}
