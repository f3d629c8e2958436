#pragma once

#include "CCommandTarget.h"

#include <QLabel>

// Stands in for the terminal view until it exists: shows which driver the
// window was opened with, and closes its window on Close Terminal, since
// its frame has no caption to close it with.
class CPlaceholderView : public QLabel, public CCommandTarget
{
    Q_OBJECT

public:
    explicit CPlaceholderView(QWidget* parent = nullptr);

    bool OnCommand(int nID) override;
    bool OnUpdateCommand(int nID, CCmdUI& ui) override;
};
