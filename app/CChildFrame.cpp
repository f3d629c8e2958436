#include "CChildFrame.h"

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
    return new COrvalisView(frame);
}

void CChildFrame::SetDocumentPath(const QString& path)
{
    m_strDocumentPath = path;
    setWindowTitle(path.section(QLatin1Char('/'), -1));
    Q_EMIT documentPathChanged(path);
}
