#include "CCommView.h"

#include "CAppServices.h"
#include "CCodePage.h"
#include "CCommEvent.h"
#include "CUserDialogs.h"
#include "FrameworkIds.h"

#include <QApplication>
#include <QFontDatabase>
#include <QKeyEvent>
#include <QPageLayout>
#include <QPrintDialog>
#include <QPrintPreviewDialog>
#include <QPrinter>
#include <QTextDocument>
#include <QTextFrame>

#include <memory>

CCommView::CCommView(QWidget* parent)
    : QPlainTextEdit(parent)
{
    // Lines wrap at the window's width; no horizontal scrolling.
    setLineWrapMode(QPlainTextEdit::WidgetWidth);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setFont(QFontDatabase::systemFont(QFontDatabase::FixedFont));
    // The channel's transfer thread posts its two events to this window.
    m_comm.Create(this);
}

CCommView::~CCommView()
{
    // A transfer blocked on a full line ends at once when the line closes.
    m_comm.Sender().StopTransmission();
    m_comm.SetPortOpen(false);
}

void CCommView::OnDestroy()
{
    m_comm.Sender().StopTransmission();
    m_comm.SetPortOpen(false);
}

void CCommView::EnableWindow(bool bEnable)
{
    m_bWindowEnabled = bEnable;
    setReadOnly(!bEnable);
    // A disabled window still lets the user scroll, select and copy.
    if (!bEnable)
        setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
}

int CCommView::SendCommand(const QByteArray& text)
{
    return m_comm.SendCommand(text);
}

int CCommView::SendFile(const QString& path)
{
    return m_comm.SendFile(path);
}

bool CCommView::OnChar(char character)
{
    if (m_comm.IsPortOpen()) {
        QByteArray text(1, character);
        if (character == '\r' && m_terminalParam.m_bSendCRLF)
            text += '\n';
        m_comm.Sender().SendTyped(text);
    }
    return m_terminalParam.m_bLocalEcho != 0;
}

void CCommView::keyPressEvent(QKeyEvent* event)
{
    // Keys without a character (arrows, page keys) move through the text;
    // a disabled window takes no typing at all.
    const QByteArray character = CCodePage::FromUnicode(event->text());
    if (!m_bWindowEnabled || character.size() != 1) {
        QPlainTextEdit::keyPressEvent(event);
        return;
    }
    if (OnChar(character.front()))
        QPlainTextEdit::keyPressEvent(event);
    else
        event->accept();
}

void CCommView::OnComMessage(const CCommEvent& event)
{
    if ((event.lParam() & CCommEvent::DataReceived) && m_comm.GetCommEvent() == CComm::EventData) {
        QTextCursor cursor(document());
        cursor.movePosition(QTextCursor::End);
        cursor.insertText(CCodePage::ToUnicode(m_comm.GetInput()));
    }
    m_comm.Acknowledge();
}

void CCommView::OnSendProgressMessage(qint64 sent, qint64 total)
{
    m_comm.OnSendProgress(sent, total);
}

void CCommView::OnTransmissionEnded()
{
    m_comm.OnEndOfTransmission();
}

void CCommView::customEvent(QEvent* event)
{
    const QEvent::Type type = event->type();
    if (type == CCommEvent::ComMessage()) {
        const auto* message = static_cast<const CCommEvent*>(event);
        // Another channel's, or a late one of a line closed since: the
        // reader that posted it no longer waits for this window.
        if (m_comm.IsFrom(*message))
            OnComMessage(*message);
        return;
    }
    if (type == CCommEvent::SendProgress()) {
        const auto* message = static_cast<const CCommEvent*>(event);
        OnSendProgressMessage(message->wParam(), message->lParam());
        return;
    }
    if (type == CCommEvent::EndOfTransmission()) {
        OnTransmissionEnded();
        return;
    }
    QPlainTextEdit::customEvent(event);
}

void CCommView::MessageBeep()
{
    ++m_nBeeps;
    Q_EMIT beeped();
    QApplication::beep();
}

void CCommView::PrintText(QPrinter& printer) const
{
    printer.setPageMargins(QMarginsF(PrintMarginInches, PrintMarginInches, PrintMarginInches, PrintMarginInches),
                           QPageLayout::Inch);
    // Laid out for the paper: the page is the printable area inside the
    // margins, with no further frame margin of the document's own.
    std::unique_ptr<QTextDocument> copy(document()->clone());
    copy->setDefaultFont(font());
    copy->documentLayout()->setPaintDevice(&printer);
    QTextFrameFormat frame = copy->rootFrame()->frameFormat();
    frame.setMargin(0);
    copy->rootFrame()->setFrameFormat(frame);
    copy->setPageSize(printer.pageLayout().paintRectPixels(printer.resolution()).size());
    copy->print(&printer);
}

void CCommView::OnFilePrint(bool bAskPrinter)
{
    QPrinter& printer = CAppServices::Get()->Printer();
    if (bAskPrinter) {
        QPrintDialog dialog(&printer, this);
        if (CUserDialogs::Current().Exec(dialog) != QDialog::Accepted)
            return;
    }
    PrintText(printer);
}

void CCommView::OnFilePrintPreview()
{
    QPrintPreviewDialog preview(&CAppServices::Get()->Printer(), this);
    connect(&preview, &QPrintPreviewDialog::paintRequested, this, [this](QPrinter* printer) { PrintText(*printer); });
    CUserDialogs::Current().Exec(preview);
}

bool CCommView::OnCommand(int nID)
{
    switch (nID) {
    case ID_FILE_PRINT: OnFilePrint(true); return true;
    case ID_FILE_PRINT_DIRECT: OnFilePrint(false); return true;
    case ID_FILE_PRINT_PREVIEW: OnFilePrintPreview(); return true;
    case ID_EDIT_UNDO: undo(); return true;
    case ID_EDIT_CUT: cut(); return true;
    case ID_EDIT_COPY: copy(); return true;
    case ID_EDIT_PASTE: paste(); return true;
    default: return false;
    }
}

bool CCommView::OnUpdateCommand(int nID, CCmdUI& ui)
{
    const bool selection = textCursor().hasSelection();
    switch (nID) {
    case ID_FILE_PRINT:
    case ID_FILE_PRINT_DIRECT:
    case ID_FILE_PRINT_PREVIEW:
        return true;
    case ID_EDIT_UNDO:
        ui.bEnabled = m_bWindowEnabled && document()->isUndoAvailable();
        return true;
    case ID_EDIT_CUT:
        ui.bEnabled = m_bWindowEnabled && selection;
        return true;
    case ID_EDIT_COPY:
        ui.bEnabled = selection;
        return true;
    case ID_EDIT_PASTE:
        // Asking the clipboard for its text can wait on another program.
        ui.bEnabled = m_bWindowEnabled;
        return true;
    default:
        return false;
    }
}
