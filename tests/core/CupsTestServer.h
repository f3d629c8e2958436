#pragma once

// A private CUPS scheduler for printer tests: cupsd runs in the foreground
// in a temporary folder of its own (configuration, spool, logs), listens only
// on a socket in that folder, and CUPS_SERVER points the program's client
// there. Queues print into files of that folder. Needs root (the scheduler
// runs as root) and the Debian packages cups-daemon, cups-client (lpadmin)
// and cups-core-drivers (its copying filter); without them IsRunning() is
// false and SkipReason() says why.

#include "TestIncludes.h"

#include <cups/cups.h>

#include <sys/prctl.h>

class CCupsTestServer
{
public:
    static constexpr const char* Daemon = "/usr/sbin/cupsd";
    static constexpr const char* Admin = "/usr/sbin/lpadmin";
    static constexpr const char* CopyFilter = "/usr/lib/cups/filter/gziptoany";

    CCupsTestServer() { Start(); }
    ~CCupsTestServer() { Stop(); }
    CCupsTestServer(const CCupsTestServer&) = delete;
    CCupsTestServer& operator=(const CCupsTestServer&) = delete;

    bool IsRunning() const { return m_process.state() == QProcess::Running && m_strSkipReason.isEmpty(); }
    QString SkipReason() const { return m_strSkipReason; }
    QString SocketPath() const { return m_folder.filePath(QStringLiteral("cups.sock")); }
    QString FilePath(const QString& name) const { return m_folder.filePath(name); }

    // A queue that takes raw jobs and writes them byte for byte into the file
    // "<name>.prn" of the private folder; it becomes the default destination.
    // CUPS starts no process at all for a queue without a driver whose
    // device is a file, so the queue's driver is the scheduler's own copying
    // filter: raw documents pass through it unchanged.
    bool AddQueue(const QString& name)
    {
        const QStringList arguments{QStringLiteral("-p"), name,
                                    QStringLiteral("-v"), QStringLiteral("file://") + QueueFile(name),
                                    QStringLiteral("-P"), m_folder.filePath(QStringLiteral("raw-copy.ppd")),
                                    QStringLiteral("-E")};
        return RunAdmin(Admin, arguments) && RunAdmin(Admin, {QStringLiteral("-d"), name});
    }
    bool RemoveQueue(const QString& name) { return RunAdmin(Admin, {QStringLiteral("-x"), name}); }
    // The queue refuses new jobs (cupsreject).
    bool RejectJobs(const QString& name) { return RunAdmin("/usr/sbin/cupsreject", {name}); }
    QString QueueFile(const QString& name) const { return m_folder.filePath(name + QStringLiteral(".prn")); }
    QByteArray QueueFileBytes(const QString& name) const
    {
        QFile file(QueueFile(name));
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }

    struct Job
    {
        int id = 0;
        QString title;
        QString format;
        int state = 0; // IPP_JSTATE_PENDING (3) .. IPP_JSTATE_COMPLETED (9)
    };
    // Every job of the queue, finished or not.
    QList<Job> Jobs(const QString& queue) const
    {
        QList<Job> result;
        cups_job_t* jobs = nullptr;
        const QByteArray name = queue.toUtf8();
        const int count = cupsGetJobs2(CUPS_HTTP_DEFAULT, &jobs, name.constData(), 0, CUPS_WHICHJOBS_ALL);
        for (int i = 0; i < count; ++i)
            result.append({jobs[i].id, QString::fromUtf8(jobs[i].title), QString::fromUtf8(jobs[i].format),
                           int(jobs[i].state)});
        cupsFreeJobs(count, jobs);
        return result;
    }
    // Waits (at most timeoutMs) until the job is completed and its bytes are
    // in the queue's file.
    bool WaitForCompletedJob(const QString& queue, int jobId, int timeoutMs = 10000) const
    {
        QElapsedTimer timer;
        timer.start();
        while (timer.elapsed() < timeoutMs) {
            for (const Job& job : Jobs(queue)) {
                if (job.id == jobId && job.state == IPP_JSTATE_COMPLETED)
                    return true;
            }
            QThread::msleep(50);
        }
        return false;
    }

private:
    void Start()
    {
        if (geteuid() != 0) {
            m_strSkipReason = QStringLiteral("a private cupsd needs root (the scheduler runs as root)");
            return;
        }
        for (const char* path : {Daemon, Admin, CopyFilter}) {
            if (!QFileInfo::exists(QString::fromLatin1(path))) {
                m_strSkipReason =
                    QStringLiteral("%1 is not installed (Debian packages cups-daemon, cups-client, "
                                   "cups-core-drivers; tools/install-deps.sh installs them)")
                        .arg(QString::fromLatin1(path));
                return;
            }
        }
        if (!m_folder.isValid() || !WriteConfiguration()) {
            m_strSkipReason = QStringLiteral("cannot write the scheduler's folder %1").arg(m_folder.path());
            return;
        }
        m_bEnvironmentSet = true;
        m_oldServer = qgetenv("CUPS_SERVER");
        qputenv("CUPS_SERVER", SocketPath().toLocal8Bit());
        // The default destination comes from the scheduler alone, not from a
        // user's lpoptions or environment.
        qunsetenv("LPDEST");
        qunsetenv("PRINTER");
        m_oldHome = qgetenv("HOME");
        qputenv("HOME", m_folder.path().toLocal8Bit());
        cupsSetServer(nullptr);

        m_process.setProcessChannelMode(QProcess::MergedChannels);
        // A test that dies does not leave its scheduler behind.
        m_process.setChildProcessModifier([] { prctl(PR_SET_PDEATHSIG, SIGTERM); });
        m_process.start(QString::fromLatin1(Daemon),
                        {QStringLiteral("-f"), QStringLiteral("-c"),
                         m_folder.filePath(QStringLiteral("cupsd.conf")), QStringLiteral("-s"),
                         m_folder.filePath(QStringLiteral("cups-files.conf"))});
        if (!m_process.waitForStarted(5000) || !WaitUntilListening(10000)) {
            m_strSkipReason = QStringLiteral("cupsd did not start: %1 %2")
                                  .arg(QString::fromLocal8Bit(m_process.readAll()), ErrorLogTail());
            Stop();
        }
    }

