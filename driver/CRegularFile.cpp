#include "CRegularFile.h"

#include <QFile>

#include <sys/stat.h>

namespace {

const char* KindOf(mode_t mode)
{
    if (S_ISDIR(mode))
        return "a folder";
    if (S_ISFIFO(mode))
        return "a FIFO";
    if (S_ISCHR(mode))
        return "a character device";
    if (S_ISBLK(mode))
        return "a block device";
    if (S_ISSOCK(mode))
        return "a socket";
    return "a special file";
}

} // namespace

bool CRegularFile::Check(const QString& path, QString* reason)
{
    struct stat info {};
    if (::stat(QFile::encodeName(path).constData(), &info) != 0 || S_ISREG(info.st_mode))
        return true;
    *reason = QStringLiteral("%1, not a regular file").arg(QLatin1String(KindOf(info.st_mode)));
    return false;
}
