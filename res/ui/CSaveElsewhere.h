#pragma once

#include <QString>

#include <functional>

class CFileResult;
class QWidget;
struct CFileFilter;

// A driver or a saved text that cannot be written is not lost without a
// word: a message names the file and the reason and offers Save As, again
// after each failed try, until a write succeeds or the user gives up.
class CSaveElsewhere
{
public:
    // Writes the file at path: "" when it was written, else the message
    // that names the file and the reason.
    using Writer = std::function<QString(const QString& path)>;

    // The path written, or "" when nothing was.
    static QString Write(QWidget* parent, const QString& path, const CFileFilter& filter, const Writer& write);
    // Asks for another place at once (the user chose Save As instead of path).
    static QString WriteElsewhere(QWidget* parent, const QString& path, const CFileFilter& filter,
                                  const Writer& write);
    // After the write to path failed with message.
    static QString OfferElsewhere(QWidget* parent, const QString& path, const QString& message,
                                  const CFileFilter& filter, const Writer& write);
    // Before writing over a file that was not read completely (readProblem
    // says why): only when the user confirms, or elsewhere, or not at all.
    static QString WriteOverIncomplete(QWidget* parent, const QString& path, const QString& readProblem,
                                       const CFileFilter& filter, const Writer& write);

    // What to tell the user about a driver that was not read completely:
    // "lab.tbb: no such file", "Cannot open lab.tbb: Permission denied",
    // "lab.tbb: damaged at byte 96 (...)"; "" when it was read.
    static QString LoadProblem(const CFileResult& loaded);
};
