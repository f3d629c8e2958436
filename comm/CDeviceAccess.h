#pragma once

#include <QByteArray>
#include <QString>

// Why a device node could not be opened, in words a user can act on: the
// group that may use the node and whether this user is in it (now, or only
// since the session started), or the program that holds the line.
class CDeviceAccess
{
public:
    // What the system says about the node, the user and the holder.
    struct Facts
    {
        QByteArray path;
        int error = 0;               // errno of the refused open (EBUSY for a held lock)
        bool bNodeKnown = false;     // the node could be looked at
        unsigned mode = 0;           // st_mode of the node
        QString owner;               // the user owning the node
        QString group;               // the group owning the node
        bool bGroupIsRoot = false;   // gid 0: joining that group is no advice
        bool bInGroupNow = false;    // this process has the group
        bool bInGroupListed = false; // the user database lists the user in the group
        QString holder;              // program holding the line, empty when unknown
        long long holderPid = 0;
        bool bHolderIsSelf = false;  // this very program holds it
    };

    // The text for a refused open of path with that errno.
    static QString Explain(const QByteArray& path, int error);

    static Facts Probe(const QByteArray& path, int error);
    static QString Text(const Facts& facts);
    // "crw-rw----" as ls shows it.
    static QString ModeText(unsigned mode);
    // The process named in the UUCP lock file "LCK..<name>" of the device in
    // lockFolder; 0 when there is none or it holds no living process.
    static long long LockFilePid(const QString& lockFolder, const QByteArray& devicePath);
};
