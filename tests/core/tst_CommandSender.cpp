// What the command sender puts on the line: macros with their serial-number
// records and playback files, file transfers on a pty, the queue, progress.

#include "CByteOutput.h"
#include "CCommandSender.h"
#include "CPlaybackFile.h"
#include "CSerialNumberPrompt.h"
#include "CSerialNumberRecord.h"
#include "CTransferProgress.h"
#include "PtyPair.h"

#include <QMutex>
#include <QSemaphore>
#include <QTemporaryDir>
#include <QTest>

namespace {

class CRecordingOutput : public CByteOutput
{
public:
    void SetOutput(const QByteArray& bytes) override
    {
        if (m_hook)
            m_hook(bytes);
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
    QMutex m_mutex;
    QByteArrayList m_writes;
};

// Writes to the slave end of a pty, as the channel does on a line.
class CPtyOutput : public CByteOutput
{
public:
    explicit CPtyOutput(int fd)
        : m_nFd(fd)
    {
    }
    void SetOutput(const QByteArray& bytes) override
    {
        if (m_hook)
            m_hook(bytes);
        qsizetype done = 0;
        while (done < bytes.size()) {
            const ssize_t n = ::write(m_nFd, bytes.constData() + done, size_t(bytes.size() - done));
            if (n <= 0)
                return;
            done += n;
        }
    }

    std::function<void(const QByteArray&)> m_hook;

private:
    int m_nFd;
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

// The two transfer notifications as the owner window would see them.
struct CTransferEvents
{
    void Attach(CCommandSender& sender)
    {
        sender.SetTransferNotifications(
            [this](qint64 sent, qint64 total) {
                QMutexLocker lock(&mutex);
                progress.append({sent, total});
            },
            [this] { ended.release(); });
    }
    QList<QPair<qint64, qint64>> Progress()
    {
        QMutexLocker lock(&mutex);
        return progress;
    }
    // Handles end notifications until no transfer is left.
    bool Finish(CCommandSender& sender)
    {
        while (sender.IsSending()) {
            if (!ended.tryAcquire(1, 5000))
                return false;
            sender.OnEndOfTransmission();
        }
        return true;
    }

    QMutex mutex;
    QList<QPair<qint64, qint64>> progress;
    QSemaphore ended;
};

QByteArray Pattern(int size)
{
    QByteArray bytes(size, '\0');
    for (int i = 0; i < size; ++i)
        bytes[i] = char(i * 7 + i / 256);
    return bytes;
}

using Progress = QList<QPair<qint64, qint64>>;

} // namespace

class tst_CommandSender : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void buildRecord_data()
    {
        QTest::addColumn<QByteArray>("address");
        QTest::addColumn<int>("number");
        QTest::addColumn<QByteArray>("record");
        QTest::newRow("hexadecimal address") << QByteArray("0x100") << 42
                                             << QByteArray("S309000001000000002ACB");
        QTest::newRow("all zero") << QByteArray("0") << 0 << QByteArray("S3090000000000000000F6");
        QTest::newRow("decimal address") << QByteArray("305419896") << 9999
                                         << QByteArray("S309123456780000270FAC");
        QTest::newRow("negative number is its two's complement")
            << QByteArray("0") << -1 << QByteArray("S30900000000FFFFFFFFFA");
    }

    void buildRecord()
    {
        QFETCH(QByteArray, address);
        QFETCH(int, number);
        const QByteArray built = CSerialNumberRecord::BuildRecord(address, number);
        QTEST(built, "record");
        QCOMPARE(built.size(), 22);
    }

