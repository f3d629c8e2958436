#pragma once

#include <QList>
#include <QString>

// The main window's menus 128 (no child window), 129 (instrument window
// active) and 130 (terminal window active), tool bar 128 and accelerator
// table 128. Item texts carry "&" mnemonics and "\t" before the shortcut.
class CFrameResource
{
public:
    struct MenuItem
    {
        int nID;         // 0: separator
        QString strText;
    };
    struct Popup
    {
        QString strText;
        QList<MenuItem> items;
    };
    struct Accelerator
    {
        int nID;
        QString strKeys; // portable key sequence text, "Ctrl+O", "Shift+F1"
    };

    // The popups of menu 128, 129 or 130; empty for any other number.
    static QList<Popup> Menu(int menuId);
    // Command numbers of the tool bar buttons, 0 for a separator.
    static QList<int> ToolBar();
    static QList<Accelerator> Accelerators();
};
