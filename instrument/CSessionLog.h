#pragma once

#include "CDisplayText.h"
#include "CTextSink.h"

#include <QFile>
#include <QString>

// The session log: passes the text on to the sink that shows it and appends
// the same text, as the window shows it (UTF-8, one LF per line end), to a
// file. The file is unbuffered, so every piece is with the system as soon as
// it is shown and a killed program loses nothing it showed. The first write
// that fails, or a file removed while logging, stops the log; the text still
// goes on to the window and ErrorString names the file and the reason.
class CSessionLog : public CTextSink
{
public:
    explicit CSessionLog(CTextSink& target)
        : m_target(target)
    {
    }

    // Appends to the file (created when missing); false with ErrorString.
    bool Start(const QString& path);
    void Stop();
    bool IsLogging() const { return m_file.isOpen(); }
    QString FileName() const { return m_file.fileName(); }
    // Why the log stopped or did not start, "" while all went well.
    QString ErrorString() const { return m_strError; }

    void AppendBytes(const QByteArray& bytes) override;
    // A file keeps what it was given: only the window loses the character.
    void DeleteLastCharacter() override { m_target.DeleteLastCharacter(); }

private:
    void Fail(const QString& reason);

    CTextSink& m_target;
    CDisplayText m_display;
    QFile m_file;
    QString m_strError;
};