    void readAddress_data()
    {
        QTest::addColumn<QByteArray>("text");
        QTest::addColumn<quint32>("address");
        QTest::newRow("decimal") << QByteArray("4096") << quint32(4096);
        QTest::newRow("lower-case hex prefix and digits") << QByteArray("0xff") << quint32(255);
        QTest::newRow("upper-case hex prefix") << QByteArray("0XAbC") << quint32(0xABC);
        QTest::newRow("octal") << QByteArray("0777") << quint32(511);
        QTest::newRow("octal stops at 8") << QByteArray("018") << quint32(1);
        QTest::newRow("hex prefix without digits is zero") << QByteArray("0xg") << quint32(0);
        QTest::newRow("leading blanks are skipped") << QByteArray(" \t42") << quint32(42);
        QTest::newRow("largest 32-bit value") << QByteArray("4294967295") << quint32(0xFFFFFFFF);
        QTest::newRow("one beyond 32 bits saturates") << QByteArray("4294967296")
                                                      << quint32(0xFFFFFFFF);
        QTest::newRow("very long number saturates")
            << QByteArray("123456789012345678901234567890") << quint32(0xFFFFFFFF);
        QTest::newRow("minus wraps around") << QByteArray("-1") << quint32(0xFFFFFFFF);
    }

    void readAddress()
    {
        QFETCH(QByteArray, text);
        QTEST(CSerialNumberRecord::ReadAddress(text), "address");
    }

    void parseSerialNumber_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<bool>("accepted");
        QTest::addColumn<int>("number");
        QTest::addColumn<QString>("error");
        const QString notInteger("Please enter an integer.");
        const QString outOfRange("Please enter an integer between 0 and 9999.");
        QTest::newRow("smallest") << "0" << true << 0 << QString();
        QTest::newRow("largest") << "9999" << true << 9999 << QString();
        QTest::newRow("blanks around the number") << " 42\t" << true << 42 << QString();
        QTest::newRow("one beyond the largest") << "10000" << false << -7 << outOfRange;
        QTest::newRow("negative") << "-1" << false << -7 << outOfRange;
        QTest::newRow("huge number") << "99999999999999999999999" << false << -7 << outOfRange;
        QTest::newRow("trailing letters") << "12x" << false << -7 << notInteger;
        QTest::newRow("empty") << "" << false << -7 << notInteger;
    }

    void parseSerialNumber()
    {
        QFETCH(QString, text);
        int result = -7;
        QString message;
        QTEST(CSerialNumberRecord::ParseSerialNumber(text, result, &message), "accepted");
        QTEST(result, "number");
        QTEST(message, "error");
    }

    void delay_data()
    {
        QTest::addColumn<QByteArray>("line");
        QTest::addColumn<quint32>("milliseconds");

        QTest::newRow("plain number") << QByteArray("D500") << quint32(500);
        QTest::newRow("leading blanks and a plus sign") << QByteArray("D \t+25") << quint32(25);
        QTest::newRow("reading stops at the first non-digit") << QByteArray("D12ms") << quint32(12);
        QTest::newRow("no digits count as no delay") << QByteArray("Dxyz") << quint32(0);
        QTest::newRow("bare D counts as no delay") << QByteArray("D") << quint32(0);
        QTest::newRow("a minus sign counts as no delay") << QByteArray("D-5") << quint32(0);
        QTest::newRow("values beyond 32 bits saturate")
            << QByteArray("D99999999999") << quint32(4294967295u);
    }

    void delay()
    {
        QFETCH(QByteArray, line);
        QTEST(CPlaybackFile::DelayOf(line), "milliseconds");
    }

    void consumesExactlyTheLinesItUsed()
    {
        QTemporaryDir dir;
        const QString path = dir.filePath(QStringLiteral("p.txt"));
        QFile file(path);
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write(QByteArray("A\r\nD7\nB\n\nC\rD\nlast"));
        file.close();

        CPlaybackFile playback;
        QVERIFY(playback.Open(path));
        QList<quint32> sleeps;
        const auto sleep = [&](quint32 ms) { sleeps.append(ms); };
        QCOMPARE(playback.NextLine(sleep), QByteArray("A"));
        QCOMPARE(playback.NextLine(sleep), QByteArray("B"));
        QCOMPARE(sleeps, QList<quint32>{7});
        QCOMPARE(playback.NextLine(sleep), QByteArray());
        // Only a CR right before the LF is dropped.
        QCOMPARE(playback.NextLine(sleep), QByteArray("C\rD"));
        QCOMPARE(playback.NextLine(sleep), QByteArray("last"));
        QCOMPARE(playback.NextLine(sleep), QByteArray());
        QVERIFY(playback.IsOpen());
    }

