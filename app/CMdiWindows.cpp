#include "CMdiWindows.h"

#include <QAction>
#include <QMdiArea>
#include <QMdiSubWindow>
#include <QMenu>
#include <QStyle>

namespace {

const char* const kWindowEntry = "windowEntry";

} // namespace

void CMdiWindows::UpdateWindowList(QMenu* menu, QMdiArea* area)
{
    for (QAction* action : menu->actions()) {
        if (action->property(kWindowEntry).toBool()) {
            menu->removeAction(action);
            action->deleteLater();
        }
    }
    const QList<QMdiSubWindow*> windows = area->subWindowList();
    if (windows.isEmpty())
        return;
    menu->addSeparator()->setProperty(kWindowEntry, true);
    for (int i = 0; i < windows.size(); ++i) {
        QMdiSubWindow* window = windows.at(i);
        // "&&" keeps an ampersand of the title from becoming an access key.
        QString title = window->windowTitle();
        title.replace(QLatin1Char('&'), QLatin1String("&&"));
        QAction* action = menu->addAction(i < 9 ? QStringLiteral("&%1 %2").arg(i + 1).arg(title)
                                                : QStringLiteral("%1 %2").arg(i + 1).arg(title));
        action->setProperty(kWindowEntry, true);
        action->setCheckable(true);
        action->setChecked(window == area->activeSubWindow());
        QObject::connect(action, &QAction::triggered, area, [area, window] {
            if (window->isMinimized())
                window->showNormal();
            area->setActiveSubWindow(window);
        });
    }
}

QList<QRect> CMdiWindows::CascadeRects(const QSize& area, int count, int step, const QSize& minimum)
{
    const QSize size(qMax(area.width() * 3 / 4, qMin(minimum.width(), area.width())),
                     qMax(area.height() * 3 / 4, qMin(minimum.height(), area.height())));
    QList<QRect> rects;
    QPoint position(0, 0);
    for (int i = 0; i < count; ++i) {
        if (i > 0) {
            position += QPoint(step, step);
            if (position.x() + size.width() > area.width() || position.y() + size.height() > area.height())
                position = QPoint(0, 0);
        }
        rects.append(QRect(position, size));
    }
    return rects;
}

void CMdiWindows::Cascade(QMdiArea* area)
{
    QList<QMdiSubWindow*> windows;
    for (QMdiSubWindow* window : area->subWindowList(QMdiArea::StackingOrder)) {
        if (!window->isHidden() && !window->isMinimized())
            windows.append(window);
    }
    if (windows.isEmpty())
        return;
    // One title bar down and right: each caption stays readable.
    const int step = area->style()->pixelMetric(QStyle::PM_TitleBarHeight, nullptr, windows.first()) + 4;
    const QList<QRect> rects =
        CascadeRects(area->viewport()->size(), int(windows.size()), step, windows.first()->minimumSizeHint());
    // The active window ends on top, as it was.
    for (int i = 0; i < windows.size(); ++i) {
        QMdiSubWindow* window = windows.at(i);
        if (window->isMaximized())
            window->showNormal();
        window->setGeometry(rects.at(i));
        window->raise();
    }
}
