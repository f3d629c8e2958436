#include "CTransferStatusBar.h"

#include "CFrameServices.h"
#include "CStringTable.h"
#include "CTransferProgress.h"
#include "ResourceIds.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QProgressBar>

CTransferStatusBar::~CTransferStatusBar()
{
    delete m_pBar;
}

void CTransferStatusBar::MakeBar()
{
    CFrameServices* frame = m_pFrame;
    if (m_pBar || !frame)
        return;
    // A child of pane 1 that covers it; the count shown there is hidden
    // underneath while the file goes out.
    QLabel* pane = frame->PaneWidget(CFrameServices::PaneCount);
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
    if (CFrameServices* frame = m_pFrame)
        frame->SetPaneText(CFrameServices::PaneMessage, progress.StatusText());
}

void CTransferStatusBar::Update(const CTransferProgress& progress, qint64 nowSeconds)
{
    CFrameServices* frame = m_pFrame;
    if (!frame)
        return;
    MakeBar();
    frame->SetPaneText(CFrameServices::PaneMessage, progress.StatusText());
    m_pBar->setGeometry(frame->PaneWidget(CFrameServices::PaneCount)->rect());
    m_pBar->setValue(progress.Position());
    frame->SetPaneText(CFrameServices::PaneScrl, progress.ElapsedText(nowSeconds));
}

void CTransferStatusBar::Finish()
{
    if (CFrameServices* frame = m_pFrame)
        frame->SetPaneText(CFrameServices::PaneMessage, CStringTable::Text(AFX_IDS_IDLEMESSAGE));
    delete m_pBar;
}
