#pragma once

#include <QByteArray>
#include <QString>

// The raw received bytes of a capture, for "replay": the header line
// "ORVALIS-CAPTURE 1", then every block as it was read from the line, as a
// 32-bit little-endian length and the bytes. The blocks are kept because
// the pipeline shows a pending script result at the end of each block.
//
// The recording grows in "<file>.part" beside the file, each block on disk
// before the next is read; Finish syncs it and renames it to the file. An
// older recording of the same name stays until then, and a killed capture
// leaves every block it read in the ".part" file.
class CCaptureWriter
{
public:
    static constexpr const char* Header = "ORVALIS-CAPTURE 1\n";

    ~CCaptureWriter();

    // Creates the ".part" file and writes the header.
    bool Open(const QString& path);
    // Writes one block; nothing for an empty one.
    bool Append(const QByteArray& block);
    // Puts the recording in place; false with the reason when it cannot.
    bool Finish();
    QString ErrorString() const { return m_strError; }

private:
    bool Write(const QByteArray& bytes);
    bool Fail(const QString& path);

    int m_fd = -1;
    QString m_strPath;
    QString m_strPartPath;
    QString m_strError;
};
