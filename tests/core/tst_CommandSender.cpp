// What the command sender puts on the line: macros with their serial-number
// records and playback files (their lines are tst_ReceivePipeline's), file
// transfers on a pty, the queue, progress; the channel's close that leaves
// the last bytes to the line.

#include "CByteOutput.h"
#include "CComm.h"
#include "CCommParameter.h"
#include "CCommandSender.h"
#include "CPlaybackFile.h"
#include "CSerialNumberPrompt.h"
#include "CSerialNumberRecord.h"
#include "CTransferProgress.h"
#include "PtyPair.h"
#include "TestIncludes.h"

#include <QMutex>
#include <QSemaphore>

namespace {

// Records what the sender puts on the line; given the slave end of a pty it
// also writes there, as the channel does on a line.
class CLineOutput : public CByteOutput
{
public:
    explicit CLineOutput(int fd = -1) : m_nFd(fd) {}
    void SetOutput(const QByteArray& bytes) override
    {
        if (m_hook)
            m_hook(bytes);
        qsizetype done = 0;
        while (m_nFd >= 0 && done < bytes.size()) {
            const ssize_t n = ::write(m_nFd, bytes.constData() + done, size_t(bytes.size() - done));
            if (n <= 0)
                break;
            done += n;
        }
        QMutexLocker lock(&m_mutex);
        m_writes.append(bytes);
    }
    QByteArrayList Writes()
    {
        QMutexLocker lock(&m_mutex);
        return m_writes;
    }

    // Runs on the writing thread before the bytes are recorded.
    std::function<void(const QByteArray&)> m_hook;

private:
    int m_nFd;
    QMutex m_mutex;
    QByteArrayList m_writes;
};

class CScriptedPrompt : public CSerialNumberPrompt
{
public:
    std::optional<int> AskSerialNumber() override
    {
        ++m_nAsked;
        if (m_answers.isEmpty())
            return std::nullopt;
        const int answer = m_answers.takeFirst();
        return answer < 0 ? std::nullopt : std::optional<int>(answer);
    }

    QList<int> m_answers; // -1 cancels
    int m_nAsked = 0;
};

using Progress = QList<QPair<qint64, qint64>>;

// A sender on a recorded line with the two transfer notifications as the
// owner window would see them.
struct Sender
{
    explicit Sender(int fd = -1) : output(fd)
    {
        sender.SetTransferNotifications(
            [this](qint64 sent, qint64 total) {
                QMutexLocker lock(&mutex);
                progress.append({sent, total});
            },
            [this] { ended.release(); });
    }
    Progress Sent()
    {
        QMutexLocker lock(&mutex);
        return progress;
    }
    // Handles end notifications until no transfer is left.
    bool Finish()
    {
        while (sender.IsSending()) {
            if (!ended.tryAcquire(1, 5000))
                return false;
            sender.OnEndOfTransmission();
        }
        return true;
    }

    CLineOutput output;
    CCommandSender sender{output};
    QMutex mutex;
    Progress progress;
    QSemaphore ended;
};

QByteArray Pattern(int size)
{
    QByteArray bytes(size, '\0');
    for (int i = 0; i < size; ++i)
        bytes[i] = char(i * 7 + i / 256);
    return bytes;
}

CCommParameter Line(const QString& path)
{
    CCommParameter line;
    line.m_strConnector = path.toLocal8Bit();
    line.m_nConnector = -1;
    line.m_nFlowControl = 0;
    return line;
}

// A channel open on a pty; nothing arrives, so its owner has nothing to do.
struct SendingLine
{
    SendingLine() { comm.Create(&owner); }
    bool Open() { return pty.IsOpen() && comm.OpenPort(Line(pty.SlaveName())); }

    CPtyPair pty;
    CComm comm;
    QObject owner;
};

} // namespace