    void failedOpenSaysWhy()
    {
        CPlaybackFile playback;
        QVERIFY(!playback.Open(QStringLiteral("/nonexistent/cmd.txt")));
        QVERIFY(!playback.IsOpen());
        QCOMPARE(playback.ErrorString(),
                 QStringLiteral("Cannot open playback file /nonexistent/cmd.txt: No such file or directory"));
    }

    void initTestCase()
    {
        QVERIFY(m_home.isValid());
        qputenv("ORVALIS_HOME", m_home.path().toLocal8Bit());
        WriteFile(QStringLiteral("file.txt"), "FILE");
        WriteFile(QStringLiteral("cmd.txt"), "line\n");
    }

    void macros_data()
    {
        QTest::addColumn<QByteArray>("text");
        QTest::addColumn<QList<int>>("answers");
        QTest::addColumn<QByteArrayList>("writes");
        QTest::addColumn<int>("asked");
        QTest::addColumn<QString>("playback");

        const QList<int> noAnswers;
        QTest::newRow("text without macros goes out as it is")
            << QByteArray("hello\r") << noAnswers << QByteArrayList{"hello\r"} << 0 << QString();
        QTest::newRow("empty text sends nothing") << QByteArray() << noAnswers << QByteArrayList{} << 0
                                                  << QString();
        QTest::newRow("file macro: text before, the file, then the text after")
            << QByteArray("AB^$Ffile.txt^$FCD") << noAnswers << QByteArrayList{"AB", "FILE", "CD"} << 0
            << QString();
        QTest::newRow("serial-number macro sends the record between the texts")
            << QByteArray("X^$S0x100^$SY") << QList<int>{42}
            << QByteArrayList{"X", "S309000001000000002ACB", "Y"} << 1 << QString();
        QTest::newRow("cancelled serial number drops the rest")
            << QByteArray("X^$S0x100^$SY") << QList<int>{-1} << QByteArrayList{"X"} << 1 << QString();
        QTest::newRow("serial number outside 0..9999 counts as cancelled")
            << QByteArray("X^$S0^$SY") << QList<int>{10000} << QByteArrayList{"X"} << 1 << QString();
        QTest::newRow("two serial-number macros ask twice")
            << QByteArray("^$S0^$S^$S305419896^$S") << QList<int>{0, 9999}
            << QByteArrayList{"S3090000000000000000F6", "S309123456780000270FAC"} << 2 << QString();
        QTest::newRow("playback macro drops the text before it")
            << QByteArray("P^$Ecmd.txt^$EQ") << noAnswers << QByteArrayList{"Q"} << 0
            << QStringLiteral("cmd.txt");
        QTest::newRow("playback macro wins over a file macro before it")
            << QByteArray("^$Fa^$F ^$Eb^$E") << noAnswers << QByteArrayList{} << 0 << QStringLiteral("b");
        QTest::newRow("playback macro after a serial-number macro drops it too")
            << QByteArray("X^$S1^$SY^$Ecmd.txt^$EZ") << QList<int>{5} << QByteArrayList{"Z"} << 0
            << QStringLiteral("cmd.txt");
        QTest::newRow("macros are handled in the order they stand")
            << QByteArray("^$S1^$S-^$Ffile.txt^$F+") << QList<int>{1}
            << QByteArrayList{"S3090000000100000001F4", "-", "FILE", "+"} << 1 << QString();
        QTest::newRow("file macro without closing delimiter goes out literally")
            << QByteArray("A^$Ffile.txt") << noAnswers << QByteArrayList{"A^$Ffile.txt"} << 0 << QString();
        QTest::newRow("unclosed playback macro sends the whole text literally")
            << QByteArray("A^$Ffile.txt^$FB^$Ex") << noAnswers
            << QByteArrayList{"A^$Ffile.txt^$FB^$Ex"} << 0 << QString();
        QTest::newRow("unclosed macro after a complete one: the rest goes literally")
            << QByteArray("^$S1^$SB^$Sx") << QList<int>{1}
            << QByteArrayList{"S3090000000100000001F4", "B^$Sx"} << 1 << QString();
        QTest::newRow("empty file name sends no file")
            << QByteArray("A^$F^$FB") << noAnswers << QByteArrayList{"A", "B"} << 0 << QString();
    }

