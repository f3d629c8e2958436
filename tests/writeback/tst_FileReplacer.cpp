#include "CDriverFile.h"
#include "CFileReplacer.h"

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

#include <cerrno>
#include <csignal>
#include <sys/stat.h>
#include <unistd.h>

namespace {

QByteArray Bytes(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("<missing>");
}

void Put(const QString& path, const QByteArray& bytes)
{
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate) || file.write(bytes) != bytes.size())
        qFatal("cannot write %s", qPrintable(path));
}

} // namespace

class tst_FileReplacer : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void cleanup() { CFileReplacer::SetWriteHook({}); }
    void replacesLikeWritingInPlace_data()
    {
        QTest::addColumn<QByteArray>("old");
        QTest::addColumn<int>("tail");
        QTest::addColumn<QByteArray>("result");

        const int keep = int(CFileReplacer::Tail::Keep);
        const int drop = int(CFileReplacer::Tail::Drop);
        QTest::newRow("a longer old file keeps its tail") << QByteArray("0123456789") << keep << QByteArray("new3456789");
        QTest::newRow("a longer old file is cut when asked") << QByteArray("0123456789") << drop << QByteArray("new");
        QTest::newRow("a shorter old file is replaced") << QByteArray("01") << keep << QByteArray("new");
        QTest::newRow("a missing file is created") << QByteArray() << keep << QByteArray("new");
    }

    void replacesLikeWritingInPlace()
    {
        QFETCH(QByteArray, old);
        QFETCH(int, tail);
        const QString path = m_dir.filePath(QStringLiteral("in place %1").arg(QTest::currentDataTag()));
        if (!old.isEmpty())
            Put(path, old);
        const CFileResult result = CFileReplacer::Replace(path, "new", CFileReplacer::Tail(tail));
        QVERIFY2(result.IsOk(), qPrintable(result.Message()));
        QTEST(Bytes(path), "result");
        QCOMPARE(Leftovers(), QStringList());
    }

    void failedWriteLeavesTheOldFile_data()
    {
        QTest::addColumn<int>("error");
        QTest::addColumn<QString>("message");

        QTest::newRow("disk full") << ENOSPC << QStringLiteral("cannot write at byte 16384 (the disk is full)");
        QTest::newRow("other errors in the system's words") << EIO << QStringLiteral("cannot write at byte 16384 (Input/output error)");
    }

    // A 52 KB driver written over an older one fails in its second piece.
    void failedWriteLeavesTheOldFile()
    {
        QFETCH(int, error);
        const QString path = m_dir.filePath(QStringLiteral("lab.tbb"));
        const QByteArray old = QByteArray(4000, 'o');
        Put(path, old);
        CFileReplacer::SetWriteHook([error](qint64 offset) { return offset >= CFileReplacer::PieceSize ? error : 0; });
        const CFileResult result = CFileReplacer::Replace(path, QByteArray(52 * 1024, 'n'), CFileReplacer::Tail::Keep);
        QCOMPARE(result.GetStatus(), CFileResult::Status::NotWritten);
        QFETCH(QString, message);
        QCOMPARE(result.Message(), path + QStringLiteral(": ") + message);
        QCOMPARE(Bytes(path), old);
        QCOMPARE(Leftovers(), QStringList());
    }

    void keepsModeAndLink()
    {
        const QString target = m_dir.filePath(QStringLiteral("target.tbb"));
        const QString link = m_dir.filePath(QStringLiteral("link.tbb"));
        Put(target, "old");
        QVERIFY(QFile::setPermissions(target, QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ReadGroup));
        QVERIFY(QFile::link(target, link));
        QVERIFY(CFileReplacer::Replace(link, "newer", CFileReplacer::Tail::Keep).IsOk());
        QVERIFY(QFileInfo(link).isSymLink());
        QCOMPARE(Bytes(target), QByteArray("newer"));
        struct stat info {};
        QCOMPARE(::stat(QFile::encodeName(target).constData(), &info), 0);
        QCOMPARE(info.st_mode & 07777, mode_t(0640));
    }

    void refusesWhatIsNotARegularFile()
    {
        const QString fifo = m_dir.filePath(QStringLiteral("fifo.tbb"));
        QCOMPARE(::mkfifo(QFile::encodeName(fifo).constData(), 0600), 0);
        const CFileResult written = CFileReplacer::Replace(fifo, "x", CFileReplacer::Tail::Keep);
        QCOMPARE(written.Message(), QStringLiteral("Cannot open %1: a FIFO, not a regular file").arg(fifo));
        CDriverFile driver;
        QCOMPARE(driver.Load(fifo).Message(), written.Message());
        QCOMPARE(driver.Load(m_dir.path()).Message(), QStringLiteral("Cannot open %1: a folder, not a regular file").arg(m_dir.path()));
    }

    // A real kill between two pieces of the write.
    void killedWriterLeavesTheOldDriver()
    {
        const QString path = m_dir.filePath(QStringLiteral("killed.tbb"));
        CDriverFile old;
        old.m_Driver.m_strName = "Before";
        QVERIFY(old.Store(path).IsOk());
        const QByteArray before = Bytes(path);
        QProcess writer;
        writer.start(QStringLiteral(SLOW_DRIVER_WRITER), {path});
        QVERIFY(writer.waitForStarted());
        // Two pieces are out when the second announcement comes.
        QElapsedTimer timer;
        timer.start();
        QByteArray said;
        while (said.count("piece at") < 3 && timer.elapsed() < 10000 && writer.waitForReadyRead(5000))
            said += writer.readAllStandardOutput();
        QVERIFY2(said.count("piece at") >= 3, said.constData());
        ::kill(pid_t(writer.processId()), SIGKILL);
        QVERIFY(writer.waitForFinished(5000));
        QCOMPARE(Bytes(path), before);
        CDriverFile reread;
        QVERIFY(reread.Load(path).IsOk());
        QCOMPARE(reread.m_Driver.m_strName, QByteArray("Before"));
    }

private:
    QStringList Leftovers() const
    {
        return QDir(m_dir.path()).entryList(QDir::Files | QDir::Hidden | QDir::System).filter(QStringLiteral(".tmp"));
    }

    QTemporaryDir m_dir;
};

QTEST_GUILESS_MAIN(tst_FileReplacer)
#include "tst_FileReplacer.moc"
