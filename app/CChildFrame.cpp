#include "CChildFrame.h"

#include "CAppIcon.h"
#include "CMainFrame.h"
#include "COrvalisApp.h"
#include "COrvalisView.h"

CChildFrame::CChildFrame(QWidget* parent)
    : CDocumentFrame(parent)
{
    setAttribute(Qt::WA_DeleteOnClose);
    // Without it the window menu button shows the toolkit's own logo.
    setWindowIcon(CAppIcon::Icon());
    setWidget(CreateView(this));
    resize(480, 320);
}

QWidget* CChildFrame::CreateView(CChildFrame* frame)
{
    const COrvalisApp* app = COrvalisApp::Get();
    return new COrvalisView(app ? app->MainFrame() : nullptr, frame);
}
