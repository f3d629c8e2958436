#pragma once

#include <QMdiSubWindow>

// The frame of a terminal window (document type "Terminal"): no caption, no
// system menu, no sizing border. The terminal view sizes and places it and
// closes it with the Close Terminal command.
class CTerminalFrame : public QMdiSubWindow
{
    Q_OBJECT

public:
    explicit CTerminalFrame(QWidget* parent = nullptr);

    QWidget* View() const { return widget(); }

private:
    // The one place where a terminal window's view is created: it gets the
    // main window as its frame services and the driver path the application
    // holds in m_strLastTerminalDriver now, which it keeps for itself.
    static QWidget* CreateView(CTerminalFrame* frame);
};
