#pragma once

// A private Mosquitto broker for the tests: its own configuration and
// persistence folder, listening on a free port of 127.0.0.1 only; stopped
// (and restartable on the same port) by the test. Every wait is bounded.

// Also used by a benchmark, which has no test library: plain includes.
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QThread>

#include <csignal>
#include <unistd.h>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <pwd.h>
#include <sys/prctl.h>
#include <sys/socket.h>

class MqttTestBroker
{
public:
    MqttTestBroker()
    {
        m_program = QStandardPaths::findExecutable(QStringLiteral("mosquitto"));
        if (m_program.isEmpty())
            m_program = QStandardPaths::findExecutable(
                QStringLiteral("mosquitto"),
                {QStringLiteral("/usr/sbin"), QStringLiteral("/usr/local/sbin")});
        m_port = FreePort();
    }
    ~MqttTestBroker() { Stop(); }

    // Empty when the broker can be run, else why not.
    QString Missing() const
    {
        return m_program.isEmpty() ? QStringLiteral("mosquitto is not installed (Debian package mosquitto)")
                                   : QString();
    }
    int Port() const { return m_port; }
    QString Url() const
    {
        return QStringLiteral("%1://127.0.0.1:%2").arg(m_caFile.isEmpty() ? "mqtt" : "mqtts").arg(m_port);
    }

    // Why a TLS broker cannot run here (no mosquitto, no openssl), or empty
    // when EnableTls worked.
    QString TlsUnavailable()
    {
        const QString missing = Missing();
        return missing.isEmpty() ? EnableTls() : missing;
    }

    // From the next Start on the listener speaks TLS only, with a
    // self-signed certificate for 127.0.0.1 (CaFile(), its own CA) made here
    // with openssl. Empty when that worked, else why not.
    QString EnableTls()
    {
        const QString error =
            RunTool(QStringLiteral("openssl"), {"req", "-x509", "-days", "2", "-subj", "/CN=127.0.0.1",
                                                "-addext", "subjectAltName=IP:127.0.0.1", "-newkey", "ec",
                                                "-pkeyopt", "ec_paramgen_curve:prime256v1", "-nodes",
                                                "-keyout", "server.key", "-out", "server.pem"});
        if (error.isEmpty())
            m_caFile = m_dir.filePath(QStringLiteral("server.pem"));
        return error;
    }
    QString CaFile() const { return m_caFile; }

    // From the next Start on only this user is let in. Empty when that
    // worked, else why not.
    QString RequirePassword(const QString& user, const QString& password)
    {
        m_passwordFile = m_dir.filePath(QStringLiteral("passwords"));
        return RunTool(QStringLiteral("mosquitto_passwd"), {"-b", "-c", m_passwordFile, user, password});
    }

    bool Start()
    {
        QFile conf(m_dir.filePath(QStringLiteral("mosquitto.conf")));
        if (!conf.open(QIODevice::WriteOnly))
            return false;
        const auto path = [](const QString& file) { return QFile::encodeName(file); };
        QByteArrayList lines{"listener " + QByteArray::number(m_port) + " 127.0.0.1",
                             QByteArray("allow_anonymous ") + (m_passwordFile.isEmpty() ? "true" : "false"),
                             "persistence true",
                             "persistence_location " + path(m_dir.path()) + "/",
                             "max_queued_messages 0",
                             "max_inflight_messages 0",
                             "log_dest file " + path(m_dir.filePath(QStringLiteral("broker.log")))};
        if (!m_passwordFile.isEmpty())
            lines << "password_file " + path(m_passwordFile);
        if (!m_caFile.isEmpty())
            lines << "cafile " + path(m_caFile) << "certfile " + path(m_caFile)
                  << "keyfile " + path(m_dir.filePath(QStringLiteral("server.key")));
        if (const passwd* user = getpwuid(getuid()))
            lines << QByteArray("user ") + user->pw_name;
        conf.write(lines.join('\n') + '\n');
        conf.close();
        m_process.setProgram(m_program);
        m_process.setArguments({QStringLiteral("-c"), conf.fileName()});
        // A test that is killed takes its broker with it.
        m_process.setChildProcessModifier([] { ::prctl(PR_SET_PDEATHSIG, SIGTERM); });
        m_process.setStandardOutputFile(QProcess::nullDevice());
        m_process.setStandardErrorFile(m_dir.filePath(QStringLiteral("broker.err")), QIODevice::Append);
        m_process.start();
        if (!m_process.waitForStarted(5000))
            return false;
        QElapsedTimer clock;
        clock.start();
        while (clock.elapsed() < 5000) {
            if (Accepts())
                return true;
            if (m_process.state() != QProcess::Running)
                return false;
            QThread::msleep(20);
        }
        return false;
    }

    // SIGSTOP: the broker still takes connections and bytes into its socket
    // buffers, but answers nothing.
    void Freeze() { ::kill(pid_t(m_process.processId()), SIGSTOP); }

    // SIGTERM: the broker writes its persistence file and ends. SIGKILL
    // (kill): it ends at once, and only what that file had comes back.
    void Stop(bool kill = false)
    {
        if (m_process.state() == QProcess::NotRunning)
            return;
        if (kill)
            m_process.kill();
        else
            m_process.terminate();
        if (!m_process.waitForFinished(5000)) {
            m_process.kill();
            m_process.waitForFinished(2000);
        }
    }

private:
    // Runs a tool of the Debian packages in the broker's folder; empty when
    // it did its work, else why not.
    QString RunTool(const QString& name, const QStringList& arguments) const
    {
        const QString tool = QStandardPaths::findExecutable(name);
        if (tool.isEmpty())
            return QStringLiteral("%1 is not installed (Debian package %2)")
                .arg(name, name == QLatin1String("openssl") ? name : QStringLiteral("mosquitto"));
        QProcess step;
        step.setWorkingDirectory(m_dir.path());
        step.setProcessChannelMode(QProcess::MergedChannels);
        step.start(tool, arguments);
        if (!step.waitForFinished(30000) || step.exitStatus() != QProcess::NormalExit || step.exitCode() != 0)
            return QStringLiteral("%1: %2").arg(name, QString::fromLocal8Bit(step.readAll()));
        return QString();
    }

    static sockaddr_in Loopback(int port)
    {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        address.sin_port = htons(port);
        return address;
    }

    static int FreePort()
    {
        const int fd = socket(AF_INET, SOCK_STREAM, 0);
        sockaddr_in address = Loopback(0);
        socklen_t length = sizeof address;
        int port = 0;
        if (bind(fd, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0 &&
            getsockname(fd, reinterpret_cast<sockaddr*>(&address), &length) == 0)
            port = ntohs(address.sin_port);
        close(fd);
        return port;
    }

    bool Accepts() const
    {
        const int fd = socket(AF_INET, SOCK_STREAM, 0);
        sockaddr_in address = Loopback(m_port);
        const bool ok = ::connect(fd, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0;
        close(fd);
        return ok;
    }

    QString m_program;
    QString m_caFile;
    QString m_passwordFile;
    int m_port = 0;
    QTemporaryDir m_dir;
    QProcess m_process;
};
