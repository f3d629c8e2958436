#pragma once

#include "CDocumentFrame.h"

// The frame of an instrument window (document type "Orvali"). It holds one
// view, made in CreateView: the instrument window's view goes there.
class CChildFrame : public CDocumentFrame
{
    Q_OBJECT

public:
    explicit CChildFrame(QWidget* parent = nullptr);

    QWidget* View() const { return widget(); }

private:
    // The one place where an instrument window's view is created. The view
    // reads its driver from COrvalisApp::Get()->m_strLastUsedDriver.
    static QWidget* CreateView(CChildFrame* frame);
};
