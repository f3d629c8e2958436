#include "CCommandLineEdit.h"

#include <QKeyEvent>

CCommandLineEdit::CCommandLineEdit(QWidget* parent)
    : QLineEdit(parent)
{
    setObjectName(QStringLiteral("CommandLine"));
    setPlaceholderText(QStringLiteral("Command to send (Enter); control codes as <ESC>, macros as ^$F...^$F"));
}

void CCommandLineEdit::Accept()
{
    m_history.Add(text());
    clear();
}

void CCommandLineEdit::keyPressEvent(QKeyEvent* event)
{
    switch (event->key()) {
    case Qt::Key_Return:
    case Qt::Key_Enter:
        Q_EMIT commandEntered(text());
        event->accept();
        return;
    case Qt::Key_Up:
        setText(m_history.Older(text()));
        event->accept();
        return;
    case Qt::Key_Down:
        setText(m_history.Newer(text()));
        event->accept();
        return;
    default:
        QLineEdit::keyPressEvent(event);
    }
}
