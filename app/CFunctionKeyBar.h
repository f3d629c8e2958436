#pragma once

#include <QList>
#include <QWidget>

class QPushButton;

// The function-key bar at the bottom of the main window: eight buttons
// F1..F8 (command numbers 3048..3055), captioned at run time with the
// driver's key names. Each button gets width / 8 of the bar (the remainder
// stays empty at the right end), 2 pixels free above and below.
class CFunctionKeyBar : public QWidget
{
    Q_OBJECT

public:
    static constexpr int FirstId = 3048;
    static constexpr int ButtonCount = 8;

    explicit CFunctionKeyBar(QWidget* parent = nullptr);

    // The rectangle of button i (0..7) in a bar whose client area is client.
    static QRect ButtonRect(int i, const QRect& client);

    // nullptr unless nID is 3048..3055.
    QPushButton* Button(int nID) const;

    QSize sizeHint() const override;

Q_SIGNALS:
    void commandTriggered(int nID);

protected:
    void resizeEvent(QResizeEvent* event) override;

private:
    void LayOutButtons();

    QList<QPushButton*> m_buttons;
};
