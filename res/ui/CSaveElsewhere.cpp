#include "CSaveElsewhere.h"

#include "CFileResult.h"
#include "CUserDialogs.h"

#include <QDir>
#include <QFileInfo>
#include <QLoggingCategory>

Q_LOGGING_CATEGORY(lcSave, "orvalis.app.save")

namespace {

// The failed file's folder when it can be written to, else the user's home.
QString StartFolder(const QString& failedPath)
{
    const QFileInfo folder(QFileInfo(failedPath).absolutePath());
    return folder.isDir() && folder.isWritable() ? folder.absoluteFilePath() : QDir::homePath();
}

} // namespace

QString CSaveElsewhere::Write(QWidget* parent, const QString& path, const CFileFilter& filter, const Writer& write)
{
    const QString message = write(path);
    if (message.isEmpty())
        return path;
    return OfferElsewhere(parent, path, message, filter, write);
}

QString CSaveElsewhere::WriteElsewhere(QWidget* parent, const QString& path, const CFileFilter& filter,
                                       const Writer& write)
{
    const QString other =
        CUserDialogs::Current().GetSaveFileName(parent, StartFolder(path), filter, QStringLiteral("Save As"));
    if (other.isEmpty())
        return QString();
    return Write(parent, other, filter, write);
}

QString CSaveElsewhere::OfferElsewhere(QWidget* parent, const QString& path, const QString& message,
                                       const CFileFilter& filter, const Writer& write)
{
    qCWarning(lcSave).noquote() << message;
    if (!CUserDialogs::Current().AskSaveElsewhere(parent, message + QStringLiteral("\n\nSave it elsewhere?")))
        return QString();
    return WriteElsewhere(parent, path, filter, write);
}

QString CSaveElsewhere::WriteOverIncomplete(QWidget* parent, const QString& path, const QString& readProblem,
                                            const CFileFilter& filter, const Writer& write)
{
    const QString question = QFileInfo::exists(path)
        ? QStringLiteral("%1\n\nWriting over %2 replaces what could not be read. Overwrite it?").arg(readProblem, path)
        : QStringLiteral("%1\n\nCreate %2?").arg(readProblem, path);
    switch (CUserDialogs::Current().AskOverwrite(parent, question)) {
    case CUserDialogs::Overwrite:
        return Write(parent, path, filter, write);
    case CUserDialogs::SaveElsewhere:
        return WriteElsewhere(parent, path, filter, write);
    case CUserDialogs::DontSave:
        break;
    }
    return QString();
}

QString CSaveElsewhere::LoadProblem(const CFileResult& loaded)
{
    if (loaded.IsOk())
        return QString();
    if (loaded.GetStatus() == CFileResult::Status::NotOpened && !QFileInfo::exists(loaded.GetFileName()))
        return QStringLiteral("%1: no such file").arg(loaded.GetFileName());
    return loaded.Message();
}