class tst_CommandSender : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    // The serial number as typed, then its record: the one table of the
    // number's bounds and the record's bytes.
    void serialNumberRecord()
    {
        const QByteArray outOfRange("Please enter an integer between 0 and 9999.");
        const QByteArray notInteger("Please enter an integer.");
        const struct
        {
            QByteArray address;
            QString text;
            QByteArray record; // or the message
        } rows[] = {
            {"0x100", "42", "S309000001000000002ACB"},
            {"0", "0", "S3090000000000000000F6"},
            {"305419896", "9999", "S309123456780000270FAC"},
            {"0", " 42\t", "S309000000000000002ACC"},
            {"0", "10000", outOfRange},
            {"0", "-1", outOfRange},
            {"0", "12x", notInteger},
        };
        for (const auto& row : rows) {
            int number = -7;
            QString message;
            const bool accepted = CSerialNumberRecord::ParseSerialNumber(row.text, number, &message);
            const QByteArray got = accepted ? CSerialNumberRecord::BuildRecord(row.address, number)
                                            : message.toLatin1() + " " + QByteArray::number(number);
            const QByteArray expected = row.record.startsWith("S3") ? row.record : row.record + " -7";
            QVERIFY2(got == expected, qPrintable(row.text + ": " + got));
        }
        // A negative number goes out as its two's complement.
        QCOMPARE(CSerialNumberRecord::BuildRecord("0", -1), QByteArray("S30900000000FFFFFFFFFA"));
    }

    void initTestCase()
    {
        QVERIFY(m_home.isValid());
        qputenv("ORVALIS_HOME", m_home.path().toLocal8Bit());
        WriteFile(QStringLiteral("file.txt"), "FILE");
        WriteFile(QStringLiteral("cmd.txt"), "line\n");
    }

    void macros()
    {
        const struct
        {
            QByteArray text;
            QList<int> answers; // -1 cancels
            QByteArrayList writes;
            int asked;
            QString playback;
        } rows[] = {
            // A file macro: the text before, the file, then the text after.
            {"AB^$Ffile.txt^$FCD", {}, {"AB", "FILE", "CD"}, 0, {}},
            // A cancelled serial number drops the rest; 10000 counts as cancelled.
            {"^$S0^$S-^$S0^$S+", {9999, 10000}, {"S309000000000000270FC0", "-"}, 2, {}},
            // A playback macro drops the text before it, also file and serial-number macros.
            {"P^$Ecmd.txt^$EQ", {}, {"Q"}, 0, "cmd.txt"},
            {"X^$S1^$SY^$Fa^$F^$Ecmd.txt^$EZ", {5}, {"Z"}, 0, "cmd.txt"},
            // Macros are handled in the order they stand.
            {"^$S1^$S-^$Ffile.txt^$F+", {1}, {"S3090000000100000001F4", "-", "FILE", "+"}, 1, {}},
            // Without a closing delimiter the rest goes out literally, an
            // unclosed playback macro even the whole text.
            {"A^$Ffile.txt^$FB^$Ex", {}, {"A^$Ffile.txt^$FB^$Ex"}, 0, {}},
            {"^$S1^$SB^$Sx", {1}, {"S3090000000100000001F4", "B^$Sx"}, 1, {}},
            // A file that cannot be read sends no file.
            {"A^$Fno-such-file^$FB", {}, {"A", "B"}, 0, {}},
        };
        for (const auto& row : rows) {
            Sender s;
            CScriptedPrompt prompt;
            prompt.m_answers = row.answers;
            CPlaybackFile playback;
            s.sender.SetSerialNumberPrompt(&prompt);
            s.sender.SetPlaybackFile(&playback);
            QCOMPARE(s.sender.SendCommand(row.text), 1);
            QVERIFY2(s.Finish(), row.text);
            QVERIFY2(s.output.Writes() == row.writes, row.text);
            QVERIFY2(prompt.m_nAsked == row.asked, row.text);
            const QString expected = row.playback.isEmpty() ? QString() : m_home.filePath(row.playback);
            QVERIFY2(playback.FileName() == expected, row.text);
            QVERIFY2(playback.IsOpen() == (!expected.isEmpty() && QFile::exists(expected)), row.text);
        }
    }

    void transferOnPty()
    {
        const struct
        {
            int size;
            Progress progress;
        } rows[] = {
            {5000, {{2048, 5000}, {4096, 5000}, {6144, 5000}}}, // the last block short
            {4096, {{2048, 4096}, {4096, 4096}, {6144, 4096}}}, // the third follows an empty read
            {0, {{2048, 0}}},
        };
        for (const auto& row : rows) {
            CPtyPair pty;
            QVERIFY(pty.IsOpen());
            Sender s(pty.Slave());
            const QByteArray content = Pattern(row.size);
            QCOMPARE(s.sender.SendFile(WriteFile(QStringLiteral("pattern.bin"), content)), 1);
            QVERIFY(s.sender.IsSending());
            const QByteArray received = pty.ReadMaster(row.size);
            QVERIFY(s.Finish());
            QCOMPARE(received, content);
            QCOMPARE(s.Sent(), row.progress);
            QCOMPARE(pty.ReadMaster(1, 50), QByteArray());
        }
    }

    void stopEndsAfterTheCurrentBlock()
    {
        CPtyPair pty;
        QVERIFY(pty.IsOpen());
        Sender s(pty.Slave());
        // The user presses Stop Transmission while the second block goes out.
        int blocks = 0;
        s.output.m_hook = [&](const QByteArray&) {
            if (++blocks == 2)
                s.sender.StopTransmission();
        };
        const QByteArray content = Pattern(10 * 2048);
        s.sender.SendFile(WriteFile(QStringLiteral("ten.bin"), content));

        const QByteArray received = pty.ReadMaster(2 * 2048);
        QVERIFY(s.Finish());
        QCOMPARE(received, content.left(2 * 2048));
        QCOMPARE(s.Sent(), (Progress{{2048, 20480}, {4096, 20480}}));
        QCOMPARE(pty.ReadMaster(1, 50), QByteArray());
    }

    void sendsQueuedTextInOrderAfterTheTransfer()
    {
        Sender s;
        QSemaphore firstBlock;
        QSemaphore release;
        bool typedWhileSending = false;
        s.output.m_hook = [&](const QByteArray& bytes) {
            if (bytes == "FILE") {
                firstBlock.release();
                release.acquire();
            }
            if (bytes == "x")
                typedWhileSending = s.sender.IsSending();
        };
        CScriptedPrompt prompt;
        prompt.m_answers = {7};
        s.sender.SetSerialNumberPrompt(&prompt);

        s.sender.SendCommand("A^$Ffile.txt^$FB");
        QVERIFY(firstBlock.tryAcquire(1, 5000));
        // A queued file macro starts the next transfer; what follows waits for it.
        s.sender.SendCommand("C1^$Ffile.txt^$F");
        s.sender.SendTyped("x");
        s.sender.SendCommand("C2^$S0^$SD");
        s.sender.SendTyped("\r\n");
        QCOMPARE(prompt.m_nAsked, 0);
        release.release(2);
        QVERIFY(s.Finish());
        QVERIFY(!typedWhileSending);
        QCOMPARE(s.output.Writes(), (QByteArrayList{"A", "FILE", "B", "C1", "FILE", "x", "C2",
                                                    "S3090000000000000007EF", "D", "\r\n"}));
    }

    void progressDisplay()
    {
        const struct
        {
            qint64 sent, total;
            int position;
        } rows[] = {
            {2048, 5000, 40},
            {6144, 5000, 100}, // beyond the total: a full bar
            {2048, 0, 100},    // empty file
            {3000000000, 4000000000, 75},
        };
        for (const auto& row : rows) {
            CTransferProgress progress;
            progress.Start(QStringLiteral("/data/run.hex"), 0);
            progress.Update(row.sent, row.total);
            QVERIFY2(progress.Position() == row.position, qPrintable(QString::number(row.sent)));
        }
        // Hours within the day.
        CTransferProgress progress;
        progress.Start(QStringLiteral("f"), 1000);
        QCOMPARE(progress.ElapsedText(1000 + 25 * 3600 + 3725), QStringLiteral("02:02:05"));
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

    QTemporaryDir m_home;
};

QString tst_CommandSender::WriteFile(const QString& name, const QByteArray& bytes)
{
    QFile file(m_home.filePath(name));
    if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size())
        qFatal("cannot write test file");
    return file.fileName();
}

QTEST_GUILESS_MAIN(tst_CommandSender)
#include "tst_CommandSender.moc"
