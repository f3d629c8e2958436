#include "CDriverFileName.h"

QByteArray CDriverFileName::ForName(const QByteArray& name)
{
    QByteArray fileName = name;
    fileName.replace('/', '-');
    return fileName + ".tbb";
}
