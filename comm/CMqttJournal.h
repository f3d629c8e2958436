#pragma once

#include <QByteArray>
#include <QFile>
#include <QLockFile>
#include <QString>

#include <memory>

// The messages waiting for the broker, in a file so that neither a lost
// network nor a closed program loses them. Layout (little-endian):
// bytes 0..7 "ORVMQJ1\n", bytes 8..15 the offset of the first message not yet
// taken by the broker (the head), then the messages as a 32-bit length and
// the bytes. A full journal drops its oldest message. Used by one thread.
class CMqttJournal
{
public:
    static constexpr qint64 HeaderSize = 16;
    // One message longer than this marks a damaged file from here on.
    static constexpr quint32 MaxMessageSize = 16u << 20;

    explicit CMqttJournal(qint64 maxMessages);
    ~CMqttJournal();

    // Opens (or creates) the journal and locks it. A journal another program
    // holds is left alone: "NAME-2.journal" and so on up to 9 are tried.
    // A damaged tail (a message cut by a crash) is cut off.
    bool Open(const QString& path, QString& error);
    QString Path() const { return m_file.fileName(); }

    // Appends at the end; returns how many of the oldest messages were
    // dropped to stay within the limit. False on a write failure.
    bool Append(const QByteArrayList& messages, qint64& dropped, QString& error);
    // The message at offset (Head() or a Next() of it); false at the end.
    bool Read(qint64 offset, QByteArray& message, qint64& next, QString& error);
    // The broker took every message before offset: the head moves there and
    // is written down; an empty journal is shortened to its header, and a
    // long taken part is cut off. Both move every later message to a lower
    // offset: by Moved() bytes (0 when nothing moved).
    bool Release(qint64 offset, QString& error);
    qint64 Moved() const { return m_nMoved; }

    qint64 Head() const { return m_nHead; }
    qint64 End() const { return m_nEnd; }
    qint64 Count() const { return m_nCount; }
    bool IsEmpty() const { return m_nCount == 0; }

private:
    bool OpenLocked(const QString& path, QString& error);
    bool Scan(QString& error);
    bool WriteHead(QString& error);
    bool Compact(QString& error);
    bool DropOldest(QString& error);
    QString Failure(const QString& what) const;

    const qint64 m_nMaxMessages;
    QFile m_file;
    std::unique_ptr<QLockFile> m_pLock;
    qint64 m_nHead = HeaderSize;
    qint64 m_nEnd = HeaderSize;
    qint64 m_nCount = 0;
    qint64 m_nMoved = 0;
};
