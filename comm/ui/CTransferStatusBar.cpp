#include "CTransferStatusBar.h"

#include "CMainFrame.h"
#include "COrvalisApp.h"
#include "CStringTable.h"
#include "CTransferProgress.h"
#include "ResourceIds.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QProgressBar>

namespace {

CMainFrame* Frame()
{
    const COrvalisApp* app = COrvalisApp::Get();
    return app ? app->MainFrame() : nullptr;
}

} // namespace

CTransferStatusBar::~CTransferStatusBar()
{
    delete m_pBar;
}

void CTransferStatusBar::MakeBar()
{
    CMainFrame* frame = Frame();
    if (m_pBar || !frame)
        return;
    // A child of pane 1 that covers it; the count shown there is hidden
    // underneath while the file goes out.
    QLabel* pane = frame->PaneWidget(CMainFrame::PaneCount);
    m_pBar = new QProgressBar(pane);
    m_pBar->setObjectName(QStringLiteral("TransferProgress"));
    m_pBar->setRange(0, 100);
    m_pBar->setValue(0);
    m_pBar->setTextVisible(true);
    m_pBar->setGeometry(pane->rect());
    m_pBar->show();
}

void CTransferStatusBar::Start(const CTransferProgress& progress)
{
    MakeBar();
    if (CMainFrame* frame = Frame())
        frame->SetPaneText(CMainFrame::PaneMessage, progress.StatusText());
}

void CTransferStatusBar::Update(const CTransferProgress& progress, qint64 nowSeconds)
{
    CMainFrame* frame = Frame();
    if (!frame)
        return;
    MakeBar();
    frame->SetPaneText(CMainFrame::PaneMessage, progress.StatusText());
    m_pBar->setGeometry(frame->PaneWidget(CMainFrame::PaneCount)->rect());
    m_pBar->setValue(progress.Position());
    frame->SetPaneText(CMainFrame::PaneScrl, progress.ElapsedText(nowSeconds));
}

void CTransferStatusBar::Finish()
{
    if (CMainFrame* frame = Frame())
        frame->SetPaneText(CMainFrame::PaneMessage, CStringTable::Text(AFX_IDS_IDLEMESSAGE));
    delete m_pBar;
}
