#include "CDriverArgument.h"

#include "CDriverFile.h"
#include "CTerminalFile.h"

#include <QFileInfo>

bool CDriverArgument::Load(const QString& path, CDriverFile& driver, QString& error)
{
    // A terminal driver starts with the communication block; read as an
    // instrument driver it would only be "damaged at byte 0".
    if (QFileInfo(path).suffix().compare(QLatin1String(CTerminalFile::Extension), Qt::CaseInsensitive) == 0) {
        error = QStringLiteral("%1 is a terminal driver, not an instrument driver (.%2)")
                    .arg(path, QLatin1String(CDriverFile::Extension));
        return false;
    }
    const CFileResult loaded = driver.Load(path);
    error = loaded.Message();
    return loaded.IsOk();
}
