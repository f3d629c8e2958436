#pragma once

#include <QWidget>

class QTextBrowser;

// The program's manual (res/manual, built into the program) in a window of
// its own, with back and forward and links between its pages.
class CHelpWindow : public QWidget
{
    Q_OBJECT

public:
    explicit CHelpWindow(QWidget* parent = nullptr);

    // Opens the one help window (or brings it to the front) on the contents page.
    static CHelpWindow* ShowManual(QWidget* owner);

    QTextBrowser* Browser() const { return m_pBrowser; }

private:
    QTextBrowser* m_pBrowser;
};
