// orvalis-cli run as an ordinary user on a line it may not use. The test
// creates a user and a group, gives a pseudo-terminal to that group with
// mode 0660 and starts orvalis-cli as the user through setpriv: without the
// group, with the group in the user database but not in the session, and
// after a fresh login.

#include "CliRun.h"
#include "PtyPair.h"

#include <grp.h>
#include <pwd.h>

namespace {

// useradd and friends refuse while another program holds the user database.
bool RunAdmin(const QString& program, const QStringList& arguments)
{
    for (int attempt = 0; attempt < 10; ++attempt) {
        const CliRun result = RunProgram(program, arguments);
        if (result.exitCode == 0)
            return true;
        qWarning("%s %s: %s", qPrintable(program), qPrintable(arguments.join(' ')), qPrintable(result.err));
        QThread::msleep(500);
    }
    return false;
}

} // namespace

class tst_PortPermission : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        if (geteuid() != 0)
            QSKIP(qPrintable(QStringLiteral("creating a test user and group needs root (running as uid %1)").arg(geteuid())));
        for (const char* tool : {"useradd", "userdel", "groupadd", "groupdel", "gpasswd", "setpriv"}) {
            if (QStandardPaths::findExecutable(QString::fromLatin1(tool), {"/usr/sbin", "/usr/bin", "/sbin", "/bin"}).isEmpty())
                QSKIP(qPrintable(QStringLiteral("%1 is not installed").arg(QString::fromLatin1(tool))));
        }
        QVERIFY(m_folder.isValid());
        QVERIFY(m_pty.IsOpen());
        // Unique per run: several checkouts may run this test at once.
        m_strUser = QStringLiteral("orvt%1").arg(getpid());
        m_strGroup = QStringLiteral("orvg%1").arg(getpid());
        m_bGroupMade = RunAdmin(QStringLiteral("groupadd"), {m_strGroup});
        QVERIFY(m_bGroupMade);
        m_bUserMade = RunAdmin(QStringLiteral("useradd"), {"-M", "-N", "-d", "/nonexistent", "-s", "/usr/sbin/nologin", m_strUser});
        QVERIFY(m_bUserMade);

        // The user reaches the program and the driver in a folder of its own.
        QVERIFY(QFile::copy(QStringLiteral(ORVALIS_CLI), m_folder.filePath("orvalis-cli")));
        QVERIFY(QFile::copy(QStringLiteral(ORVALIS_SOURCE_DIR "/res/examples/Balance.tbb"), m_folder.filePath("Balance.tbb")));
        QVERIFY(chmod(QFile::encodeName(m_folder.path()).constData(), 0755) == 0);
        QVERIFY(chmod(QFile::encodeName(m_folder.filePath("orvalis-cli")).constData(), 0755) == 0);
        QVERIFY(chmod(QFile::encodeName(m_folder.filePath("Balance.tbb")).constData(), 0644) == 0);

        const group* entry = getgrnam(m_strGroup.toLocal8Bit().constData());
        QVERIFY(entry);
        const QByteArray node = QFile::encodeName(m_pty.SlaveName());
        QVERIFY(chown(node.constData(), 0, entry->gr_gid) == 0);
        QVERIFY(chmod(node.constData(), 0660) == 0);
    }

    void cleanupTestCase()
    {
        if (m_bUserMade)
            RunAdmin(QStringLiteral("userdel"), {m_strUser});
        if (m_bGroupMade)
            RunAdmin(QStringLiteral("groupdel"), {m_strGroup});
    }

    void userOutsideTheGroupIsToldToJoinIt()
    {
        // A fresh login: the groups the user database gives the user.
        const CliRun result = RunCliAs({QStringLiteral("--init-groups")});
        QCOMPARE(result.exitCode, 1);
        QCOMPARE(result.err, QStringLiteral("Permission denied on %1: your user is not in the group %2 "
                                            "(run: sudo adduser $USER %2, then log in again)\n")
                                 .arg(m_pty.SlaveName(), m_strGroup));
    }

    void userAddedSinceLoginIsToldToLogInAgain()
    {
        QVERIFY(RunAdmin(QStringLiteral("gpasswd"), {"-a", m_strUser, m_strGroup}));
        // A session that started before: no supplementary groups.
        const CliRun result = RunCliAs({QStringLiteral("--clear-groups")});
        QCOMPARE(result.exitCode, 1);
        QCOMPARE(result.err, QStringLiteral("Permission denied on %1: your user was added to the group %2 after this "
                                            "session started (log out and log in again)\n")
                                 .arg(m_pty.SlaveName(), m_strGroup));
    }

    void userLoggedInAgainOpensTheLine()
    {
        const CliRun result = RunCliAs({QStringLiteral("--init-groups")});
        QVERIFY2(result.exitCode == 0, qPrintable(result.err));
        QCOMPARE(m_pty.ReadMaster(3), QByteArray("Z\r\n"));
    }

private:
    CliRun RunCliAs(const QStringList& setprivGroups);

    QString m_strUser;
    QString m_strGroup;
    bool m_bUserMade = false;
    bool m_bGroupMade = false;
    QTemporaryDir m_folder;
    CPtyPair m_pty;
};

CliRun tst_PortPermission::RunCliAs(const QStringList& setprivGroups)
{
    const passwd* user = getpwnam(m_strUser.toLocal8Bit().constData());
    if (!user)
        return CliRun{};
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("HOME"), m_folder.path());
    environment.insert(QStringLiteral("ORVALIS_HOME"), m_folder.path());
    environment.remove(QStringLiteral("XDG_RUNTIME_DIR"));
    const QStringList arguments = QStringList{QStringLiteral("--reuid=%1").arg(user->pw_uid),
                                              QStringLiteral("--regid=%1").arg(user->pw_gid)} +
                                  setprivGroups +
                                  QStringList{m_folder.filePath("orvalis-cli"), "send", m_folder.filePath("Balance.tbb"),
                                              "--port", m_pty.SlaveName(), "--text", "Z<CR><LF>"};
    return RunProgram(QStringLiteral("setpriv"), arguments, environment);
}

QTEST_GUILESS_MAIN(tst_PortPermission)
#include "tst_PortPermission.moc"
