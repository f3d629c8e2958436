#pragma once

#include <QMdiSubWindow>

// The frame of an instrument window (document type "Orvali"). It holds one
// view, made in CreateView: the instrument window's view goes there.
class CChildFrame : public QMdiSubWindow
{
    Q_OBJECT

public:
    explicit CChildFrame(QWidget* parent = nullptr);

    QWidget* View() const { return widget(); }
    // A saved text opened with File Open; empty for a new window. The view
    // reads it when it is told (the instrument view loads the text).
    void SetDocumentPath(const QString& path);
    QString DocumentPath() const { return m_strDocumentPath; }

Q_SIGNALS:
    void documentPathChanged(const QString& path);

private:
    // The one place where an instrument window's view is created. The view
    // reads its driver from COrvalisApp::Get()->m_strLastUsedDriver.
    static QWidget* CreateView(CChildFrame* frame);

    QString m_strDocumentPath;
};
