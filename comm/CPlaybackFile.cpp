#include "CPlaybackFile.h"

#include "CRegularFile.h"

#include <QLoggingCategory>

#include <limits>

namespace {
Q_LOGGING_CATEGORY(lcPlayback, "orvalis.comm")
}

bool CPlaybackFile::Open(const QString& path)
{
    Close();
    QString notRegular;
    if (!CRegularFile::Check(path, &notRegular)) {
        m_strError = QStringLiteral("Cannot open playback file %1: %2").arg(path, notRegular);
        return false;
    }
    m_file.setFileName(path);
    if (m_file.open(QIODevice::ReadOnly)) {
        m_strError.clear();
        qCDebug(lcPlayback) << "playback file" << path << "opened";
        return true;
    }
    m_strError = QStringLiteral("Cannot open playback file %1: %2").arg(path, m_file.errorString());
    return false;
}

void CPlaybackFile::Close()
{
    if (m_file.isOpen())
        m_file.close();
}

QByteArray CPlaybackFile::NextLine(const Sleeper& sleep)
{
    QByteArray line = ReadLine();
    if (line.startsWith('D')) {
        sleep(DelayOf(line));
        line = ReadLine();
    }
    return line;
}

quint32 CPlaybackFile::DelayOf(const QByteArray& line)
{
    qsizetype p = 1;
    while (p < line.size() && (line.at(p) == ' ' || (line.at(p) >= '\t' && line.at(p) <= '\r')))
        ++p;
    if (p < line.size() && line.at(p) == '+')
        ++p;
    constexpr quint64 Max = std::numeric_limits<quint32>::max();
    quint64 value = 0;
    for (; p < line.size() && line.at(p) >= '0' && line.at(p) <= '9'; ++p)
        value = qMin(Max, value * 10 + quint64(line.at(p) - '0'));
    return quint32(value);
}

QByteArray CPlaybackFile::ReadLine()
{
    if (!m_file.isOpen())
        return {};
    QByteArray line;
    // QFile buffers the reads and keeps pos() just behind the bytes taken.
    while (!m_file.atEnd()) {
        const QByteArray chunk = m_file.readLine();
        if (chunk.isEmpty())
            break; // a read error: what was read so far is the line
        line += chunk;
        if (line.endsWith('\n'))
            break;
    }
    if (line.endsWith('\n')) {
        line.chop(1);
        if (line.endsWith('\r'))
            line.chop(1);
    }
    return line;
}
