#include "CArchiveFile.h"

#include "CArchive.h"
#include "CFileReplacer.h"
#include "CRecord.h"
#include "CRegularFile.h"

#include <QBuffer>
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
    QString notRegular;
    if (!CRegularFile::Check(path, &notRegular))
        return Logged(CFileResult::OpenFailed(path, notRegular));
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return Logged(CFileResult::OpenFailed(path, file.errorString()));
    return Load(file, path, records);
}

CFileResult CArchiveFile::Store(const QString& path, Records records)
{
    QBuffer buffer;
    buffer.open(QIODevice::WriteOnly);
    const CFileResult result = Store(buffer, path, records);
    if (!result.IsOk())
        return result;
    return Logged(CFileReplacer::Replace(path, buffer.data(), CFileReplacer::Tail::Keep));
}
