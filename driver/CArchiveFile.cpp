#include "CArchiveFile.h"

#include "CArchive.h"
#include "CRecord.h"

#include <QFile>
#include <QLoggingCategory>

namespace {

Q_LOGGING_CATEGORY(lcDriverFile, "orvalis.driver")

CFileResult Logged(const CFileResult& result)
{
    if (!result.IsOk())
        qCDebug(lcDriverFile).noquote() << result.Message();
    return result;
}

} // namespace

CFileResult CArchiveFile::Load(QIODevice& device, const QString& name, Records records)
{
    CArchive ar(&device, CArchive::load);
    for (CRecord* record : records) {
        record->Serialize(ar);
        if (ar.IsClosed())
            return Logged(CFileResult::DamagedAt(name, ar.ErrorOffset(), ar.ErrorReason()));
    }
    ar.Close();
    return CFileResult::Success(name);
}

CFileResult CArchiveFile::Store(QIODevice& device, const QString& name, Records records)
{
    CArchive ar(&device, CArchive::store);
    for (CRecord* record : records) {
        record->Serialize(ar);
        if (ar.IsClosed())
            return Logged(CFileResult::WriteFailed(name, ar.ErrorOffset(), ar.ErrorReason()));
    }
    ar.Close();
    return CFileResult::Success(name);
}

CFileResult CArchiveFile::Load(const QString& path, Records records)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return Logged(CFileResult::OpenFailed(path, file.errorString()));
    return Load(file, path, records);
}

CFileResult CArchiveFile::Store(const QString& path, Records records)
{
    QFile file(path);
    // ReadWrite creates a missing file and, unlike WriteOnly, keeps the length.
    if (!file.open(QIODevice::ReadWrite))
        return Logged(CFileResult::OpenFailed(path, file.errorString()));
    const CFileResult result = Store(file, path, records);
    if (!result.IsOk())
        return result;
    if (!file.flush())
        return Logged(CFileResult::WriteFailed(path, -1, file.errorString()));
    return result;
}
