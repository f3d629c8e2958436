#include "CToolBarIcons.h"

#include "FrameworkIds.h"
#include "ResourceIds.h"

#include <QDir>
#include <QPainter>
#include <QPainterPath>

namespace {

const QString kFallbackTheme = QStringLiteral("Adwaita");
const QString kIconFolder = QStringLiteral("/usr/share/icons");

const QColor kInk(0x2e, 0x34, 0x36);
const QColor kPaper(Qt::white);
const QColor kBlue(0x34, 0x65, 0xa4);

// Every picture is drawn on a 16 x 16 grid scaled to the size asked for.
void DrawOpen(QPainter& p)
{
    p.setBrush(QColor(0xc4, 0xa0, 0x00));
    p.drawPolygon(QPolygonF({{1.5, 3.5}, {6, 3.5}, {7.5, 5}, {13.5, 5}, {13.5, 13.5}, {1.5, 13.5}}));
    p.setBrush(QColor(0xfc, 0xe9, 0x4f));
    p.drawPolygon(QPolygonF({{3.5, 7.5}, {15.5, 7.5}, {13.5, 13.5}, {1.5, 13.5}}));
}

void DrawSave(QPainter& p)
{
    p.setBrush(kBlue);
    p.drawPolygon(QPolygonF({{1.5, 1.5}, {12.5, 1.5}, {14.5, 3.5}, {14.5, 14.5}, {1.5, 14.5}}));
    p.setBrush(kPaper);
    p.drawRect(QRectF(4, 1.5, 7, 5));
    p.setBrush(QColor(0xd3, 0xd7, 0xcf));
    p.drawRect(QRectF(3.5, 9, 9, 5.5));
}

void DrawCut(QPainter& p)
{
    // Two blades crossing, the handles as rings below.
    p.drawLine(QPointF(4.5, 1), QPointF(10.5, 10));
    p.drawLine(QPointF(11.5, 1), QPointF(5.5, 10));
    p.setBrush(Qt::NoBrush);
    p.drawEllipse(QPointF(4.5, 12.5), 2.5, 2.5);
    p.drawEllipse(QPointF(11.5, 12.5), 2.5, 2.5);
}

void DrawSheet(QPainter& p, const QRectF& sheet)
{
    p.setBrush(kPaper);
    p.drawRect(sheet);
    for (qreal y = sheet.top() + 2.5; y < sheet.bottom() - 1; y += 2)
        p.drawLine(QPointF(sheet.left() + 2, y), QPointF(sheet.right() - 2, y));
}

void DrawCopy(QPainter& p)
{
    DrawSheet(p, QRectF(1.5, 1.5, 8, 10));
    DrawSheet(p, QRectF(6.5, 4.5, 8, 10));
}

void DrawPaste(QPainter& p)
{
    p.setBrush(QColor(0x8f, 0x59, 0x02));
    p.drawRoundedRect(QRectF(1.5, 2.5, 11, 12), 1, 1);
    p.setBrush(QColor(0xba, 0xbd, 0xb6));
    p.drawRect(QRectF(4.5, 1, 5, 3));
    DrawSheet(p, QRectF(6.5, 6.5, 8, 9));
}

void DrawPrint(QPainter& p)
{
    DrawSheet(p, QRectF(4.5, 0.5, 7, 6));
    p.setBrush(QColor(0x88, 0x8a, 0x85));
    p.drawRoundedRect(QRectF(0.5, 5.5, 15, 6), 1, 1);
    p.setBrush(kPaper);
    p.drawRect(QRectF(3.5, 9.5, 9, 6));
}

void DrawQuestionMark(QPainter& p, const QPointF& centre, qreal radius)
{
    p.setBrush(kBlue);
    p.drawEllipse(centre, radius, radius);
    QFont font = p.font();
    font.setBold(true);
    font.setPixelSize(int(radius * 1.6));
    p.setFont(font);
    p.setPen(kPaper);
    p.drawText(QRectF(centre.x() - radius, centre.y() - radius, 2 * radius, 2 * radius), Qt::AlignCenter,
               QStringLiteral("?"));
}

void DrawAbout(QPainter& p)
{
    DrawQuestionMark(p, QPointF(8, 8), 7);
}

void DrawContextHelp(QPainter& p)
{
    // The pointer that is clicked on a control, with its question mark.
    p.setBrush(kPaper);
    p.drawPolygon(QPolygonF({{0.5, 0.5}, {0.5, 11}, {3, 8.5}, {5, 13}, {6.5, 12.3}, {4.6, 8}, {8, 8}}));
    DrawQuestionMark(p, QPointF(11.5, 11.5), 4.3);
}

using DrawFunction = void (*)(QPainter&);

DrawFunction DrawingOf(int nID)
{
    switch (nID) {
    case ID_FILE_OPEN: return &DrawOpen;
    case ID_FILE_SAVE: return &DrawSave;
    case ID_EDIT_CUT: return &DrawCut;
    case ID_EDIT_COPY: return &DrawCopy;
    case ID_EDIT_PASTE: return &DrawPaste;
    case ID_FILE_PRINT: return &DrawPrint;
    case ID_APP_ABOUT: return &DrawAbout;
    case ID_CONTEXT_HELP: return &DrawContextHelp;
    default: return nullptr;
    }
}

} // namespace

void CToolBarIcons::UseDesktopTheme()
{
    if (!QDir(kIconFolder + QLatin1Char('/') + kFallbackTheme).exists())
        return;
    if (!QIcon::themeSearchPaths().contains(kIconFolder))
        QIcon::setThemeSearchPaths(QIcon::themeSearchPaths() << kIconFolder);
    // Without a desktop (the offscreen platform) there is no theme at all.
    if (QIcon::themeName().isEmpty())
        QIcon::setThemeName(kFallbackTheme);
    QIcon::setFallbackThemeName(kFallbackTheme);
}

QStringList CToolBarIcons::ThemeNames(int nID)
{
    switch (nID) {
    case ID_FILE_OPEN: return {QStringLiteral("document-open")};
    case ID_FILE_SAVE: return {QStringLiteral("document-save")};
    case ID_EDIT_CUT: return {QStringLiteral("edit-cut")};
    case ID_EDIT_COPY: return {QStringLiteral("edit-copy")};
    case ID_EDIT_PASTE: return {QStringLiteral("edit-paste")};
    case ID_FILE_PRINT: return {QStringLiteral("document-print")};
    case ID_APP_ABOUT: return {QStringLiteral("help-about")};
    case ID_CONTEXT_HELP: return {QStringLiteral("help-contextual"), QStringLiteral("help-browser")};
    default: return {};
    }
}

QIcon CToolBarIcons::Icon(int nID)
{
    for (const QString& name : ThemeNames(nID)) {
        if (QIcon::hasThemeIcon(name))
            return QIcon::fromTheme(name);
    }
    QIcon icon;
    for (const int size : {16, 24, 32})
        icon.addPixmap(Drawn(nID, size));
    return icon;
}

QPixmap CToolBarIcons::Drawn(int nID, int size)
{
    const DrawFunction draw = DrawingOf(nID);
    if (!draw)
        return QPixmap();
    QPixmap pixmap(size, size);
    pixmap.fill(Qt::transparent);
    QPainter painter(&pixmap);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.scale(size / 16.0, size / 16.0);
    painter.setPen(QPen(kInk, 1.0));
    draw(painter);
    return pixmap;
}
