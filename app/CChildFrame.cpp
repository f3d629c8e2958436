#include "CChildFrame.h"

#include "CMainFrame.h"
#include "COrvalisApp.h"
#include "COrvalisView.h"

CChildFrame::CChildFrame(QWidget* parent)
    : QMdiSubWindow(parent)
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

void CChildFrame::SetDocumentPath(const QString& path)
{
    m_strDocumentPath = path;
    setWindowTitle(path.section(QLatin1Char('/'), -1));
    Q_EMIT documentPathChanged(path);
}
