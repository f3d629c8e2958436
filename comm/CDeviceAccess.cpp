#include "CDeviceAccess.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <grp.h>
#include <pwd.h>
#include <signal.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <vector>

namespace {

// Folders that UUCP-style lock files ("LCK..ttyUSB0") are kept in.
const char* const LockFolders[] = {"/run/lock", "/var/lock"};

QString SystemError(int error)
{
    return QString::fromLocal8Bit(std::strerror(error));
}

// The name of a user or group id (getpwuid_r, getgrgid_r); the number when it has none.
template <class Entry, class Id>
QString NameOf(Id id, int (*lookup)(Id, Entry*, char*, size_t, Entry**), char* Entry::*field)
{
    Entry entry{};
    Entry* found = nullptr;
    std::vector<char> buffer(16384);
    if (lookup(id, &entry, buffer.data(), buffer.size(), &found) != 0 || !found)
        return QString::number(id);
    return QString::fromLocal8Bit(found->*field);
}

bool ProcessHasGroup(gid_t gid)
{
    if (getegid() == gid)
        return true;
    const int count = getgroups(0, nullptr);
    std::vector<gid_t> groups(count > 0 ? count : 0);
    if (count > 0 && getgroups(count, groups.data()) < 0)
        return false;
    return std::ranges::find(groups, gid) != groups.end();
}

// The groups the user database gives this user at the next login.
bool UserListedInGroup(gid_t gid)
{
    passwd entry{};
    passwd* found = nullptr;
    std::vector<char> buffer(16384);
    if (getpwuid_r(geteuid(), &entry, buffer.data(), buffer.size(), &found) != 0 || !found)
        return false;
    int count = 64;
    std::vector<gid_t> groups(count);
    if (getgrouplist(found->pw_name, found->pw_gid, groups.data(), &count) < 0) {
        groups.resize(count);
        if (getgrouplist(found->pw_name, found->pw_gid, groups.data(), &count) < 0)
            return false;
    }
    groups.resize(count);
    return std::ranges::find(groups, gid) != groups.end();
}

bool ProcessAlive(long long pid)
{
    return pid > 0 && (kill(pid_t(pid), 0) == 0 || errno == EPERM);
}

// The flock() holder of the node: /proc/locks lines read
// "1: FLOCK  ADVISORY  WRITE 1234 00:05:87 0 EOF" (device in hex, inode decimal).
long long FlockHolder(const struct stat& node)
{
    QFile locks(QStringLiteral("/proc/locks"));
    if (!locks.open(QIODevice::ReadOnly))
        return 0;
    const QByteArray wanted = QStringLiteral("%1:%2:%3")
                                  .arg(major(node.st_dev), 2, 16, QLatin1Char('0'))
                                  .arg(minor(node.st_dev), 2, 16, QLatin1Char('0'))
                                  .arg(node.st_ino)
                                  .toLatin1();
    // A /proc file has no size: read to its end (one short line per lock).
    const QList<QByteArray> lines = locks.readAll().split('\n');
    for (const QByteArray& line : lines) {
        const QList<QByteArray> fields = line.simplified().split(' ');
        if (fields.size() < 6 || fields[1] != "FLOCK" || fields[5] != wanted)
            continue;
        return fields[4].toLongLong();
    }
    return 0;
}

// A process with the node open, found through /proc/<pid>/fd (another
// user's processes are visible to root only).
long long ProcessWithNodeOpen(const QByteArray& canonicalPath)
{
    const QStringList pids = QDir(QStringLiteral("/proc")).entryList(QDir::Dirs | QDir::NoDotAndDotDot);
    for (const QString& pid : pids) {
        bool bNumber = false;
        const long long number = pid.toLongLong(&bNumber);
        if (!bNumber)
            continue;
        const QString fdFolder = QStringLiteral("/proc/%1/fd").arg(pid);
        const QStringList fds = QDir(fdFolder).entryList(QDir::System | QDir::NoDotAndDotDot);
        for (const QString& fd : fds) {
            if (QFile::symLinkTarget(fdFolder + QLatin1Char('/') + fd).toLocal8Bit() == canonicalPath)
                return number;
        }
    }
    return 0;
}

QString ProgramName(long long pid)
{
    QFile comm(QStringLiteral("/proc/%1/comm").arg(pid));
    if (!comm.open(QIODevice::ReadOnly))
        return QString();
    return QString::fromLocal8Bit(comm.readLine(256).trimmed());
}

void FindHolder(const struct stat& node, const QByteArray& path, CDeviceAccess::Facts& facts)
{
    const QByteArray canonical = QFileInfo(QString::fromLocal8Bit(path)).canonicalFilePath().toLocal8Bit();
    long long pid = FlockHolder(node);
    if (!pid)
        pid = ProcessWithNodeOpen(canonical);
    for (const char* folder : LockFolders) {
        if (!pid)
            pid = CDeviceAccess::LockFilePid(QString::fromLatin1(folder), canonical);
    }
    if (!pid)
        return;
    facts.holderPid = pid;
    facts.bHolderIsSelf = pid == getpid();
    facts.holder = ProgramName(pid);
}

QString PermissionText(const CDeviceAccess::Facts& facts, const QString& path)
{
    if (!facts.bNodeKnown)
        return QStringLiteral("Cannot open %1: %2").arg(path, SystemError(facts.error));
    const bool bGroupMayUse = (facts.mode & S_IRGRP) && (facts.mode & S_IWGRP) && !facts.bGroupIsRoot;
    if (bGroupMayUse && !facts.bInGroupNow) {
        if (facts.bInGroupListed)
            return QStringLiteral("Permission denied on %1: your user was added to the group %2 after this "
                                  "session started (log out and log in again)")
                .arg(path, facts.group);
        return QStringLiteral("Permission denied on %1: your user is not in the group %2 "
                              "(run: sudo adduser $USER %2, then log in again)")
            .arg(path, facts.group);
    }
    return QStringLiteral("Permission denied on %1 (%2, owner %3, group %4)")
        .arg(path, CDeviceAccess::ModeText(facts.mode), facts.owner, facts.group);
}

} // namespace

