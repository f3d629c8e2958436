#include "CPlaceholderView.h"

#include "COrvalisApp.h"
#include "ResourceIds.h"

#include <QDir>
#include <QMdiSubWindow>

CPlaceholderView::CPlaceholderView(Kind kind, QWidget* parent)
    : QLabel(parent)
    , m_kind(kind)
{
    const COrvalisApp* app = COrvalisApp::Get();
    const QString driver = !app ? QString()
                           : kind == Instrument ? app->m_strLastUsedDriver
                                                : app->m_strLastTerminalDriver;
    setText(QStringLiteral("%1 driver:\n%2")
                .arg(kind == Instrument ? QStringLiteral("Instrument") : QStringLiteral("Terminal"),
                     QDir::toNativeSeparators(driver)));
    setAlignment(Qt::AlignCenter);
    setMargin(16);
    setMinimumSize(320, 200);
}

bool CPlaceholderView::OnCommand(int nID)
{
    if (m_kind != Terminal || nID != ID_TERMINAL_EMULATION)
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
    return m_kind == Terminal && nID == ID_TERMINAL_EMULATION;
}
