#include "CChildFrame.h"

#include "CMainFrame.h"
#include "COrvalisApp.h"
#include "COrvalisView.h"

CChildFrame::CChildFrame(QWidget* parent)
    : CDocumentFrame(parent)
{
    setAttribute(Qt::WA_DeleteOnClose);
    setWidget(CreateView(this));
    resize(480, 320);
}

QWidget* CChildFrame::CreateView(CChildFrame* frame)
{
    const COrvalisApp* app = COrvalisApp::Get();
    return new COrvalisView(app ? app->MainFrame() : nullptr, frame);
}
