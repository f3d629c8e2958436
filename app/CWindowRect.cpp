#include "CWindowRect.h"

namespace {

// One "%d" of sscanf: leading white space, an optional sign, digits.
// Values beyond the int range are clamped.
bool ScanInt(const QString& text, qsizetype& pos, int& value)
{
    while (pos < text.size() && text.at(pos).isSpace())
        ++pos;
    qsizetype p = pos;
    bool bNegative = false;
    if (p < text.size() && (text.at(p) == QLatin1Char('-') || text.at(p) == QLatin1Char('+')))
        bNegative = text.at(p++) == QLatin1Char('-');
    const qsizetype digitsStart = p;
    qint64 magnitude = 0;
    while (p < text.size() && text.at(p) >= QLatin1Char('0') && text.at(p) <= QLatin1Char('9')) {
        magnitude = std::min<qint64>(magnitude * 10 + (text.at(p).unicode() - '0'), qint64(INT_MAX) + 1);
        ++p;
    }
    if (p == digitsStart)
        return false;
    const qint64 signedValue = bNegative ? -magnitude : magnitude;
    value = int(std::clamp<qint64>(signedValue, INT_MIN, INT_MAX));
    pos = p;
    return true;
}

} // namespace

QString CWindowRect::ToString() const
{
    return QStringLiteral("%1 %2 %3 %4").arg(left).arg(top).arg(right).arg(bottom);
}

CWindowRect CWindowRect::Parse(const QString& text, const CWindowRect& previous)
{
    CWindowRect rect = previous;
    int* fields[] = {&rect.left, &rect.top, &rect.right, &rect.bottom};
    qsizetype pos = 0;
    for (int* field : fields) {
        if (!ScanInt(text, pos, *field))
            break;
    }
    return rect;
}

CWindowRect CWindowRect::FromGeometry(const QRect& geometry)
{
    return {geometry.left(), geometry.top(), geometry.left() + geometry.width(),
            geometry.top() + geometry.height()};
}

std::optional<CWindowRect::Placement> CWindowRect::CreationPlacement(const QList<QRect>& screens) const
{
    if (left == UseDefault)
        return std::nullopt;
    const qint64 width = qint64(right) - left;
    const qint64 height = qint64(bottom) - top;
    Placement placement{QPoint(left, top), std::nullopt};
    if (width > 0 && height > 0 && width <= INT_MAX && height <= INT_MAX)
        placement.size = QSize(int(width), int(height));
    // At least the top-left corner region must be reachable on some screen.
    const QRect probe(placement.position, placement.size.value_or(QSize(100, 100)));
    for (const QRect& screen : screens) {
        if (screen.intersects(probe))
            return placement;
    }
    return std::nullopt;
}