    void macros()
    {
        QFETCH(QByteArray, text);
        QFETCH(QList<int>, answers);
        QFETCH(QString, playback);

        CRecordingOutput output;
        CScriptedPrompt prompt;
        prompt.m_answers = answers;
        CPlaybackFile playbackFile;
        CCommandSender sender(output);
        sender.SetSerialNumberPrompt(&prompt);
        sender.SetPlaybackFile(&playbackFile);
        CTransferEvents events;
        events.Attach(sender);

        QCOMPARE(sender.SendCommand(text), 1);
        QVERIFY(events.Finish(sender));

        QTEST(output.Writes(), "writes");
        QTEST(prompt.m_nAsked, "asked");
        if (playback.isEmpty()) {
            QVERIFY(playbackFile.FileName().isEmpty());
        } else {
            QCOMPARE(playbackFile.FileName(), m_home.filePath(playback));
            QCOMPARE(playbackFile.IsOpen(), QFile::exists(m_home.filePath(playback)));
        }
    }

    void secondPlaybackMacroClosesTheFirst()
    {
        CRecordingOutput output;
        CPlaybackFile playback;
        CCommandSender sender(output);
        sender.SetPlaybackFile(&playback);
        sender.SendCommand("^$Ecmd.txt^$E");
        QVERIFY(playback.IsOpen());
        sender.SendCommand("^$Emissing.txt^$E");
        QVERIFY(!playback.IsOpen());
        QCOMPARE(playback.FileName(), m_home.filePath(QStringLiteral("missing.txt")));
        QCOMPARE(playback.NextLine([](quint32) {}), QByteArray());
    }

    void playbackMacroWithoutPlaybackFileIsHarmless()
    {
        CRecordingOutput output;
        CCommandSender sender(output);
        sender.SendCommand("A^$Ecmd.txt^$EB");
        QCOMPARE(output.Writes(), QByteArrayList{"B"});
    }

    void transferOnPty_data()
    {
        QTest::addColumn<int>("size");
        QTest::addColumn<Progress>("progress");

        QTest::newRow("5000 bytes: three blocks, the last one short")
            << 5000 << Progress{{2048, 5000}, {4096, 5000}, {6144, 5000}};
        QTest::newRow("4096 bytes: the third message follows an empty read")
            << 4096 << Progress{{2048, 4096}, {4096, 4096}, {6144, 4096}};
        QTest::newRow("empty file: one message with total 0") << 0 << Progress{{2048, 0}};
        QTest::newRow("less than a block") << 10 << Progress{{2048, 10}};
    }

    void transferOnPty()
    {
        QFETCH(int, size);
        QFETCH(Progress, progress);

        CPtyPair pty;
        QVERIFY(pty.IsOpen());
        CPtyOutput output(pty.Slave());
        QList<qsizetype> blocks;
        output.m_hook = [&](const QByteArray& bytes) { blocks.append(bytes.size()); };
        CCommandSender sender(output);
        CTransferEvents events;
        events.Attach(sender);
        const QByteArray content = Pattern(size);
        const QString path = WriteFile(QStringLiteral("pattern.bin"), content);

        QCOMPARE(sender.SendFile(path), 1);
        QVERIFY(sender.IsSending());
        const QByteArray received = pty.ReadMaster(size);
        QVERIFY(events.Finish(sender));

        QCOMPARE(received, content);
        QCOMPARE(events.Progress(), progress);
        QCOMPARE(blocks.size(), progress.size());
        QCOMPARE(pty.ReadMaster(1, 50), QByteArray());
    }

