#include "CFileReplacer.h"

#include "CRegularFile.h"

#include <QFile>
#include <QFileInfo>
#include <QRandomGenerator>

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

CFileReplacer::WriteHook& Hook()
{
    static CFileReplacer::WriteHook hook;
    return hook;
}

// The file a path names after following symbolic links; a path that does
// not exist yet (or a dangling link's final name) stays as it is.
QString Target(const QString& path)
{
    const QString canonical = QFileInfo(path).canonicalFilePath();
    return canonical.isEmpty() ? path : canonical;
}

// The old file's bytes from offset on; false when they cannot all be read.
bool ReadTail(const QByteArray& path, qint64 offset, qint64 size, QByteArray& tail)
{
    const int fd = ::open(path.constData(), O_RDONLY | O_CLOEXEC);
    if (fd < 0)
        return false;
    tail.resize(size - offset);
    qint64 done = 0;
    while (done < tail.size()) {
        const ssize_t n = ::pread(fd, tail.data() + done, size_t(tail.size() - done), offset + done);
        if (n < 0 && errno == EINTR)
            continue;
        if (n <= 0)
            break;
        done += n;
    }
    const int error = errno;
    ::close(fd);
    errno = error;
    return done == tail.size();
}

// Creates a new file beside the target, named after it, with the mode the
// umask gives a new file.
int CreateTemporary(const QByteArray& target, QByteArray& name)
{
    const qsizetype slash = target.lastIndexOf('/');
    const QByteArray folder = slash < 0 ? QByteArray(".") : target.left(qMax<qsizetype>(slash, 1));
    const QByteArray base = slash < 0 ? target : target.mid(slash + 1);
    for (int attempt = 0; attempt < 100; ++attempt) {
        name = folder + "/." + base + "." + QByteArray::number(QRandomGenerator::global()->generate(), 36) + ".tmp";
        const int fd = ::open(name.constData(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
        if (fd >= 0 || errno != EEXIST)
            return fd;
    }
    return -1;
}

bool WriteAll(int fd, const QByteArray& bytes, qint64& offset)
{
    for (offset = 0; offset < bytes.size();) {
        if (Hook()) {
            if (const int error = Hook()(offset)) {
                errno = error;
                return false;
            }
        }
        const qint64 piece = qMin(CFileReplacer::PieceSize, bytes.size() - offset);
        const ssize_t n = ::write(fd, bytes.constData() + offset, size_t(piece));
        if (n < 0 && errno == EINTR)
            continue;
        if (n <= 0) {
            if (n == 0)
                errno = ENOSPC;
            return false;
        }
        offset += n;
    }
    return true;
}

void SyncFolder(const QByteArray& target)
{
    const qsizetype slash = target.lastIndexOf('/');
    const QByteArray folder = slash < 0 ? QByteArray(".") : target.left(qMax<qsizetype>(slash, 1));
    const int fd = ::open(folder.constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (fd < 0)
        return;
    ::fsync(fd);
    ::close(fd);
}

} // namespace

void CFileReplacer::SetWriteHook(WriteHook hook)
{
    Hook() = std::move(hook);
}

QString CFileReplacer::Reason(int error)
{
    if (error == ENOSPC)
        return QStringLiteral("the disk is full");
    return QString::fromLocal8Bit(std::strerror(error));
}

CFileResult CFileReplacer::Replace(const QString& path, const QByteArray& bytes, Tail tail)
{
    if (path.isEmpty())
        return CFileResult::OpenFailed(path, QStringLiteral("no file name"));
    const QByteArray target = QFile::encodeName(Target(path));
    QString notRegular;
    if (!CRegularFile::Check(path, &notRegular))
        return CFileResult::OpenFailed(path, notRegular);
    struct stat old {};
    const bool exists = ::stat(target.constData(), &old) == 0;
    // A file the user made read-only stays as it is.
    if (exists && ::access(target.constData(), W_OK) != 0)
        return CFileResult::WriteFailed(path, -1, Reason(errno));

    QByteArray content = bytes;
    if (tail == Tail::Keep && exists && old.st_size > bytes.size()) {
        // Never write over a file whose end could not be read.
        QByteArray rest;
        if (!ReadTail(target, bytes.size(), old.st_size, rest))
            return CFileResult::OpenFailed(path, Reason(errno));
        content += rest;
    }

    QByteArray temporary;
    const int fd = CreateTemporary(target, temporary);
    if (fd < 0)
        return CFileResult::OpenFailed(path, Reason(errno));
    if (exists) {
        ::fchmod(fd, old.st_mode & 07777);
        // Only a privileged user can give the file away; others keep their own.
        if (::fchown(fd, old.st_uid, old.st_gid) != 0)
            ::fchown(fd, uid_t(-1), old.st_gid);
    }
    qint64 offset = 0;
    const bool written = WriteAll(fd, content, offset) && ::fsync(fd) == 0;
    const int writeError = errno;
    const bool closed = ::close(fd) == 0;
    if (!written || !closed || ::rename(temporary.constData(), target.constData()) != 0) {
        const int error = !written ? writeError : errno;
        ::unlink(temporary.constData());
        return CFileResult::WriteFailed(path, written ? -1 : offset, Reason(error));
    }
    SyncFolder(target);
    return CFileResult::Success(path);
}
