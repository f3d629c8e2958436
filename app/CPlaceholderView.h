#pragma once

#include "CCommandTarget.h"

#include <QLabel>

// Stands in for the instrument and terminal views until they exist: shows
// which driver the window was opened with. The terminal kind closes its
// window on Close Terminal, since its frame has no caption to close it with.
class CPlaceholderView : public QLabel, public CCommandTarget
{
    Q_OBJECT

public:
    enum Kind { Instrument, Terminal };

    CPlaceholderView(Kind kind, QWidget* parent = nullptr);

    bool OnCommand(int nID) override;
    bool OnUpdateCommand(int nID, CCmdUI& ui) override;

private:
    Kind m_kind;
};
