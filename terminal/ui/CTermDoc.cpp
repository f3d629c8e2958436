#include "CTermDoc.h"

#include "CStringTable.h"
#include "ResourceIds.h"

#include <QStringList>

CTermDoc::CTermDoc(QObject* parent)
    : QObject(parent)
    // The document name of the window type, until the window's own title is known.
    , m_strTitle(CStringTable::Text(IDR_TERMINALTYPE).split(QLatin1Char('\n')).value(1))
{
}