    void stopEndsAfterTheCurrentBlock()
    {
        CPtyPair pty;
        QVERIFY(pty.IsOpen());
        CPtyOutput output(pty.Slave());
        CCommandSender sender(output);
        // The user presses Stop Transmission while the second block goes out.
        int blocks = 0;
        output.m_hook = [&](const QByteArray&) {
            if (++blocks == 2)
                sender.StopTransmission();
        };
        CTransferEvents events;
        events.Attach(sender);
        const QByteArray content = Pattern(10 * 2048);
        sender.SendFile(WriteFile(QStringLiteral("ten.bin"), content));

        const QByteArray received = pty.ReadMaster(2 * 2048);
        QVERIFY(events.Finish(sender));
        QCOMPARE(received, content.left(2 * 2048));
        QCOMPARE(events.Progress(), (Progress{{2048, 20480}, {4096, 20480}}));
        QCOMPARE(pty.ReadMaster(1, 50), QByteArray());

        // The next transfer is not stopped by the old request.
        sender.SendFile(WriteFile(QStringLiteral("small.bin"), "abc"));
        QCOMPARE(pty.ReadMaster(3), QByteArray("abc"));
        QVERIFY(events.Finish(sender));
    }

    void sendsQueuedTextInOrderAfterTheTransfer()
    {
        CRecordingOutput output;
        QSemaphore firstBlock;
        QSemaphore release;
        output.m_hook = [&](const QByteArray& bytes) {
            if (bytes == "FILE") {
                firstBlock.release();
                release.acquire();
            }
        };
        CScriptedPrompt prompt;
        prompt.m_answers = {7};
        CCommandSender sender(output);
        sender.SetSerialNumberPrompt(&prompt);
        CTransferEvents events;
        events.Attach(sender);

        sender.SendCommand("A^$Ffile.txt^$FB");
        QVERIFY(firstBlock.tryAcquire(1, 5000));
        sender.SendCommand("C1");
        sender.SendTyped("x");
        sender.SendCommand("C2^$S0^$SD");
        sender.SendTyped("\r\n");
        QCOMPARE(prompt.m_nAsked, 0);
        release.release();
        QVERIFY(events.Finish(sender));

        QCOMPARE(output.Writes(), (QByteArrayList{"A", "FILE", "B", "C1", "x", "C2",
                                                  "S3090000000000000007EF", "D", "\r\n"}));
    }

    void queuedFileMacroStartsTheNextTransfer()
    {
        CRecordingOutput output;
        QSemaphore release;
        output.m_hook = [&](const QByteArray& bytes) {
            if (bytes == "FIRST")
                release.acquire();
        };
        WriteFile(QStringLiteral("first.txt"), "FIRST");
        CCommandSender sender(output);
        CTransferEvents events;
        events.Attach(sender);

        sender.SendFile(QStringLiteral("first.txt"));
        sender.SendCommand("^$Ffile.txt^$FZ");
        sender.SendTyped("y");
        release.release();
        QVERIFY(events.ended.tryAcquire(1, 5000));
        sender.OnEndOfTransmission();
        QVERIFY(sender.IsSending());
        QVERIFY(events.Finish(sender));

        QCOMPARE(output.Writes(), (QByteArrayList{"FIRST", "FILE", "Z", "y"}));
    }

    void refusesASecondTransfer()
    {
        CRecordingOutput output;
        QSemaphore release;
        output.m_hook = [&](const QByteArray&) { release.acquire(); };
        CCommandSender sender(output);
        CTransferEvents events;
        events.Attach(sender);

        QCOMPARE(sender.SendFile(QStringLiteral("file.txt")), 1);
        QCOMPARE(sender.SendFile(QStringLiteral("cmd.txt")), 0);
        QCOMPARE(sender.Progress().FileName(), m_home.filePath(QStringLiteral("file.txt")));
        release.release();
        QVERIFY(events.Finish(sender));
        QCOMPARE(output.Writes(), QByteArrayList{"FILE"});
    }