QString CDeviceAccess::Explain(const QByteArray& path, int error)
{
    return Text(Probe(path, error));
}

CDeviceAccess::Facts CDeviceAccess::Probe(const QByteArray& path, int error)
{
    Facts facts;
    facts.path = path;
    facts.error = error;
    struct stat node{};
    if (stat(path.constData(), &node) != 0)
        return facts;
    facts.bNodeKnown = true;
    facts.mode = node.st_mode;
    if (error == EACCES || error == EPERM) {
        facts.owner = NameOf(node.st_uid, &getpwuid_r, &passwd::pw_name);
        facts.group = NameOf(node.st_gid, &getgrgid_r, &group::gr_name);
        facts.bGroupIsRoot = node.st_gid == 0;
        facts.bInGroupNow = ProcessHasGroup(node.st_gid);
        facts.bInGroupListed = UserListedInGroup(node.st_gid);
    } else if (error == EBUSY) {
        FindHolder(node, path, facts);
    }
    return facts;
}

QString CDeviceAccess::Text(const Facts& facts)
{
    const QString path = QString::fromLocal8Bit(facts.path);
    if (facts.error == EACCES || facts.error == EPERM)
        return PermissionText(facts, path);
    QString text = QStringLiteral("Cannot open %1: %2").arg(path, SystemError(facts.error));
    if (facts.error != EBUSY || !facts.holderPid)
        return text;
    if (facts.bHolderIsSelf)
        return text + QStringLiteral(" (already open in this program)");
    const QString holder = facts.holder.isEmpty() ? QStringLiteral("another program") : facts.holder;
    return text + QStringLiteral(" (in use by %1, process %2)").arg(holder).arg(facts.holderPid);
}

QString CDeviceAccess::ModeText(unsigned mode)
{
    QString text(1, S_ISCHR(mode) ? QLatin1Char('c') : QLatin1Char('-'));
    const char letters[] = "rwx";
    for (int bit = 8; bit >= 0; --bit)
        text += (mode & (1u << bit)) ? QLatin1Char(letters[(8 - bit) % 3]) : QLatin1Char('-');
    return text;
}

long long CDeviceAccess::LockFilePid(const QString& lockFolder, const QByteArray& devicePath)
{
    // "/dev/ttyUSB0" locks as "LCK..ttyUSB0", "/dev/pts/3" as "LCK..pts_3".
    QByteArray name = devicePath.startsWith("/dev/") ? devicePath.mid(5) : devicePath;
    name.replace('/', '_');
    QFile file(QDir(lockFolder).filePath(QStringLiteral("LCK..") + QString::fromLocal8Bit(name)));
    if (!file.open(QIODevice::ReadOnly))
        return 0;
    const QByteArray content = file.read(64);
    // HDB lock files hold the number as text; old ones a binary int.
    bool bNumber = false;
    long long pid = content.trimmed().toLongLong(&bNumber);
    if (!bNumber && content.size() == int(sizeof(std::int32_t))) {
        std::int32_t binary = 0;
        std::memcpy(&binary, content.constData(), sizeof binary);
        pid = binary;
    }
    return ProcessAlive(pid) ? pid : 0;
}
