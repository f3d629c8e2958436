#pragma once

#include <QByteArray>
#include <QFile>
#include <QString>

#include <functional>

// The playback file: opened by the "^$E" macro of a command text, read line
// by line by the received-data pipeline (one line per line feed the
// instrument sends). One object for the whole program, owned by the
// application (the command line tool holds its own).
class CPlaybackFile
{
public:
    using Sleeper = std::function<void(quint32 milliseconds)>;

    // Closes the file open before, then opens path for reading. False (and
    // closed) when it cannot be opened; ErrorString() says why.
    bool Open(const QString& path);
    void Close();
    bool IsOpen() const { return m_file.isOpen(); }
    QString FileName() const { return m_file.fileName(); }
    QString ErrorString() const { return m_strError; }

    // The next line to send, without its line end; "" at the end of the file
    // or when closed. A line starting with 'D' is a delay line: sleep is
    // called with its number of milliseconds and the following line is
    // taken in its place (once: a second delay line in a row is sent).
    QByteArray NextLine(const Sleeper& sleep);

    // The milliseconds of a delay line ("D500"): the text after the 'D' read
    // like "%lu" (leading blanks, an optional '+', decimal digits); no
    // digits or a minus sign give 0, values beyond 32 bits saturate.
    static quint32 DelayOf(const QByteArray& line);

private:
    // A line ends at LF; a CR right before it is dropped. The file position
    // stays just behind the consumed line.
    QByteArray ReadLine();

    QFile m_file;
    QString m_strError;
};
