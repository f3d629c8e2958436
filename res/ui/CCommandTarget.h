#pragma once

#include <QString>

// What an update handler says about one command: enabled, and whether it
// shows a check mark.
struct CCmdUI
{
    bool bEnabled = true;
    bool bChecked = false;
    bool bCheckable = false;
};

// A view inside an instrument or terminal window implements this to see the
// main window's commands (menus, tool bar, accelerators, function-key bar)
// before the main window does: the active view first, the main window when
// the view does not handle the command.
class CCommandTarget
{
public:
    virtual ~CCommandTarget() = default;

    // True when the command was handled here.
    virtual bool OnCommand(int nID) = 0;
    // True when this target handles nID; ui then says how it is shown.
    virtual bool OnUpdateCommand(int nID, CCmdUI& ui)
    {
        Q_UNUSED(nID);
        Q_UNUSED(ui);
        return false;
    }
    // The window of this view became (true) or stopped being (false) the active child.
    virtual void OnActivateView(bool bActivate) { Q_UNUSED(bActivate); }
};
