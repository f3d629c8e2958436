#include "CMqttJournal.h"

#include <QDir>
#include <QFileInfo>
#include <QtEndian>

#include <cstdio>

namespace {

const QByteArray Magic("ORVMQJ1\n");
// A taken part this long, and more than half of the file, is cut off.
constexpr qint64 CompactAfter = 8 << 20;

QString WithSuffix(const QString& path, int n)
{
    if (n == 1)
        return path;
    const QFileInfo info(path);
    return info.path() + QStringLiteral("/%1-%2.%3").arg(info.completeBaseName()).arg(n).arg(info.suffix());
}

} // namespace

CMqttJournal::CMqttJournal(qint64 maxMessages)
    : m_nMaxMessages(maxMessages)
{
}

CMqttJournal::~CMqttJournal() = default;

QString CMqttJournal::Failure(const QString& what) const
{
    return QStringLiteral("Message journal %1: %2 (%3)").arg(m_file.fileName(), what, m_file.errorString());
}

bool CMqttJournal::Open(const QString& path, QString& error)
{
    const QString folder = QFileInfo(path).path();
    if (!QDir().mkpath(folder)) {
        error = QStringLiteral("Message journal %1: cannot create the folder %2").arg(path, folder);
        return false;
    }
    for (int n = 1; n <= 9; ++n) {
        const QString candidate = WithSuffix(path, n);
        auto lock = std::make_unique<QLockFile>(candidate + QStringLiteral(".lock"));
        lock->setStaleLockTime(0);
        if (!lock->tryLock(0)) {
            if (lock->error() == QLockFile::LockFailedError)
                continue;
            error = QStringLiteral("Message journal %1: cannot lock it (the folder is not writable?)").arg(candidate);
            return false;
        }
        m_pLock = std::move(lock);
        return OpenLocked(candidate, error);
    }
    error = QStringLiteral("Message journal %1: nine instances of it are in use").arg(path);
    return false;
}

bool CMqttJournal::OpenLocked(const QString& path, QString& error)
{
    m_file.setFileName(path);
    if (!m_file.open(QIODevice::ReadWrite)) {
        error = Failure(QStringLiteral("cannot open it"));
        return false;
    }
    const QByteArray header = m_file.read(HeaderSize);
    if (header.size() < HeaderSize || !header.startsWith(Magic)) {
        // New, empty or not ours: start afresh rather than send garbage.
        if (!m_file.resize(0) || m_file.write(Magic) != Magic.size()) {
            error = Failure(QStringLiteral("cannot write its header"));
            return false;
        }
        m_nHead = HeaderSize;
        m_nEnd = HeaderSize;
        return WriteHead(error);
    }
    m_nHead = qFromLittleEndian<qint64>(header.constData() + Magic.size());
    m_nEnd = m_file.size();
    if (m_nHead < HeaderSize || m_nHead > m_nEnd)
        m_nHead = HeaderSize;
    return Scan(error);
}

bool CMqttJournal::Scan(QString& error)
{
    m_nCount = 0;
    qint64 offset = m_nHead;
    QByteArray message;
    qint64 next = 0;
    while (offset < m_nEnd && Read(offset, message, next, error)) {
        offset = next;
        ++m_nCount;
    }
    if (offset == m_nEnd)
        return true;
    // A message cut short: everything from it on goes.
    if (!m_file.resize(offset)) {
        error = Failure(QStringLiteral("cannot cut off its damaged end"));
        return false;
    }
    m_nEnd = offset;
    error.clear();
    return true;
}

bool CMqttJournal::WriteHead(QString& error)
{
    char bytes[8];
    qToLittleEndian<qint64>(m_nHead, bytes);
    if (!m_file.seek(Magic.size()) || m_file.write(bytes, 8) != 8 || !m_file.flush()) {
        error = Failure(QStringLiteral("cannot write its head"));
        return false;
    }
    return true;
}

bool CMqttJournal::Read(qint64 offset, QByteArray& message, qint64& next, QString& error)
{
    if (offset >= m_nEnd)
        return false;
    char length[4];
    if (!m_file.seek(offset) || m_file.read(length, 4) != 4) {
        error = Failure(QStringLiteral("cannot read at byte %1").arg(offset));
        return false;
    }
    const quint32 n = qFromLittleEndian<quint32>(length);
    if (n > MaxMessageSize || offset + 4 + qint64(n) > m_nEnd) {
        error = Failure(QStringLiteral("damaged at byte %1 (length %2)").arg(offset).arg(n));
        return false;
    }
    message = m_file.read(n);
    if (message.size() != qsizetype(n)) {
        error = Failure(QStringLiteral("cannot read at byte %1").arg(offset));
        return false;
    }
    next = offset + 4 + n;
    return true;
}

