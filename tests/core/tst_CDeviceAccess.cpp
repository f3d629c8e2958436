#include "CDeviceAccess.h"

#include <QFile>
#include <QTemporaryDir>
#include <QTest>

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>

Q_DECLARE_METATYPE(CDeviceAccess::Facts)

namespace {

CDeviceAccess::Facts DeniedNode(const QString& group, bool bListed, bool bNow, unsigned mode = S_IFCHR | 0660)
{
    CDeviceAccess::Facts facts;
    facts.path = "/dev/ttyUSB0";
    facts.error = EACCES;
    facts.bNodeKnown = true;
    facts.mode = mode;
    facts.owner = QStringLiteral("root");
    facts.group = group;
    facts.bGroupIsRoot = group == QLatin1String("root");
    facts.bInGroupListed = bListed;
    facts.bInGroupNow = bNow;
    return facts;
}

CDeviceAccess::Facts BusyNode(const QString& holder, long long pid, bool bSelf)
{
    CDeviceAccess::Facts facts;
    facts.path = "/dev/ttyUSB0";
    facts.error = EBUSY;
    facts.bNodeKnown = true;
    facts.holder = holder;
    facts.holderPid = pid;
    facts.bHolderIsSelf = bSelf;
    return facts;
}

} // namespace

class tst_CDeviceAccess : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void text_data()
    {
        QTest::addColumn<CDeviceAccess::Facts>("facts");
        QTest::addColumn<QString>("text");
        QTest::newRow("not in the group that owns the node")
            << DeniedNode("dialout", false, false)
            << "Permission denied on /dev/ttyUSB0: your user is not in the group dialout "
               "(run: sudo adduser $USER dialout, then log in again)";
        QTest::newRow("names the node's own group, not dialout")
            << DeniedNode("uucp", false, false)
            << "Permission denied on /dev/ttyUSB0: your user is not in the group uucp "
               "(run: sudo adduser $USER uucp, then log in again)";
        QTest::newRow("added to the group, session older than that")
            << DeniedNode("dialout", true, false)
            << "Permission denied on /dev/ttyUSB0: your user was added to the group dialout after this session "
               "started (log out and log in again)";
        QTest::newRow("group may not write: no group advice")
            << DeniedNode("dialout", false, false, S_IFCHR | 0640)
            << "Permission denied on /dev/ttyUSB0 (crw-r-----, owner root, group dialout)";
        QTest::newRow("root's group is no advice")
            << DeniedNode("root", false, false)
            << "Permission denied on /dev/ttyUSB0 (crw-rw----, owner root, group root)";
        QTest::newRow("in the group and refused all the same")
            << DeniedNode("dialout", true, true)
            << "Permission denied on /dev/ttyUSB0 (crw-rw----, owner root, group dialout)";
        CDeviceAccess::Facts unknown = DeniedNode("dialout", false, false);
        unknown.bNodeKnown = false;
        QTest::newRow("node that cannot be looked at") << unknown << "Cannot open /dev/ttyUSB0: Permission denied";
        QTest::newRow("busy, held by another program")
            << BusyNode("minicom", 4711, false)
            << "Cannot open /dev/ttyUSB0: Device or resource busy (in use by minicom, process 4711)";
        QTest::newRow("busy, held by a process without a name")
            << BusyNode(QString(), 4711, false)
            << "Cannot open /dev/ttyUSB0: Device or resource busy (in use by another program, process 4711)";
        QTest::newRow("busy, held by this program")
            << BusyNode("orvalis", 1, true)
            << "Cannot open /dev/ttyUSB0: Device or resource busy (already open in this program)";
        QTest::newRow("busy, holder unknown")
            << BusyNode(QString(), 0, false) << "Cannot open /dev/ttyUSB0: Device or resource busy";
    }

    void text()
    {
        QFETCH(CDeviceAccess::Facts, facts);
        QTEST(CDeviceAccess::Text(facts), "text");
    }

    void modeText()
    {
        QCOMPARE(CDeviceAccess::ModeText(S_IFCHR | 0660), QStringLiteral("crw-rw----"));
        QCOMPARE(CDeviceAccess::ModeText(S_IFREG | 0755), QStringLiteral("-rwxr-xr-x"));
    }

    void lockFileNamesItsLivingProcess()
    {
        QTemporaryDir folder;
        QVERIFY(folder.isValid());
        auto write = [&](const char* name, const QByteArray& content) {
            QFile file(folder.filePath(QString::fromLatin1(name)));
            QVERIFY(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
            file.write(content);
        };
        const long long self = getpid();
        QCOMPARE(CDeviceAccess::LockFilePid(folder.path(), "/dev/ttyUSB0"), 0LL);

        write("LCK..ttyUSB0", QByteArray::number(self).rightJustified(10, ' ') + '\n');
        QCOMPARE(CDeviceAccess::LockFilePid(folder.path(), "/dev/ttyUSB0"), self);

        // Old binary lock files, and devices below /dev/pts.
        const std::int32_t binary = std::int32_t(self);
        write("LCK..pts_7", QByteArray(reinterpret_cast<const char*>(&binary), sizeof binary));
        QCOMPARE(CDeviceAccess::LockFilePid(folder.path(), "/dev/pts/7"), self);

        // A lock left behind by a program that has ended holds nothing. The
        // number is above the largest process number Linux can give, so no
        // other process can have taken it over meanwhile.
        write("LCK..ttyUSB0", QByteArray::number((1 << 22) + 1) + '\n');
        QCOMPARE(CDeviceAccess::LockFilePid(folder.path(), "/dev/ttyUSB0"), 0LL);
    }
};

QTEST_GUILESS_MAIN(tst_CDeviceAccess)
#include "tst_CDeviceAccess.moc"
