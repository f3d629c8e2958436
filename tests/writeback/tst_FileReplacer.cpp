#include "CDriverFile.h"
#include "CFileReplacer.h"
#include "TestIncludes.h"

#include <cerrno>

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
    void replacesLikeWritingInPlace()
    {
        const struct
        {
            const char* name;
            QByteArray old;
            CFileReplacer::Tail tail;
            QByteArray result;
        } rows[] = {
            {"a longer old file keeps its tail", "0123456789", CFileReplacer::Tail::Keep, "new3456789"},
            {"a longer old file is cut when asked", "0123456789", CFileReplacer::Tail::Drop, "new"},
            {"a shorter old file is replaced", "01", CFileReplacer::Tail::Keep, "new"},
            {"a missing file is created", {}, CFileReplacer::Tail::Keep, "new"},
        };
        for (const auto& row : rows) {
            const QString path = m_dir.filePath(QString::fromLatin1(row.name));
            if (!row.old.isEmpty())
                Put(path, row.old);
            const CFileResult result = CFileReplacer::Replace(path, "new", row.tail);
            QVERIFY2(result.IsOk(), qPrintable(result.Message()));
            QVERIFY2(Bytes(path) == row.result, row.name);
        }
        QCOMPARE(Leftovers(), QStringList());
    }

    // A 52 KB driver written over an older one fails in its second piece: the
    // disk full in words of its own, other errors in the system's words.
    void failedWriteLeavesTheOldFile()
    {
        const QString path = m_dir.filePath(QStringLiteral("lab.tbb"));
        const QByteArray old = QByteArray(4000, 'o');
        Put(path, old);
        for (const auto& [error, message] :
             {std::pair{ENOSPC, "the disk is full"}, {EIO, "Input/output error"}}) {
            CFileReplacer::SetWriteHook(
                [error](qint64 offset) { return offset >= CFileReplacer::PieceSize ? error : 0; });
            const CFileResult result =
                CFileReplacer::Replace(path, QByteArray(52 * 1024, 'n'), CFileReplacer::Tail::Keep);
            QCOMPARE(result.GetStatus(), CFileResult::Status::NotWritten);
            QCOMPARE(result.Message(),
                     path + QStringLiteral(": cannot write at byte 16384 (%1)").arg(message));
            QCOMPARE(Bytes(path), old);
        }
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
