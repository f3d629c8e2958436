#pragma once

#include <QObject>

class QAction;
class QKeyEvent;
class QMenuBar;

// Menu titles that share an access key ("&Edit" and "&Extras" of the
// instrument and terminal menus) are reached in turn: each Alt+E opens the
// next of them, as desktop menus cycle between equal mnemonics, whatever the
// platform does with an ambiguous shortcut. Alt pressed while one of them is
// open leaves it open, so the next Alt+E finds it.
class CMnemonicCycler : public QObject
{
    Q_OBJECT

public:
    // Watches the application's key events for bar's window and menus.
    explicit CMnemonicCycler(QMenuBar* bar);
    ~CMnemonicCycler() override;

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    bool IsOurs() const;
    bool OurPopupIsOpen() const;
    QList<QAction*> Sharing(const QKeyEvent& key) const;

    QMenuBar* m_pBar;
};