    void emptyPathStartsNothing()
    {
        CRecordingOutput output;
        CCommandSender sender(output);
        QCOMPARE(sender.SendFile(QString()), 0);
        QVERIFY(!sender.IsSending());
        QVERIFY(!sender.Progress().IsActive());
        sender.SendTyped("x");
        QCOMPARE(output.Writes(), QByteArrayList{"x"});
    }

    void unreadableFileEndsAtOnce()
    {
        CRecordingOutput output;
        CCommandSender sender(output);
        CTransferEvents events;
        events.Attach(sender);
        sender.SendCommand("A^$Fno-such-file^$FB");
        QVERIFY(events.Finish(sender));
        QVERIFY(events.Progress().isEmpty());
        QCOMPARE(output.Writes(), (QByteArrayList{"A", "B"}));
    }

    void progressDisplay_data()
    {
        QTest::addColumn<qint64>("sent");
        QTest::addColumn<qint64>("total");
        QTest::addColumn<int>("position");

        QTest::newRow("first block of 5000 bytes") << qint64(2048) << qint64(5000) << 40;
        QTest::newRow("second block of 5000 bytes") << qint64(4096) << qint64(5000) << 81;
        QTest::newRow("count beyond the total shows a full bar") << qint64(6144) << qint64(5000) << 100;
        QTest::newRow("empty file shows a full bar") << qint64(2048) << qint64(0) << 100;
        QTest::newRow("large file does not overflow")
            << qint64(3000000000) << qint64(4000000000) << 75;
        QTest::newRow("first block of a large file is an empty bar")
            << qint64(2048) << qint64(10000000) << 0;
    }

    void progressDisplay()
    {
        QFETCH(qint64, sent);
        QFETCH(qint64, total);

        CTransferProgress progress;
        progress.Start(QStringLiteral("/data/run.hex"), 0);
        progress.Update(sent, total);
        QTEST(progress.Position(), "position");
        QCOMPARE(progress.StatusText(), QStringLiteral("Sending file /data/run.hex"));
    }

    void elapsedTime_data()
    {
        QTest::addColumn<qint64>("seconds");
        QTest::addColumn<QString>("text");

        QTest::newRow("start") << qint64(0) << QStringLiteral("00:00:00");
        QTest::newRow("hours, minutes and seconds") << qint64(3725) << QStringLiteral("01:02:05");
        QTest::newRow("hours within the day") << qint64(25 * 3600 + 1) << QStringLiteral("01:00:01");
        QTest::newRow("clock set back shows zero") << qint64(-5) << QStringLiteral("00:00:00");
    }

    void elapsedTime()
    {
        QFETCH(qint64, seconds);
        CTransferProgress progress;
        progress.Start(QStringLiteral("f"), 1000);
        QTEST(progress.ElapsedText(1000 + seconds), "text");
    }

    void progressFollowsTheTransfer()
    {
        CRecordingOutput output;
        CCommandSender sender(output);
        sender.SetClock([] { return qint64(500); });
        CTransferEvents events;
        events.Attach(sender);
        sender.SendFile(QStringLiteral("file.txt"));
        QVERIFY(sender.Progress().IsActive());
        QCOMPARE(sender.Progress().StartTime(), qint64(500));
        QVERIFY(events.ended.tryAcquire(1, 5000));
        for (const auto& [sent, total] : events.Progress())
            sender.OnSendProgress(sent, total);
        QCOMPARE(sender.Progress().Position(), 100);
        sender.OnEndOfTransmission();
        QVERIFY(!sender.Progress().IsActive());
        QCOMPARE(sender.Progress().ElapsedText(503), QStringLiteral("00:00:03"));
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
