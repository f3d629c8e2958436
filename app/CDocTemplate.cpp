#include "CDocTemplate.h"

#include "CStringTable.h"

#include <QStringList>

QString CDocTemplate::GetDocString(int field) const
{
    // Empty fields count: the description starts with an empty window title.
    const QStringList fields = CStringTable::Text(m_nResourceId).split(QLatin1Char('\n'));
    return field >= 0 && field < fields.size() ? fields.at(field) : QString();
}
