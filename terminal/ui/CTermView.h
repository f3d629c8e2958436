#pragma once

#include "CComm.h"
#include "CCommByteSource.h"
#include "CCommParameter.h"
#include "CCommandTarget.h"
#include "CFunctionKeysParameter.h"
#include "CLineReconnector.h"
#include "CTermDoc.h"
#include "CTerminalParameter.h"
#include "CTerminalScreen.h"
#include "CTransferStatusBar.h"

#include <QWidget>

#include <memory>

class CCommEvent;
class CFrameServices;
class CSerialNumberPrompt;
class CTerminalDisplay;
class QKeyEvent;

// The view of a terminal window. On creation it reads its terminal driver
// (defaults when the file is missing or unreadable), opens the line with the
// driver's settings on its terminal screen, sizes its frame to the screen
// and centres it in the main window, and shows the function keys. Received
// data goes to the screen (CR -> CR/LF when the driver says so); typed keys
// go to the line and never to the screen, except as local echo: characters
// as they are (CR -> CR/LF when sending it is on), the keys without a
// character as the emulation defines them, F1..F8 as the function-key
// commands. Options edits the driver's three records with the line closed;
// the screen's size, emulation, cursor, scroll bar and echo take effect the
// next time the window opens, the line endings at once. On close the driver
// is written back to the file it was read from.
//
// A lost line is opened again when its device comes back, while "Reconnect
// Automatically" (Terminal menu) is on; the screen keeps what it showed.
//
// Each terminal window keeps its own line, keys and driver path, so any
// number of them work side by side.
class CTermView : public QWidget, public CCommandTarget
{
    Q_OBJECT

public:
    // services: the main window's function-key bar, status bar and menus
    // (nullptr: none). driverPath: the terminal driver read now and written
    // back on close.
    CTermView(CFrameServices* services, const QString& driverPath, QWidget* parent = nullptr);
    ~CTermView() override;

    bool OnCommand(int nID) override;
    bool OnUpdateCommand(int nID, CCmdUI& ui) override;
    void OnActivateView(bool bActivate) override;

    void OnCloseTerminal();
    void OnOptions();
    void OnSendFile();
    void OnStopTransmission();
    // k = 0..7 for F1..F8.
    void OnFunctionKey(int k);
    void OnEditCopy();
    void OnEditPaste();
    // "Reconnect Automatically": on by default, kept in Orvalis.ini in the
    // section of the driver's file name.
    void OnReconnectSwitch();
    bool IsWaitingForLine() const { return m_reconnector.IsWaiting(); }
    // Sizes the frame to the screen and centres it in the main window's
    // client area (at 0 where it is larger).
    void FitFrame();

    CTermDoc& GetDocument() { return m_document; }
    CTerminalScreen& Screen() { return m_screen; }
    CTerminalDisplay* Display() const { return m_pDisplay; }
    QString DriverPath() const { return m_strDriverPath; }
    // Why the line is not open; empty while it is.
    QString LineProblem() const { return m_strLineProblem; }
    int BeepCount() const { return m_nBeeps; }

    CComm m_comm;
    CCommParameter m_commParam;
    CTerminalParameter m_termParam;
    CFunctionKeysParameter m_fkeys;
    int m_bSending = 0;

    // The Options sheet starts on the page accepted last in any terminal
    // window (0 at program start).
    static int s_nOptionsPage;

Q_SIGNALS:
    void beeped();

protected:
    // The key filter of the display: keys go to the line, not to the screen.
    bool eventFilter(QObject* watched, QEvent* event) override;
    void customEvent(QEvent* event) override;
    void showEvent(QShowEvent* event) override;
    void closeEvent(QCloseEvent* event) override;

private:
    void OnCreate();
    void OnDestroy();
    void OnComMessage(const CCommEvent& event);
    void OnReceivedData();
    void OnLineLost();
    void OnReconnected(const QString& message);
    QString ReconnectKey() const;
    void OnSendProgressMessage(qint64 sent, qint64 total);
    void OnTransmissionEnded();
    bool TakesKey(const QKeyEvent& event) const;
    void OnKeyPress(const QKeyEvent& event);
    void Type(const QByteArray& bytes);
    void OpenPort();
    void ShowLineState();
    void ShowFunctionKeys();
    void NoteTransferStart();
    void WriteDriverBack();
    void SetStatus(const QString& text);
    void MessageBeep();

    CFrameServices* m_pServices;
    QString m_strDriverPath;
    CTermDoc m_document;
    CTerminalScreen m_screen;
    CTerminalDisplay* m_pDisplay;
    CCommByteSource m_source;
    CTransferStatusBar m_transferStatus;
    std::unique_ptr<CSerialNumberPrompt> m_pSerialNumberPrompt;
    QString m_strLineProblem;
    QString m_strStoreProblem; // why the driver is not (or could not be) written back
    CLineReconnector m_reconnector{m_comm};
    bool m_bReconnect = true;
    bool m_bWriteBack = true;
    bool m_bPlaced = false;
    bool m_bDestroyed = false;
    int m_nBeeps = 0;
};
