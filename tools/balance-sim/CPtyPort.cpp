#include "CPtyPort.h"

#include <QFileInfo>

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <poll.h>
#include <pty.h>
#include <sys/ioctl.h>
#include <termios.h>
#include <unistd.h>

namespace {

QString SystemError()
{
    return QString::fromLocal8Bit(std::strerror(errno));
}

} // namespace

CPtyPort::~CPtyPort()
{
    RemoveLink();
    if (m_nMaster >= 0)
        ::close(m_nMaster);
}

bool CPtyPort::Open(QString& error)
{
    int slave = -1;
    char name[256] = {};
    if (::openpty(&m_nMaster, &slave, name, nullptr, nullptr) != 0) {
        error = QStringLiteral("Cannot open a pseudo-terminal pair: %1").arg(SystemError());
        return false;
    }
    // The line discipline keeps these settings while the master is open, so
    // the instrument side reads the bytes exactly as they were sent.
    termios raw {};
    if (::tcgetattr(slave, &raw) == 0) {
        ::cfmakeraw(&raw);
        ::tcsetattr(slave, TCSANOW, &raw);
    }
    ::close(slave);
    ::fcntl(m_nMaster, F_SETFL, ::fcntl(m_nMaster, F_GETFL) | O_NONBLOCK);
    m_strSlavePath = QString::fromLocal8Bit(name);
    return true;
}

bool CPtyPort::CreateLink(const QString& linkPath, QString& error)
{
    const QByteArray path = QFile::encodeName(linkPath);
    const QFileInfo existing(linkPath);
    if (existing.isSymLink()) {
        ::unlink(path.constData());
    } else if (existing.exists()) {
        error = QStringLiteral("Cannot create the link %1: a file of that name exists and is not a symbolic link")
                    .arg(linkPath);
        return false;
    }
    if (::symlink(QFile::encodeName(m_strSlavePath).constData(), path.constData()) != 0) {
        error = QStringLiteral("Cannot create the link %1: %2").arg(linkPath, SystemError());
        return false;
    }
    m_strLinkPath = linkPath;
    return true;
}

void CPtyPort::RemoveLink()
{
    if (m_strLinkPath.isEmpty())
        return;
    // Another simulator may have taken the name over since: leave its link.
    if (QFileInfo(m_strLinkPath).symLinkTarget() == QFileInfo(m_strSlavePath).absoluteFilePath())
        ::unlink(QFile::encodeName(m_strLinkPath).constData());
    m_strLinkPath.clear();
}

QByteArray CPtyPort::Read()
{
    char buffer[512];
    const ssize_t n = ::read(m_nMaster, buffer, sizeof buffer);
    if (n <= 0)
        return {};
    return QByteArray(buffer, int(n));
}

bool CPtyPort::Write(const QByteArray& data)
{
    pollfd probe { m_nMaster, POLLOUT, 0 };
    if (::poll(&probe, 1, 0) < 0 || (probe.revents & POLLHUP))
        return false;
    qsizetype done = 0;
    while (done < data.size()) {
        const ssize_t n = ::write(m_nMaster, data.constData() + done, size_t(data.size() - done));
        if (n > 0) {
            done += n;
            continue;
        }
        if (n < 0 && errno == EINTR)
            continue;
        if (n < 0 && errno == EAGAIN) {
            // The reader is slow: wait briefly for room rather than split a line.
            pollfd room { m_nMaster, POLLOUT, 0 };
            if (::poll(&room, 1, 200) <= 0 || (room.revents & POLLHUP))
                return false;
            continue;
        }
        return false;
    }
    return true;
}

void CPtyPort::Drain(int timeoutMs)
{
    pollfd probe { m_nMaster, POLLOUT, 0 };
    if (::poll(&probe, 1, 0) < 0 || (probe.revents & POLLHUP))
        return; // nobody listens: nothing can be read any more
    // The unread bytes are counted on the slave side of the pair.
    const int slave = ::open(QFile::encodeName(m_strSlavePath).constData(), O_RDWR | O_NOCTTY | O_NONBLOCK);
    if (slave < 0)
        return;
    // Bytes reach the slave's queue a moment after the write, so the queue
    // counts as read only once it has stayed empty for a while.
    int emptyFor = 0;
    for (int waited = 0; waited < timeoutMs && emptyFor < 50; waited += 10) {
        int unread = 0;
        if (::ioctl(slave, FIONREAD, &unread) != 0)
            break;
        emptyFor = unread == 0 ? emptyFor + 10 : 0;
        ::usleep(10000);
    }
    ::close(slave);
}
