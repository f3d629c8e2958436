#pragma once

#include "CCommandHistory.h"

#include <QLineEdit>

// The one-line input below an instrument window's text. Enter hands the
// text to the window (commandEntered); the window sends it and calls
// Accept, which keeps it in the history and empties the line. Up and Down
// walk the history.
class CCommandLineEdit : public QLineEdit
{
    Q_OBJECT

public:
    explicit CCommandLineEdit(QWidget* parent = nullptr);

    void SetHistory(const QStringList& entries) { m_history.SetEntries(entries); }
    QStringList History() const { return m_history.Entries(); }
    void Accept();

Q_SIGNALS:
    void commandEntered(const QString& text);

protected:
    void keyPressEvent(QKeyEvent* event) override;

private:
    CCommandHistory m_history;
};
