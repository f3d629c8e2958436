#pragma once

#include "CCommByteSource.h"
#include "CCommView.h"
#include "CSerialNumberPrompt.h"
#include "CFunctionKeysParameter.h"
#include "CInstrumentViewSettings.h"
#include "CLineReconnector.h"
#include "CLineStamper.h"
#include "COrvalisDoc.h"
#include "CPublishingLink.h"
#include "CReceivePipeline.h"
#include "CSessionLog.h"
#include "CTextAppender.h"
#include "CTextSink.h"
#include "CTimeStampColumn.h"
#include "CTransferStatusBar.h"
#include "CV24Printer.h"

#include <memory>

class CCommandLineEdit;
class CExcelOutput;
class CFrameServices;
class CHexPane;
class QLabel;

// The view of an instrument window. On creation it reads the driver named
// by the application's last used driver, opens the line and shows the
// function keys; what the instrument sends runs through the received-data
// pipeline into the text (batched, see CTextAppender). Connect/Disconnect
// toggles the line: connected, the text only shows what comes in;
// disconnected, it is an ordinary text editor. Options edits the driver's
// five records with the line closed. On close the driver is written back to
// the file it was read from; a failed write offers Save As, and a file that
// was not read completely is only written when the user confirms.
//
// The window keeps for itself what it was opened with: whether Connect
// Instrument opened it (its Connect and Send File commands and its menu
// text) and the driver's path (the write-back), so another window opened
// later changes neither.
//
// Below the text: the raw bytes in hex (View, "Hex Bytes"), the message
// line and the command line (View, "Command Line"). The shown lines can
// carry their time (View, "Time Stamps") and go into a log file as they are
// shown (File, "Log to File..."); these switches and the command history
// are kept per driver in Orvalis.ini.
class COrvalisView : public CCommView, public CTextSink
{
    Q_OBJECT

public:
    // services: the main window's function-key bar, status bar and menus
    // (nullptr: none).
    explicit COrvalisView(CFrameServices* services, QWidget* parent = nullptr);
    ~COrvalisView() override;

    bool OnCommand(int nID) override;
    bool OnUpdateCommand(int nID, CCmdUI& ui) override;
    void OnActivateView(bool bActivate) override;
    bool PollInput() override;

    void OnConnectDisconnect();
    void OnOptions();
    void OnSendFile();
    void OnStopTransmission();
    void OnV24Printer() { m_v24Printer.Toggle(); }
    void OnV24PrinterSettings() { m_v24Printer.EditSettings(); }
    // k = 0..7 for F1..F8.
    void OnFunctionKey(int k);
    void OnFileSave();
    void OnFileSaveAs();
    void OnLogToFile();
    void OnStopLogging();
    void OnTimeStamps();
    void OnTimeStampColumn();
    void OnHexBytes();
    void OnCommandLineShown();
    // Enter in the command line: the text in control-code notation, sent
    // with CR (CR LF when the driver transmits CR/LF) through the command
    // sender, macros and all.
    void OnCommandLine(const QString& text);
    void OnModemLine(CComm::ModemLine line);
    void OnReconnectSwitch();
    // Waiting for the device of a lost line to come back.
    bool IsWaitingForLine() const { return m_reconnector.IsWaiting(); }
    // The status bar pane of the active instrument window's line:
    // "/dev/ttyUSB0  9600 8N1 Rts/Cts  connected  DTR off".
    // bFull (the tooltip): a long connector in full, and DTR and RTS also
    // while raised or held by the flow control.
    QString LinePaneText(bool bFull) const;

    // CTextSink: the pipeline's text, into the window in batches.
    void AppendBytes(const QByteArray& bytes) override;
    void DeleteLastCharacter() override;

