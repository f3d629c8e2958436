#pragma once

// A private Mosquitto broker for the tests: its own configuration and
// persistence folder, listening on a free port of 127.0.0.1 only; stopped
// (and restartable on the same port) by the test. Every wait is bounded.

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QThread>

#include <arpa/inet.h>
#include <csignal>
#include <netinet/in.h>
#include <pwd.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <unistd.h>

class MqttTestBroker
{
public:
    MqttTestBroker()
    {
        m_program = QStandardPaths::findExecutable(QStringLiteral("mosquitto"));
        if (m_program.isEmpty())
            m_program = QStandardPaths::findExecutable(QStringLiteral("mosquitto"),
                                                       {QStringLiteral("/usr/sbin"), QStringLiteral("/usr/local/sbin")});
        m_port = FreePort();
    }
    ~MqttTestBroker() { Stop(); }

    // Empty when the broker can be run, else why not.
    QString Missing() const
    {
        return m_program.isEmpty() ? QStringLiteral("mosquitto is not installed (Debian package mosquitto)") : QString();
    }
    int Port() const { return m_port; }
    QString Url() const { return QStringLiteral("%1://127.0.0.1:%2").arg(m_caFile.isEmpty() ? "mqtt" : "mqtts").arg(m_port); }

    // Why a TLS broker cannot run here (no mosquitto, no openssl), or empty
    // when EnableTls worked.
    QString TlsUnavailable()
    {
        const QString missing = Missing();
        return missing.isEmpty() ? EnableTls() : missing;
    }

    // From the next Start on the listener speaks TLS only, with a server
    // certificate for 127.0.0.1 signed by a throwaway CA (CaFile()) made
    // here with openssl. Empty when that worked, else why not.
    QString EnableTls()
    {
        const QString openssl = QStandardPaths::findExecutable(QStringLiteral("openssl"));
        if (openssl.isEmpty())
            return QStringLiteral("openssl is not installed (Debian package openssl)");
        const QString ca = m_dir.filePath(QStringLiteral("ca.pem"));
        const QString ext = m_dir.filePath(QStringLiteral("server.ext"));
        QFile extFile(ext);
        if (!extFile.open(QIODevice::WriteOnly) || extFile.write("subjectAltName=IP:127.0.0.1\n") < 0)
            return QStringLiteral("cannot write %1").arg(ext);
        extFile.close();
        const QStringList ec{QStringLiteral("-newkey"), QStringLiteral("ec"), QStringLiteral("-pkeyopt"),
                             QStringLiteral("ec_paramgen_curve:prime256v1"), QStringLiteral("-nodes")};
        const QList<QStringList> steps{
            QStringList{"req", "-x509", "-days", "2", "-subj", "/CN=Orvalis test CA", "-keyout", "ca.key", "-out", "ca.pem"} + ec,
            QStringList{"req", "-subj", "/CN=127.0.0.1", "-keyout", "server.key", "-out", "server.csr"} + ec,
            {"x509", "-req", "-days", "2", "-in", "server.csr", "-CA", "ca.pem", "-CAkey", "ca.key", "-CAcreateserial",
             "-extfile", "server.ext", "-out", "server.pem"}};
        for (const QStringList& arguments : steps) {
            QProcess step;
            step.setWorkingDirectory(m_dir.path());
            step.setProcessChannelMode(QProcess::MergedChannels);
            step.start(openssl, arguments);
            if (!step.waitForFinished(30000) || step.exitStatus() != QProcess::NormalExit || step.exitCode() != 0)
                return QStringLiteral("openssl %1: %2").arg(arguments.join(' '), QString::fromLocal8Bit(step.readAll()));
        }
        m_caFile = ca;
        return QString();
    }
    QString CaFile() const { return m_caFile; }

    // From the next Start on only this user is let in. Empty when that
    // worked, else why not.
    QString RequirePassword(const QString& user, const QString& password)
    {
        const QString tool = QStandardPaths::findExecutable(QStringLiteral("mosquitto_passwd"));
        if (tool.isEmpty())
            return QStringLiteral("mosquitto_passwd is not installed (Debian package mosquitto)");
        m_passwordFile = m_dir.filePath(QStringLiteral("passwords"));
        QProcess step;
        step.setProcessChannelMode(QProcess::MergedChannels);
        step.start(tool, {QStringLiteral("-b"), QStringLiteral("-c"), m_passwordFile, user, password});
        if (!step.waitForFinished(10000) || step.exitStatus() != QProcess::NormalExit || step.exitCode() != 0)
            return QStringLiteral("mosquitto_passwd: %1").arg(QString::fromLocal8Bit(step.readAll()));
        return QString();
    }

    bool Start()
    {
        QFile conf(m_dir.filePath(QStringLiteral("mosquitto.conf")));
        if (!conf.open(QIODevice::WriteOnly))
            return false;
        QByteArray text = "listener " + QByteArray::number(m_port) + " 127.0.0.1\n"
                          "allow_anonymous " + QByteArray(m_passwordFile.isEmpty() ? "true" : "false") + "\n"
                          "persistence true\n"
                          "persistence_location " + QFile::encodeName(m_dir.path()) + "/\n"
                          "max_queued_messages 0\n"
                          "max_inflight_messages 0\n"
                          "log_dest file " + QFile::encodeName(m_dir.filePath(QStringLiteral("broker.log"))) + "\n";
        if (!m_passwordFile.isEmpty())
            text += "password_file " + QFile::encodeName(m_passwordFile) + "\n";
        if (!m_caFile.isEmpty())
            text += "cafile " + QFile::encodeName(m_caFile) + "\n"
                    "certfile " + QFile::encodeName(m_dir.filePath(QStringLiteral("server.pem"))) + "\n"
                    "keyfile " + QFile::encodeName(m_dir.filePath(QStringLiteral("server.key"))) + "\n";
        if (const passwd* user = getpwuid(getuid()))
            text += QByteArray("user ") + user->pw_name + "\n";
        conf.write(text);
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

    QString Log() const
    {
        QFile log(m_dir.filePath(QStringLiteral("broker.log")));
        return log.open(QIODevice::ReadOnly) ? QString::fromUtf8(log.readAll()) : QString();
    }

private:
    static int FreePort()
    {
        const int fd = socket(AF_INET, SOCK_STREAM, 0);
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t length = sizeof address;
        int port = 0;
        if (bind(fd, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0
            && getsockname(fd, reinterpret_cast<sockaddr*>(&address), &length) == 0)
            port = ntohs(address.sin_port);
        close(fd);
        return port;
    }

    bool Accepts() const
    {
        const int fd = socket(AF_INET, SOCK_STREAM, 0);
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        address.sin_port = htons(m_port);
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
