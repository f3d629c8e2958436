#pragma once

#include <QWidget>

class QTextBrowser;

// The program's manual (res/manual, built into the program) in a window of
// its own, with back and forward and links between its pages; it fits on the
// screen and Esc closes it.
class CHelpWindow : public QWidget
{
    Q_OBJECT

public:
    explicit CHelpWindow(QWidget* parent = nullptr);

    // Opens the one help window (or brings it to the front) on the contents page.
    static CHelpWindow* ShowManual(QWidget* owner);

    QTextBrowser* Browser() const { return m_pBrowser; }
    // Shrinks the window to fit the available area of a screen, centred there.
    void FitInto(const QRect& available);

private:
    QTextBrowser* m_pBrowser;
};
