#pragma once

#include <QLabel>

// A status-bar pane whose text gives way on a narrow window: it is drawn cut
// at the left, so that its end (the line's state) stays readable, and its
// small minimum width lets the message pane keep its prompt. text() stays
// the whole text.
class CElidedLabel : public QLabel
{
    Q_OBJECT

public:
    explicit CElidedLabel(QWidget* pParent = nullptr) : QLabel(pParent) {}

    QSize minimumSizeHint() const override;
    QString ShownText() const;

protected:
    void paintEvent(QPaintEvent* pEvent) override;
};
