#pragma once

#include <QByteArray>
#include <QString>

// The simulator's end of a pseudo-terminal pair. The slave is set to raw
// mode and closed again: it belongs to whichever program opens its path.
// While no program holds the slave open the master reports a hangup and
// nothing is written, as on a serial cable that nobody listens to.
class CPtyPort
{
public:
    CPtyPort() = default;
    ~CPtyPort();
    CPtyPort(const CPtyPort&) = delete;
    CPtyPort& operator=(const CPtyPort&) = delete;

    // Opens the pair. On failure returns false and sets error.
    bool Open(QString& error);
    // Creates a symbolic link to the slave; an old symbolic link at linkPath
    // (left by a simulator that was killed) is replaced, anything else is not.
    bool CreateLink(const QString& linkPath, QString& error);

    QString SlavePath() const { return m_strSlavePath; }
    int MasterFd() const { return m_nMaster; }

    // Bytes that arrived from the slave side; empty when none or hung up.
    QByteArray Read();
    // Writes all of data unless the slave side is closed; false then.
    bool Write(const QByteArray& data);
    // Waits up to timeoutMs until the listener has read everything sent:
    // closing the master throws away what the slave has not read yet.
    void Drain(int timeoutMs);

private:
    void RemoveLink();

    int m_nMaster = -1;
    QString m_strSlavePath;
    QString m_strLinkPath;
};