    void Stop()
    {
        if (m_process.state() != QProcess::NotRunning) {
            m_process.terminate();
            if (!m_process.waitForFinished(5000)) {
                m_process.kill();
                m_process.waitForFinished(2000);
            }
        }
        if (!m_bEnvironmentSet)
            return;
        m_bEnvironmentSet = false;
        if (!m_oldServer.isNull())
            qputenv("CUPS_SERVER", m_oldServer);
        else
            qunsetenv("CUPS_SERVER");
        if (!m_oldHome.isNull())
            qputenv("HOME", m_oldHome);
        cupsSetServer(nullptr);
    }

    // The scheduler's configuration and the smallest driver whose one filter
    // copies raw data unchanged, from tests/core/data/cups; %1 stands for the
    // socket in cupsd.conf and for the folder in cups-files.conf.
    bool WriteConfiguration()
    {
        // The copying filter runs as the scheduler's user lp and reads the
        // spool inside this folder.
        QFile::setPermissions(m_folder.path(), QFileDevice::ReadOwner | QFileDevice::WriteOwner |
                                                   QFileDevice::ExeOwner | QFileDevice::ReadGroup |
                                                   QFileDevice::ExeGroup | QFileDevice::ReadOther |
                                                   QFileDevice::ExeOther);
        const QString root = m_folder.path();
        for (const char* sub : {"spool", "cache", "state", "log", "tmp"})
            QDir(root).mkdir(QString::fromLatin1(sub));
        const std::pair<const char*, QString> files[] = {
            {"cupsd.conf", SocketPath()}, {"cups-files.conf", root}, {"raw-copy.ppd", QString()}};
        for (const auto& [name, value] : files) {
            QFile source(QStringLiteral(ORVALIS_SOURCE_DIR "/tests/core/data/cups/") + QLatin1String(name));
            QFile target(m_folder.filePath(QLatin1String(name)));
            if (!source.open(QIODevice::ReadOnly) || !target.open(QIODevice::WriteOnly))
                return false;
            const QByteArray text =
                QString::fromUtf8(source.readAll()).replace(QStringLiteral("%1"), value).toUtf8();
            if (target.write(text) != text.size())
                return false;
        }
        return true;
    }

    bool WaitUntilListening(int timeoutMs)
    {
        QElapsedTimer timer;
        timer.start();
        while (timer.elapsed() < timeoutMs && m_process.state() == QProcess::Running) {
            if (http_t* http = httpConnect2(SocketPath().toLocal8Bit().constData(), ippPort(), nullptr,
                                            AF_UNSPEC, HTTP_ENCRYPTION_NEVER, 1, 500, nullptr)) {
                httpClose(http);
                return true;
            }
            QThread::msleep(50);
        }
        return false;
    }

    bool RunAdmin(const char* program, const QStringList& arguments)
    {
        QProcess admin;
        admin.setProcessChannelMode(QProcess::MergedChannels);
        admin.start(QString::fromLatin1(program), arguments);
        if (!admin.waitForFinished(10000)) {
            admin.kill();
            admin.waitForFinished(2000);
            return false;
        }
        const QByteArray output = admin.readAll();
        // The driver is only there to copy; its deprecation note is no failure.
        if (admin.exitCode() != 0)
            qWarning("%s: %s", program, output.constData());
        return admin.exitStatus() == QProcess::NormalExit && admin.exitCode() == 0;
    }

    QString ErrorLogTail() const
    {
        QFile log(m_folder.filePath(QStringLiteral("log/error_log")));
        if (!log.open(QIODevice::ReadOnly))
            return QString();
        return QString::fromLocal8Bit(log.readAll().right(600));
    }

    QTemporaryDir m_folder;
    QProcess m_process;
    QString m_strSkipReason;
    QByteArray m_oldServer;
    QByteArray m_oldHome;
    bool m_bEnvironmentSet = false;
};
