#include "CTerminalFrame.h"

#include "CPlaceholderView.h"

CTerminalFrame::CTerminalFrame(QWidget* parent)
    : QMdiSubWindow(parent, Qt::FramelessWindowHint)
{
    setAttribute(Qt::WA_DeleteOnClose);
    setWidget(CreateView(this));
    resize(widget()->sizeHint());
}

QWidget* CTerminalFrame::CreateView(CTerminalFrame* frame)
{
    return new CPlaceholderView(frame);
}
