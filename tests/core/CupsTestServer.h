#pragma once

// A private CUPS scheduler for printer tests: cupsd runs in the foreground
// in a temporary folder of its own (configuration, spool, logs), listens only
// on a socket in that folder, and CUPS_SERVER points the program's client
// there. Queues print into files of that folder. Needs root (the scheduler
// runs as root) and the Debian packages cups-daemon, cups-client (lpadmin)
// and cups-core-drivers (its copying filter); without them IsRunning() is
// false and SkipReason() says why.

#include <QByteArray>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QTemporaryDir>
#include <QThread>

#include <cups/cups.h>

#include <sys/prctl.h>
#include <csignal>
#include <unistd.h>

#include <memory>

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
        const QStringList arguments{QStringLiteral("-p"), name, QStringLiteral("-v"),
                                    QStringLiteral("file://") + QueueFile(name), QStringLiteral("-P"),
                                    m_folder.filePath(QStringLiteral("raw-copy.ppd")), QStringLiteral("-E")};
        return RunAdmin(Admin, arguments) && RunAdmin(Admin, {QStringLiteral("-d"), name});
    }
    bool RemoveQueue(const QString& name) { return RunAdmin(Admin, {QStringLiteral("-x"), name}); }
    // The queue refuses new jobs (cupsreject).
    bool RejectJobs(const QString& name)
    {
        return RunAdmin(QStringLiteral("/usr/sbin/cupsreject"), {name});
    }
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
                m_strSkipReason = QStringLiteral("%1 is not installed (Debian packages cups-daemon, cups-client, "
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
                        {QStringLiteral("-f"), QStringLiteral("-c"), m_folder.filePath(QStringLiteral("cupsd.conf")),
                         QStringLiteral("-s"), m_folder.filePath(QStringLiteral("cups-files.conf"))});
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
        const QString conf = QStringLiteral("Listen %1\n"
                                            "LogLevel debug\n"
                                            "Browsing No\n"
                                            "WebInterface No\n"
                                            "DefaultAuthType None\n"
                                            "<Location />\n  Order allow,deny\n  Allow all\n</Location>\n"
                                            "<Location /admin>\n  Order allow,deny\n  Allow all\n</Location>\n")
                                 .arg(SocketPath());
        const QString files = QStringLiteral("FileDevice Yes\n"
                                             "ServerRoot %1\n"
                                             "RequestRoot %1/spool\n"
                                             "CacheDir %1/cache\n"
                                             "StateDir %1/state\n"
                                             "TempDir %1/tmp\n"
                                             "Printcap %1/printcap\n"
                                             "ErrorLog %1/log/error_log\n"
                                             "AccessLog %1/log/access_log\n"
                                             "PageLog %1/log/page_log\n")
                                  .arg(root);
        // The smallest driver whose one filter copies raw data unchanged.
        const QString ppd = QStringLiteral("*PPD-Adobe: \"4.3\"\n*FormatVersion: \"4.3\"\n*FileVersion: \"1.0\"\n"
                                           "*LanguageVersion: English\n*LanguageEncoding: ISOLatin1\n"
                                           "*PCFileName: \"RAWCOPY.PPD\"\n*Manufacturer: \"Test\"\n"
                                           "*Product: \"(Raw copy)\"\n*ModelName: \"Raw copy\"\n"
                                           "*NickName: \"Raw copy\"\n*ShortNickName: \"Raw copy\"\n"
                                           "*PSVersion: \"(3010.000) 0\"\n"
                                           "*cupsFilter: \"application/vnd.cups-raw 0 gziptoany\"\n"
                                           "*OpenUI *PageSize: PickOne\n*DefaultPageSize: A4\n*PageSize A4: \"\"\n"
                                           "*CloseUI: *PageSize\n*OpenUI *PageRegion: PickOne\n"
                                           "*DefaultPageRegion: A4\n*PageRegion A4: \"\"\n*CloseUI: *PageRegion\n"
                                           "*DefaultImageableArea: A4\n*ImageableArea A4: \"0 0 595 842\"\n"
                                           "*DefaultPaperDimension: A4\n*PaperDimension A4: \"595 842\"\n");
        return WriteFile(QStringLiteral("cupsd.conf"), conf) && WriteFile(QStringLiteral("cups-files.conf"), files) &&
               WriteFile(QStringLiteral("raw-copy.ppd"), ppd);
    }

    bool WriteFile(const QString& name, const QString& text)
    {
        QFile file(m_folder.filePath(name));
        return file.open(QIODevice::WriteOnly) && file.write(text.toUtf8()) == text.toUtf8().size();
    }

    bool WaitUntilListening(int timeoutMs)
    {
        QElapsedTimer timer;
        timer.start();
        while (timer.elapsed() < timeoutMs && m_process.state() == QProcess::Running) {
            if (http_t* http = httpConnect2(SocketPath().toLocal8Bit().constData(), ippPort(), nullptr, AF_UNSPEC,
                                            HTTP_ENCRYPTION_NEVER, 1, 500, nullptr)) {
                httpClose(http);
                return true;
            }
            QThread::msleep(50);
        }
        return false;
    }

    bool RunAdmin(const QString& program, const QStringList& arguments)
    {
        QProcess admin;
        admin.setProcessChannelMode(QProcess::MergedChannels);
        admin.start(program, arguments);
        if (!admin.waitForFinished(10000)) {
            admin.kill();
            admin.waitForFinished(2000);
            return false;
        }
        const QByteArray output = admin.readAll();
        // The driver is only there to copy; its deprecation note is no failure.
        if (admin.exitCode() != 0)
            qWarning("%s: %s", qPrintable(program), output.constData());
        return admin.exitStatus() == QProcess::NormalExit && admin.exitCode() == 0;
    }
    bool RunAdmin(const char* program, const QStringList& arguments)
    {
        return RunAdmin(QString::fromLatin1(program), arguments);
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
