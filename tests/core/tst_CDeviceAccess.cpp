#include "CDeviceAccess.h"
#include "TestIncludes.h"

#include <cerrno>

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
    void text()
    {
        const QString denied = QStringLiteral("Permission denied on /dev/ttyUSB0");
        const QString busy = QStringLiteral("Cannot open /dev/ttyUSB0: Device or resource busy");
        CDeviceAccess::Facts unknown = DeniedNode("dialout", false, false);
        unknown.bNodeKnown = false;
        const struct
        {
            CDeviceAccess::Facts facts;
            QString text;
        } rows[] = {
            // Not in the group that owns the node: its own group, not always dialout.
            {DeniedNode("dialout", false, false), denied + ": your user is not in the group dialout (run: "
                                                           "sudo adduser $USER dialout, then log in again)"},
            {DeniedNode("uucp", false, false),
             denied +
                 ": your user is not in the group uucp (run: sudo adduser $USER uucp, then log in again)"},
            // Added to the group, the session older than that.
            {DeniedNode("dialout", true, false), denied +
                                                     ": your user was added to the group dialout after this "
                                                     "session started (log out and log in again)"},
            // No group advice: the group may not write, root's group, in the group all the same.
            {DeniedNode("dialout", false, false, S_IFCHR | 0640),
             denied + " (crw-r-----, owner root, group dialout)"},
            {DeniedNode("root", false, false), denied + " (crw-rw----, owner root, group root)"},
            {unknown, "Cannot open /dev/ttyUSB0: Permission denied"}, // a node that cannot be looked at
            // Busy: held by another program, one without a name, this program, no one known.
            {BusyNode("minicom", 4711, false), busy + " (in use by minicom, process 4711)"},
            {BusyNode("orvalis", 1, true), busy + " (already open in this program)"},
            {BusyNode(QString(), 0, false), busy},
        };
        for (const auto& row : rows)
            QCOMPARE(CDeviceAccess::Text(row.facts), row.text);
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
