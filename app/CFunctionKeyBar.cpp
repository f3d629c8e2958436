#include "CFunctionKeyBar.h"

#include <QPushButton>
#include <QResizeEvent>

CFunctionKeyBar::CFunctionKeyBar(QWidget* parent)
    : QWidget(parent)
{
    setObjectName(QStringLiteral("FunctionKeyBar"));
    for (int i = 0; i < ButtonCount; ++i) {
        auto* button = new QPushButton(this);
        button->setObjectName(QStringLiteral("F%1").arg(i + 1));
        // The keys send to the instrument; the keyboard focus stays where it is.
        button->setFocusPolicy(Qt::NoFocus);
        const int nID = FirstId + i;
        connect(button, &QPushButton::clicked, this, [this, nID] { Q_EMIT commandTriggered(nID); });
        m_buttons.append(button);
    }
    setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Fixed);
}

QRect CFunctionKeyBar::ButtonRect(int i, const QRect& client)
{
    const int w = client.width() / ButtonCount;
    return QRect(client.left() + i * w, client.top() + 2, w, client.height() - 4);
}

QPushButton* CFunctionKeyBar::Button(int nID) const
{
    const int i = nID - FirstId;
    return i >= 0 && i < ButtonCount ? m_buttons.at(i) : nullptr;
}

QSize CFunctionKeyBar::sizeHint() const
{
    const QSize button = m_buttons.constFirst()->sizeHint();
    return QSize(button.width() * ButtonCount, button.height() + 4);
}

void CFunctionKeyBar::resizeEvent(QResizeEvent* event)
{
    QWidget::resizeEvent(event);
    LayOutButtons();
}

void CFunctionKeyBar::LayOutButtons()
{
    for (int i = 0; i < ButtonCount; ++i)
        m_buttons.at(i)->setGeometry(ButtonRect(i, rect()));
}
