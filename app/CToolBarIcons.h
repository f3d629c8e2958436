#pragma once

#include <QIcon>
#include <QPixmap>
#include <QStringList>

// The pictures of tool bar 128: the desktop theme's standard icons
// (document-open, document-save, edit-cut, edit-copy, edit-paste,
// document-print, help-about, help-contextual), and where the theme has
// none, pictures drawn here that show the same things, never a look-alike
// of another command (a trash can for Cut, a tick for Paste).
class CToolBarIcons
{
public:
    // Makes the freedesktop default theme the fallback of whatever theme the
    // desktop has (a bare window manager's "hicolor" has none of these).
    static void UseDesktopTheme();
    // The theme's icon, else the drawn one; a null icon for a command
    // without a picture.
    static QIcon Icon(int nID);
    // The theme's names for the command, most specific first.
    static QStringList ThemeNames(int nID);
    // The drawn picture; a null pixmap for a command without one.
    static QPixmap Drawn(int nID, int size);
};
