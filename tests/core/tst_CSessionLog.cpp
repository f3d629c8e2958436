#include "CSessionLog.h"
#include "PipelineFakes.h"
#include "TestIncludes.h"

#include <sys/wait.h>

static QByteArray FileBytes(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("<missing>");
}

class tst_CSessionLog : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void appendsWhatTheWindowShows()
    {
        const QString path = m_dir.filePath(QStringLiteral("show.log"));
        QVERIFY(QFile(path).open(QIODevice::WriteOnly));
        CTextBuffer window;
        CSessionLog log(window);
        log.AppendBytes("before\r\n");
        QVERIFY2(log.Start(path), qPrintable(log.ErrorString()));
        log.AppendBytes("12.5 g\r");
        log.AppendBytes("\n\xb5 3\rend");
        QCOMPARE(window.m_text, QByteArray("before\r\n12.5 g\r\n\xb5 3\rend"));
        QCOMPARE(FileBytes(path), QByteArray("12.5 g\n\xc2\xb5 3\nend"));
        log.Stop();
        log.AppendBytes("after\r\n");
        QCOMPARE(FileBytes(path), QByteArray("12.5 g\n\xc2\xb5 3\nend"));
    }

    void keepsEveryLineOfAKilledProgram()
    {
        const QString path = m_dir.filePath(QStringLiteral("killed.log"));
        int ready[2];
        QVERIFY(::pipe(ready) == 0);
        const pid_t child = ::fork();
        QVERIFY(child >= 0);
        if (child == 0) {
            CTextBuffer window;
            CSessionLog log(window);
            if (!log.Start(path))
                ::_exit(2);
            for (int i = 0; i < 1000; ++i)
                log.AppendBytes(QByteArray::number(i) + "\r\n");
            (void)::write(ready[1], "x", 1);
            ::pause();
            ::_exit(0);
        }
        ::close(ready[1]);
        char byte = 0;
        QCOMPARE(::read(ready[0], &byte, 1), ssize_t(1));
        ::close(ready[0]);
        ::kill(child, SIGKILL);
        int status = 0;
        ::waitpid(child, &status, 0);
        QVERIFY(WIFSIGNALED(status));
        QByteArray expected;
        for (int i = 0; i < 1000; ++i)
            expected += QByteArray::number(i) + "\n";
        QCOMPARE(FileBytes(path), expected);
    }

    void stopsOnAFullDiskAndTheWindowGoesOn()
    {
        CTextBuffer window;
        CSessionLog log(window);
        QVERIFY2(log.Start(QStringLiteral("/dev/full")), qPrintable(log.ErrorString()));
        log.AppendBytes("a\r\n");
        QVERIFY(!log.IsLogging());
        QVERIFY2(log.ErrorString().startsWith(QStringLiteral("Logging to /dev/full stopped: ")), qPrintable(log.ErrorString()));
        QVERIFY2(log.ErrorString().contains(QStringLiteral("space")), qPrintable(log.ErrorString()));
        log.AppendBytes("b\r\n");
        QCOMPARE(window.m_text, QByteArray("a\r\nb\r\n"));
    }

    void stopsWhenItsFolderIsRemoved()
    {
        const QString folder = m_dir.filePath(QStringLiteral("gone"));
        QVERIFY(QDir().mkpath(folder));
        CTextBuffer window;
        CSessionLog log(window);
        QVERIFY(log.Start(folder + QStringLiteral("/session.log")));
        log.AppendBytes("kept\r\n");
        QVERIFY(log.IsLogging());
        QVERIFY(QDir(folder).removeRecursively());
        log.AppendBytes("lost\r\n");
        QVERIFY(!log.IsLogging());
        QCOMPARE(log.ErrorString(), QStringLiteral("Logging to %1/session.log stopped: the file was removed").arg(folder));
        QCOMPARE(window.m_text, QByteArray("kept\r\nlost\r\n"));
    }

    void reportsAFileThatCannotBeOpened()
    {
        CTextBuffer window;
        CSessionLog log(window);
        const QString path = m_dir.filePath(QStringLiteral("none/x.log"));
        QVERIFY(!log.Start(path));
        QVERIFY(!log.IsLogging());
        QVERIFY2(log.ErrorString().startsWith(QStringLiteral("Cannot log to %1: ").arg(path)), qPrintable(log.ErrorString()));
    }

private:
    QTemporaryDir m_dir;
};

QTEST_GUILESS_MAIN(tst_CSessionLog)
#include "tst_CSessionLog.moc"