    COrvalisDoc& GetDocument() { return m_document; }
    CTextAppender& Appender() { return m_appender; }
    const CReceivePipeline& Pipeline() const { return m_pipeline; }
    QString DriverPath() const { return m_strDriverPath; }
    bool OpenedByConnect() const { return m_bOpenedByConnect; }
    // Why the line is not open (it could not be opened, or it was lost);
    // empty while it is open.
    QString LineProblem() const { return m_strLineProblem; }
    // Why the driver was not read completely (missing, unreadable, damaged);
    // such a file is not written back unless the user changed the settings
    // and confirms.
    QString DriverProblem() const { return m_strDriverProblem; }
    CV24Printer& V24Printer() { return m_v24Printer; }
    CPublishingLink& Publishing() { return m_publishing; }
    const CSessionLog& SessionLog() const { return m_log; }
    const CInstrumentViewSettings& ViewSettings() const { return m_viewSettings; }
    CHexPane* HexPane() const { return m_pHexPane; }
    CCommandLineEdit* CommandLine() const { return m_pCommandLine; }

    int m_bSending = 0;
    // Cells into LibreOffice Calc and the journal, while the driver's
    // spreadsheet switch is on (created once, kept until the window goes).
    std::unique_ptr<CExcelOutput> m_pExcel;
    CFunctionKeysParameter m_functionKeys;
    int m_bProgress = 0;
    int m_bDebugConnection = 0;
    int m_bEpsonPrinter = 0;

protected:
    void closeEvent(QCloseEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void OnComMessage(const CCommEvent& event) override;
    void OnSendProgressMessage(qint64 sent, qint64 total) override;
    void OnTransmissionEnded() override;
    void OnDestroy() override;

private:
    void OnCreate();
    void OnCommEvent();
    void OnLineLost();
    void CreateExcelLink();
    void OpenPort();
    void SetLineState();
    void UpdateConnectMenuText();
    void ShowFunctionKeys();
    void ConvertShownText(bool bShowControlChars);
    void ReportLineProblem(const QString& text);
    void ClearLineProblem();
    // The line below the text that tells why the line is not open; hidden
    // for an empty text.
    void ShowMessageLine(const QString& text);
    // Hex pane, message line and command line below the text, in this order.
    void LayOutPanes();
    void LoadViewSettings();
    void SaveViewSettings();
    void ApplyViewSettings();
    // The log stopped on a failed write: the user is told, the window goes on.
    void ReportLogFailure();
    void UpdateLinePane();
    // After a loss, with Reconnect Automatically on: the line is tried again
    // whenever a device may have come back, until it opens.
    void StartWaitingForLine();
    void StopWaitingForLine();
    void OnReconnected(const QString& message);
    // The Edit commands for the pane below the text that has the focus (the
    // command line, the hex pane); false when they are the text's.
    bool OnPaneEditCommand(int nID);
    bool OnUpdatePaneEditCommand(int nID, CCmdUI& ui) const;
    void LoadDocument(const QString& path);
    bool SaveModified();
    bool SaveTo(const QString& path);
    void ReportDriverProblem(bool bDriverOpened);
    void WriteDriverBack();
    void NoteTransferStart();
    CFrameServices* Frame() const { return m_pServices; }

    CFrameServices* m_pServices;
    CCommByteSource m_source;
    CReceivePipeline m_pipeline;
    CTextAppender m_appender;
    COrvalisDoc m_document;
    CTransferStatusBar m_transferStatus;
    std::unique_ptr<CSerialNumberPrompt> m_pSerialNumberPrompt;
    QLabel* m_pMessageLine;
    CHexPane* m_pHexPane;
    CCommandLineEdit* m_pCommandLine;
    // Below the text's scroll bar, as high as the panes, so the bar ends
    // above them.
    QWidget* m_pScrollBarGap;
    CV24Printer m_v24Printer{this, m_pServices};
    CInstrumentViewSettings m_viewSettings;
    // The lines shown go from the broker's sink through the time stamps and
    // the log into the text.
    CSessionLog m_log{*this};
    CLineStamper m_stamper{m_log};
    // The cells go through the time stamp column into m_pExcel.
    CTimeStampColumn m_stampColumn;
    bool m_bLogging = false; // cleared when the log stops on its own
    CLineReconnector m_reconnector{m_comm};
    // Every line shown also goes to the driver's broker, if it has one.
    CPublishingLink m_publishing{&m_stamper};
    QString m_strDriverPath;
    QString m_strLineProblem;
    QString m_strDriverProblem;
    bool m_bDriverEdited = false; // Options ended with OK
    bool m_bOpenedByConnect = false;
    bool m_bDestroyed = false;
    int m_nPassDepth = 0;
    bool m_bCloseAfterPass = false;
};
