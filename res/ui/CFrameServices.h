#pragma once

#include <QString>

class QAction;
class QLabel;
class QStatusBar;

// What a view inside an instrument or terminal window needs of the main
// window: the function-key bar, the status bar panes and the items of the
// menu shown. The main window implements it; a view gets it when it is
// created and uses nothing else of the main window, so a test can stand in
// for the whole frame.
class CFrameServices
{
public:
    // Status bar panes: messages, received-byte count (a file transfer lays
    // its progress bar over it), Caps, Num, Scroll Lock (the elapsed time of
    // a transfer).
    enum Pane { PaneMessage = 0, PaneCount = 1, PaneCaps = 2, PaneNum = 3, PaneScrl = 4 };

    virtual ~CFrameServices() = default;

    // Function-key bar, buttons 3048..3055 (F1..F8). SetFunctionKeyText: 1,
    // or 0 for another id. GetFunctionKeyText: the caption's length, or -1.
    virtual int SetFunctionKeyText(int nID, const QString& text) = 0;
    virtual int GetFunctionKeyText(int nID, QString& text) const = 0;
    virtual void ShowFunctionKeyBar(int bShow) = 0;

    virtual void SetPaneText(int nPane, const QString& text) = 0;
    virtual QString GetPaneText(int nPane) const = 0;
    virtual QLabel* PaneWidget(int nPane) const = 0;
    // The status bar itself, for panes a feature adds; may be null.
    virtual QStatusBar* StatusBar() = 0;
    // The count message: the received-byte count for pane 1, posted (from
    // any thread) and shown when the main window gets to it.
    virtual void PostShowCount(int nCount) = 0;

    // The item of the menu shown now: popup index (0 = "&File") and
    // command; nullptr when the menu has no such item.
    virtual QAction* MenuItem(int nPopup, int nID) const = 0;
};
