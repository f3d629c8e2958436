#include "CPlaceholderView.h"

#include "COrvalisApp.h"
#include "ResourceIds.h"

#include <QDir>
#include <QMdiSubWindow>

CPlaceholderView::CPlaceholderView(QWidget* parent)
    : QLabel(parent)
{
    const COrvalisApp* app = COrvalisApp::Get();
    const QString driver = app ? app->m_strLastTerminalDriver : QString();
    setText(QStringLiteral("Terminal driver:\n%1").arg(QDir::toNativeSeparators(driver)));
    setAlignment(Qt::AlignCenter);
    setMargin(16);
    setMinimumSize(320, 200);
}

bool CPlaceholderView::OnCommand(int nID)
{
    if (nID != ID_TERMINAL_EMULATION)
        return false;
    for (QWidget* w = parentWidget(); w; w = w->parentWidget()) {
        if (auto* frame = qobject_cast<QMdiSubWindow*>(w)) {
            frame->close();
            break;
        }
    }
    return true;
}

bool CPlaceholderView::OnUpdateCommand(int nID, CCmdUI& ui)
{
    Q_UNUSED(ui);
    return nID == ID_TERMINAL_EMULATION;
}
