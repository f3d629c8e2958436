#pragma once

#include "CComm.h"
#include "CCommParameter.h"
#include "CCommandSender.h"
#include "CCommandTarget.h"
#include "CDriverParameter.h"
#include "CScript.h"
#include "CTerminalParameter.h"

#include <QPlainTextEdit>

class CCommEvent;
class QPrinter;

// The text view of a communication window: it holds the channel, the
// driver's records and the sending side of the channel (command texts,
// typed characters, file transfer), sends what the user types, and prints
// its text. The instrument window's view derives from it.
//
// Enabled (a text editor) or disabled (connected: the text shows what comes
// in, can be scrolled, selected and copied, and takes no typing).
class CCommView : public QPlainTextEdit, public CCommandTarget
{
    Q_OBJECT

public:
    // Page margins of a printout, in inches.
    static constexpr double PrintMarginInches = 0.5;

    explicit CCommView(QWidget* parent = nullptr);
    ~CCommView() override;

    // The polling variant of the received-data processing, for a platform
    // without notifications. True: go on idling.
    virtual bool PollInput() { return true; }

    bool OnCommand(int nID) override;
    bool OnUpdateCommand(int nID, CCmdUI& ui) override;

    void EnableWindow(bool bEnable);
    bool IsWindowEnabled() const { return m_bWindowEnabled; }

    // Sending side of the channel: macros expanded, everything queued while
    // a file goes out.
    int SendCommand(const QByteArray& text);
    int SendFile(const QString& path);
    void StopTransmission() { m_comm.Sender().StopTransmission(); }
    CCommandSink& CommandSink() { return m_comm.Sender(); }
    // The program's playback file ("^$E") and who asks for "^$S" numbers.
    void SetPlaybackFile(CPlaybackFile* playback) { m_comm.Sender().SetPlaybackFile(playback); }
    void SetSerialNumberPrompt(CSerialNumberPrompt* prompt) { m_comm.Sender().SetSerialNumberPrompt(prompt); }
    bool IsTransferRunning() const { return m_comm.Sender().IsSending(); }
    const CCommandSender& Sender() const { return m_comm.Sender(); }

    // Prints the whole text with half-inch margins.
    void PrintText(QPrinter& printer) const;
    void OnFilePrint(bool bAskPrinter);
    void OnFilePrintPreview();

    // Times MessageBeep sounded (the tests listen to it).
    int BeepCount() const { return m_nBeeps; }

    CComm m_comm;
    CDriverParameter m_driver;
    CCommParameter m_commParam;
    CTerminalParameter m_terminalParam;
    CScript m_script;

Q_SIGNALS:
    void beeped();

protected:
    // A typed character: sent while the line is open (CR gains LF when the
    // display settings say so); it goes into the text only with local echo.
    // False when the key is to be swallowed.
    virtual bool OnChar(char character);
    // The line's notifications; the base shows received bytes as they are.
    virtual void OnComMessage(const CCommEvent& event);
    virtual void OnSendProgressMessage(qint64 sent, qint64 total);
    virtual void OnTransmissionEnded();
    // Closes the line and stops a transfer; the window can go.
    virtual void OnDestroy();

    void MessageBeep();
    void customEvent(QEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;

private:
    bool m_bWindowEnabled = true;
    int m_nBeeps = 0;
};
