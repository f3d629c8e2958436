#include "CDocumentFrame.h"

CDocumentFrame::CDocumentFrame(QWidget* parent) : QMdiSubWindow(parent) {}

void CDocumentFrame::SetDocumentPath(const QString& path)
{
    m_strDocumentPath = path;
    setWindowTitle(path.section(QLatin1Char('/'), -1));
    Q_EMIT documentPathChanged(path);
}
