#pragma once

#include <QIcon>

// The program's icon (resource 128): a serial line's square wave on a blue
// tile, drawn at every size the desktop asks for.
class CAppIcon
{
public:
    static QIcon Icon();
    static QPixmap Pixmap(int size);
};
