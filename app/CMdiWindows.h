#pragma once

#include <QList>
#include <QRect>
#include <QSize>

class QMdiArea;
class QMenu;

// What the Window menu does with the child windows: lists them at its end
// ("&1 Orvali1", the active one checked; choosing one activates it) and
// cascades them at a size that leaves their text readable.
class CMdiWindows
{
public:
    // Replaces the window entries at the end of menu by the windows of area.
    static void UpdateWindowList(QMenu* menu, QMdiArea* area);
    static void Cascade(QMdiArea* area);
    // Places for count windows in an area of this size, each step pixels
    // right and down of the one before, three quarters of the area large
    // (at least minimum); a new run starts at the top left when the next
    // one would leave the area.
    static QList<QRect> CascadeRects(const QSize& area, int count, int step, const QSize& minimum);
};
