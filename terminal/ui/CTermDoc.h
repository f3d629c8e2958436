#pragma once

#include <QObject>
#include <QString>

// The document of a terminal window. It holds no data of its own: the
// screen is the line's and the records are the view's. It names the
// window ("Terminal1", "Terminal2", as the main window counts them) for
// the messages about its line.
class CTermDoc : public QObject
{
    Q_OBJECT

public:
    explicit CTermDoc(QObject* parent = nullptr);

    QString GetTitle() const { return m_strTitle; }
    void SetTitle(const QString& title) { m_strTitle = title; }

private:
    QString m_strTitle;
};