bool CMqttJournal::Append(const QByteArrayList& messages, qint64& dropped, QString& error)
{
    dropped = 0;
    if (messages.isEmpty())
        return true;
    QByteArray bytes;
    for (const QByteArray& message : messages) {
        char length[4];
        qToLittleEndian<quint32>(quint32(message.size()), length);
        bytes.append(length, 4).append(message);
    }
    if (!m_file.seek(m_nEnd) || m_file.write(bytes) != bytes.size() || !m_file.flush()) {
        // Whatever part went in is cut off again, so the file stays whole.
        m_file.resize(m_nEnd);
        error = Failure(QStringLiteral("cannot write %1 messages (is the disk full?)").arg(messages.size()));
        return false;
    }
    m_nEnd += bytes.size();
    m_nCount += messages.size();
    while (m_nCount > m_nMaxMessages) {
        if (!DropOldest(error))
            return false;
        ++dropped;
    }
    return dropped == 0 || WriteHead(error);
}

bool CMqttJournal::DropOldest(QString& error)
{
    QByteArray message;
    qint64 next = 0;
    if (!Read(m_nHead, message, next, error))
        return false;
    m_nHead = next;
    --m_nCount;
    return true;
}

bool CMqttJournal::Release(qint64 offset, QString& error)
{
    m_nMoved = 0;
    if (offset <= m_nHead)
        return true;
    // Count the messages taken (the offsets come from Read, so they are
    // message boundaries).
    qint64 at = m_nHead;
    QByteArray message;
    qint64 next = 0;
    while (at < offset && Read(at, message, next, error)) {
        at = next;
        --m_nCount;
    }
    m_nHead = at;
    if (m_nHead == m_nEnd) {
        m_nMoved = m_nHead - HeaderSize;
        m_nHead = m_nEnd = HeaderSize;
        m_nCount = 0;
        if (!m_file.resize(HeaderSize)) {
            error = Failure(QStringLiteral("cannot shorten it"));
            return false;
        }
    } else if (m_nHead - HeaderSize > CompactAfter && (m_nHead - HeaderSize) * 2 > m_nEnd - HeaderSize) {
        return Compact(error);
    }
    return WriteHead(error);
}

bool CMqttJournal::Compact(QString& error)
{
    // The waiting part goes to a new file that replaces the old one whole.
    QFile compacted(m_file.fileName() + QStringLiteral(".new"));
    if (!compacted.open(QIODevice::WriteOnly | QIODevice::Truncate)) {
        error = Failure(QStringLiteral("cannot create %1").arg(compacted.fileName()));
        return false;
    }
    char head[8];
    qToLittleEndian<qint64>(HeaderSize, head);
    bool ok = compacted.write(Magic) == Magic.size() && compacted.write(head, 8) == 8;
    m_file.seek(m_nHead);
    for (qint64 left = m_nEnd - m_nHead; ok && left > 0;) {
        const QByteArray chunk = m_file.read(qMin<qint64>(left, 1 << 20));
        ok = !chunk.isEmpty() && compacted.write(chunk) == chunk.size();
        left -= chunk.size();
    }
    ok = ok && compacted.flush();
    compacted.close();
    if (!ok) {
        compacted.remove();
        error = Failure(QStringLiteral("cannot write its shortened copy (is the disk full?)"));
        return false;
    }
    const QString path = m_file.fileName();
    m_file.close();
    if (::rename(QFile::encodeName(compacted.fileName()).constData(), QFile::encodeName(path).constData()) != 0) {
        compacted.remove();
        m_file.open(QIODevice::ReadWrite);
        error = Failure(QStringLiteral("cannot replace it by its shortened copy"));
        return false;
    }
    m_file.setFileName(path);
    if (!m_file.open(QIODevice::ReadWrite)) {
        error = Failure(QStringLiteral("cannot open it again"));
        return false;
    }
    m_nMoved = m_nHead - HeaderSize;
    m_nEnd -= m_nMoved;
    m_nHead = HeaderSize;
    return true;
}
