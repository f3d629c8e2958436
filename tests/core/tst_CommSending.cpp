// The channel's sending side on a pseudo-terminal: file transfers reported to
// the owner as "de.Veldrane.SendProgress" and "de.Veldrane.EndOfTransmission"
// events, typed characters and commands held back while a file goes out, and
// a close that leaves the last bytes to the line.
#include "CComm.h"
#include "CCommEvent.h"
#include "CCommParameter.h"
#include "PtyPair.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QTemporaryDir>
#include <QTest>

namespace {

struct CPosted
{
    QByteArray name;
    qint64 wParam;
    qint64 lParam;
    const CComm* channel;
};

// The owner window: records the transfer events and hands them to the
// channel as the views do.
class COwner : public QObject
{
public:
    explicit COwner(CComm& comm) : m_comm(comm) {}

    bool event(QEvent* e) override
    {
        const char* name = CCommEvent::NameOf(e->type());
        if (!name)
            return QObject::event(e);
        const auto* posted = static_cast<CCommEvent*>(e);
        if (e->type() == CCommEvent::ComMessage()) {
            m_comm.Acknowledge();
            return true;
        }
        m_posted.append({name, posted->wParam(), posted->lParam(), posted->Channel()});
        if (e->type() == CCommEvent::SendProgress())
            m_comm.OnSendProgress(posted->wParam(), posted->lParam());
        else
            m_comm.OnEndOfTransmission();
        return true;
    }

    // Lets the events come until the transfer has ended.
    bool WaitForEnd()
    {
        QElapsedTimer timer;
        timer.start();
        while (m_comm.Sender().IsSending() && timer.elapsed() < 5000)
            QCoreApplication::processEvents(QEventLoop::AllEvents, 20);
        return !m_comm.Sender().IsSending();
    }

    QList<CPosted> m_posted;

private:
    CComm& m_comm;
};

CCommParameter Line(const QString& path)
{
    CCommParameter line;
    line.m_strConnector = path.toLocal8Bit();
    line.m_nConnector = -1;
    line.m_nFlowControl = 0;
    return line;
}

// A channel with an owner that records its events, open on a pty.
struct SendingLine
{
    SendingLine() { comm.Create(&owner); }
    bool Open() { return pty.IsOpen() && comm.OpenPort(Line(pty.SlaveName())); }

    CPtyPair pty;
    CComm comm;
    COwner owner{comm};
};

} // namespace

class tst_CommSending : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        QVERIFY(m_dir.isValid());
        qputenv("ORVALIS_HOME", m_dir.path().toLocal8Bit());
    }

    void fileTransferPostsItsEventsToTheOwner()
    {
        SendingLine line;
        QVERIFY(line.Open());
        auto& [pty, comm, owner] = line;
        const QByteArray content(5000, 'x');

        QCOMPARE(comm.SendFile(WriteFile(QStringLiteral("five.bin"), content)), 1);
        QCOMPARE(pty.ReadMaster(content.size()), content);
        QVERIFY(owner.WaitForEnd());

        QStringList posted;
        for (const CPosted& event : owner.m_posted) {
            posted.append(QStringLiteral("%1 %2 %3").arg(event.name).arg(event.wParam).arg(event.lParam));
            QCOMPARE(event.channel, &comm);
        }
        QCOMPARE(posted,
                 (QStringList{"de.Veldrane.SendProgress 2048 5000", "de.Veldrane.SendProgress 4096 5000",
                              "de.Veldrane.SendProgress 6144 5000", "de.Veldrane.EndOfTransmission 0 0"}));
        QCOMPARE(comm.Sender().Progress().Position(), 100);
    }

    void typedTextAndCommandsWaitForTheEndOfTheFile()
    {
        SendingLine line;
        auto& [pty, comm, owner] = line;
        CTerminalParameter terminal;
        terminal.m_bSendCRLF = 1;
        comm.SetTerminalParameter(terminal);
        QVERIFY(line.Open());

        // Until the owner has handled the end event the channel counts as sending.
        comm.SendFile(WriteFile(QStringLiteral("file.txt"), "FILE"));
        comm.OnChar('\r');
        comm.SendCommand("CMD");
        comm.OnChar('x');
        QVERIFY(owner.WaitForEnd());
        QCOMPARE(pty.ReadMaster(10), QByteArray("FILE\r\nCMDx"));
    }

    void closeKeepingOutputLeavesTheBytesToTheLine()
    {
        SendingLine line;
        QVERIFY(line.Open());
        auto& [pty, comm, owner] = line;
        // More than the instrument's end holds before it reads: the rest waits
        // in the line, where a purging close would throw it away.
        const QByteArray bytes(12000, 'b');
        comm.SetOutput(bytes);
        QVERIFY(comm.WaitUntilSent(1000));
        comm.CloseKeepingOutput();
        QVERIFY(!comm.IsPortOpen());
        QCOMPARE(pty.ReadMaster(bytes.size()).size(), bytes.size());
    }

private:
    QString WriteFile(const QString& name, const QByteArray& bytes);

    QTemporaryDir m_dir;
};

QString tst_CommSending::WriteFile(const QString& name, const QByteArray& bytes)
{
    QFile file(m_dir.filePath(name));
    if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size())
        qFatal("cannot write the test file");
    return file.fileName();
}

QTEST_GUILESS_MAIN(tst_CommSending)
#include "tst_CommSending.moc"
