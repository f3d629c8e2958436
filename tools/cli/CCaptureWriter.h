#pragma once

#include <QByteArray>
#include <QFile>
#include <QString>

// The raw received bytes of a capture, for "replay": the header line
// "ORVALIS-CAPTURE 1", then every block as it was read from the line, as a
// 32-bit little-endian length and the bytes. The blocks are kept because
// the pipeline shows a pending script result at the end of each block.
class CCaptureWriter
{
public:
    static constexpr const char* Header = "ORVALIS-CAPTURE 1\n";

    // Creates or empties the file and writes the header.
    bool Open(const QString& path);
    // Writes and flushes one block; nothing for an empty one.
    bool Append(const QByteArray& block);
    QString ErrorString() const { return m_strError; }

private:
    bool Fail();

    QFile m_file;
    QString m_strError;
};
