#include "CPlaybackFile.h"

#include <QTemporaryDir>
#include <QTest>

class tst_PlaybackFile : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void delay_data();
    void delay();
    void consumesExactlyTheLinesItUsed();
    void closedFileGivesEmptyLines();
    void failedOpenSaysWhy();
};

void tst_PlaybackFile::delay_data()
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

void tst_PlaybackFile::delay()
{
    QFETCH(QByteArray, line);
    QTEST(CPlaybackFile::DelayOf(line), "milliseconds");
}

void tst_PlaybackFile::consumesExactlyTheLinesItUsed()
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

void tst_PlaybackFile::closedFileGivesEmptyLines()
{
    CPlaybackFile playback;
    QVERIFY(!playback.IsOpen());
    QCOMPARE(playback.NextLine([](quint32) { QFAIL("no delay expected"); }), QByteArray());
}

void tst_PlaybackFile::failedOpenSaysWhy()
{
    CPlaybackFile playback;
    QVERIFY(!playback.Open(QStringLiteral("/nonexistent/cmd.txt")));
    QVERIFY(!playback.IsOpen());
    QCOMPARE(playback.ErrorString(),
             QStringLiteral("Cannot open playback file /nonexistent/cmd.txt: No such file or directory"));
}

QTEST_GUILESS_MAIN(tst_PlaybackFile)
#include "tst_PlaybackFile.moc"
