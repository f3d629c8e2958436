#pragma once

#include <QList>
#include <QRect>
#include <QString>

#include <climits>
#include <optional>

// The main window's normal (restored) rectangle in screen pixels, as the
// profile value "Window" keeps it: "left top right bottom".
struct CWindowRect
{
    // left == UseDefault: the window system chooses position and size.
    static constexpr int UseDefault = INT_MIN;

    int left = 0;
    int top = 0;
    int right = 0;
    int bottom = 0;

    // "%d %d %d %d"
    QString ToString() const;
    // Scans "%d %d %d %d": the fields before the first one that does not
    // scan take the scanned values, the others keep those of previous.
    static CWindowRect Parse(const QString& text, const CWindowRect& previous);
    static CWindowRect FromGeometry(const QRect& geometry);

    // Where the main window is created: nothing (the window system's choice)
    // for the default rectangle or one that lies on none of the screens, so
    // a window is never lost off screen; otherwise left, top and the size
    // right - left by bottom - top. A size that is not positive is left out
    // (the window keeps its own default size at that position).
    struct Placement
    {
        QPoint position;
        std::optional<QSize> size;
    };
    std::optional<Placement> CreationPlacement(const QList<QRect>& screens) const;

    bool operator==(const CWindowRect&) const = default;
};
