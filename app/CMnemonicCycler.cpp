#include "CMnemonicCycler.h"

#include <QApplication>
#include <QKeyEvent>
#include <QMenu>
#include <QMenuBar>

CMnemonicCycler::CMnemonicCycler(QMenuBar* bar)
    : QObject(bar)
    , m_pBar(bar)
{
    qApp->installEventFilter(this);
}

CMnemonicCycler::~CMnemonicCycler()
{
    qApp->removeEventFilter(this);
}

bool CMnemonicCycler::OurPopupIsOpen() const
{
    const auto* popup = qobject_cast<QMenu*>(QApplication::activePopupWidget());
    return popup && m_pBar->actions().contains(popup->menuAction());
}

bool CMnemonicCycler::IsOurs() const
{
    return OurPopupIsOpen() || (!QApplication::activePopupWidget() && QApplication::activeWindow() == m_pBar->window());
}

QList<QAction*> CMnemonicCycler::Sharing(const QKeyEvent& key) const
{
    QList<QAction*> sharing;
    const QKeySequence pressed(QKeyCombination(Qt::AltModifier, Qt::Key(key.key())));
    for (QAction* action : m_pBar->actions()) {
        if (action->isVisible() && action->isEnabled() && QKeySequence::mnemonic(action->text()) == pressed)
            sharing.append(action);
    }
    return sharing;
}

bool CMnemonicCycler::eventFilter(QObject* watched, QEvent* event)
{
    if (event->type() != QEvent::ShortcutOverride && event->type() != QEvent::KeyPress)
        return QObject::eventFilter(watched, event);
    // The window handle sees the event before the widgets: they decide.
    auto* key = static_cast<QKeyEvent*>(event);
    if (!watched->isWidgetType() || !IsOurs())
        return false;
    if (event->type() == QEvent::KeyPress && key->key() == Qt::Key_Alt && OurPopupIsOpen())
        return true;
    if (key->modifiers() != Qt::AltModifier)
        return false;
    const QList<QAction*> sharing = Sharing(*key);
    if (sharing.size() < 2)
        return false;
    if (event->type() == QEvent::ShortcutOverride) {
        // Taken as a key press, not as the ambiguous shortcut.
        event->accept();
        return true;
    }
    const qsizetype current = sharing.indexOf(m_pBar->activeAction());
    m_pBar->setActiveAction(sharing.at((current + 1) % sharing.size()));
    return true;
}
