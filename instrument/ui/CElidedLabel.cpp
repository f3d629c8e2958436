#include "CElidedLabel.h"

#include <QPainter>

namespace {

// Room for the ellipsis and the end of the state.
constexpr int MinimumCharacters = 10;

} // namespace

QSize CElidedLabel::minimumSizeHint() const
{
    const QMargins margins = contentsMargins();
    return {fontMetrics().averageCharWidth() * MinimumCharacters + margins.left() + margins.right(),
            QLabel::minimumSizeHint().height()};
}

QString CElidedLabel::ShownText() const
{
    return fontMetrics().elidedText(text(), Qt::ElideLeft, contentsRect().width());
}

void CElidedLabel::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    drawFrame(&painter);
    painter.setPen(palette().color(foregroundRole()));
    painter.drawText(contentsRect(), int(alignment()), ShownText());
}
