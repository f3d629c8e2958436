#pragma once

#include <QMdiSubWindow>
#include <QString>

// The child window around one view, with the path of the document it shows:
// a saved text opened with File Open, empty for a new window. The view reads
// the document when it is told.
class CDocumentFrame : public QMdiSubWindow
{
    Q_OBJECT

public:
    explicit CDocumentFrame(QWidget* parent = nullptr);

    void SetDocumentPath(const QString& path);
    QString DocumentPath() const { return m_strDocumentPath; }

Q_SIGNALS:
    void documentPathChanged(const QString& path);

private:
    QString m_strDocumentPath;
};
