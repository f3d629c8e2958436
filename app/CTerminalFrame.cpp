#include "CTerminalFrame.h"

#include "CMainFrame.h"
#include "COrvalisApp.h"
#include "CTermView.h"

CTerminalFrame::CTerminalFrame(QWidget* parent)
    : QMdiSubWindow(parent, Qt::FramelessWindowHint)
{
    setAttribute(Qt::WA_DeleteOnClose);
    setWidget(CreateView(this));
    resize(sizeHint());
}

QWidget* CTerminalFrame::CreateView(CTerminalFrame* frame)
{
    const COrvalisApp* app = COrvalisApp::Get();
    if (!app)
        return new CTermView(nullptr, QString(), frame);
    return new CTermView(app->MainFrame(), app->m_strLastTerminalDriver, frame);
}
