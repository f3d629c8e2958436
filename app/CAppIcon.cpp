#include "CAppIcon.h"

#include <QLinearGradient>
#include <QPainter>
#include <QPainterPath>
#include <QPixmap>

QPixmap CAppIcon::Pixmap(int size)
{
    QPixmap pixmap(size, size);
    pixmap.fill(Qt::transparent);
    QPainter painter(&pixmap);
    painter.setRenderHint(QPainter::Antialiasing);
    const qreal s = size;
    QLinearGradient tile(0, 0, 0, s);
    tile.setColorAt(0, QColor(0x2f, 0x6f, 0xb7));
    tile.setColorAt(1, QColor(0x16, 0x3d, 0x6b));
    painter.setPen(Qt::NoPen);
    painter.setBrush(tile);
    painter.drawRoundedRect(QRectF(s * 0.04, s * 0.04, s * 0.92, s * 0.92), s * 0.18, s * 0.18);

    // Start bit, data bits, stop bit: a square wave across the tile.
    const qreal high = s * 0.34;
    const qreal low = s * 0.62;
    const qreal steps[] = {0.14, 0.26, 0.38, 0.50, 0.62, 0.74, 0.86};
    QPainterPath wave(QPointF(s * 0.12, high));
    bool bHigh = true;
    for (const qreal x : steps) {
        wave.lineTo(s * x, bHigh ? high : low);
        bHigh = !bHigh;
        wave.lineTo(s * x, bHigh ? high : low);
    }
    wave.lineTo(s * 0.88, bHigh ? high : low);
    painter.setBrush(Qt::NoBrush);
    painter.setPen(QPen(Qt::white, qMax(1.0, s * 0.07), Qt::SolidLine, Qt::SquareCap, Qt::MiterJoin));
    painter.drawPath(wave);

    // The instrument's display: a small bar under the wave.
    painter.setPen(Qt::NoPen);
    painter.setBrush(QColor(0xff, 0xc8, 0x3d));
    painter.drawRoundedRect(QRectF(s * 0.22, s * 0.74, s * 0.56, s * 0.1), s * 0.04, s * 0.04);
    return pixmap;
}

QIcon CAppIcon::Icon()
{
    QIcon icon;
    for (const int size : {16, 24, 32, 48, 64, 128})
        icon.addPixmap(Pixmap(size));
    return icon;
}
