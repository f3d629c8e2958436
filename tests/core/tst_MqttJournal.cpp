// The message journal on disk: order, limit, reopening, damage, locking;
// lines of the window text as published readings: where lines end, the JSON
// of a reading, cells and numbers.

#include "CMqttJournal.h"
#include "CPublishingSink.h"
#include "CReadingJson.h"
#include "PipelineFakes.h"
#include "TestIncludes.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

namespace {

QByteArrayList ReadAll(CMqttJournal& journal)
{
    QByteArrayList messages;
    QByteArray message;
    QString error;
    for (qint64 at = journal.Head(), next = 0; journal.Read(at, message, next, error); at = next)
        messages.append(message);
    return messages;
}

QByteArrayList Numbers(int from, int to)
{
    QByteArrayList list;
    for (int n = from; n < to; ++n)
        list.append("m" + QByteArray::number(n));
    return list;
}

} // namespace

class tst_MqttJournal : public QObject
{
    Q_OBJECT

    QTemporaryDir m_dir;
    QString Path() const { return m_dir.filePath(QStringLiteral("j.journal")); }

private Q_SLOTS:
    void init() { QFile::remove(Path()); }

    void releasedMessagesStayGoneAfterReopening()
    {
        QString error;
        qint64 dropped = 0;
        qint64 second = 0;
        {
            CMqttJournal journal(100);
            QVERIFY2(journal.Open(Path(), error), qPrintable(error));
            QVERIFY(journal.Append(Numbers(0, 5), dropped, error));
            QByteArray message;
            qint64 next = 0;
            QVERIFY(journal.Read(journal.Head(), message, next, error));
            QVERIFY(journal.Read(next, message, second, error));
            QVERIFY(journal.Release(second, error));
        }
        CMqttJournal journal(100);
        QVERIFY(journal.Open(Path(), error));
        QCOMPARE(ReadAll(journal), Numbers(2, 5));
        const qint64 end = journal.End();
        QVERIFY(journal.Release(end, error));
        QCOMPARE(QFileInfo(Path()).size(), CMqttJournal::HeaderSize);
        // Offsets handed out before refer to the old place of the messages.
        QCOMPARE(journal.Moved(), end - CMqttJournal::HeaderSize);
        QVERIFY(journal.Append(Numbers(7, 8), dropped, error));
        QCOMPARE(ReadAll(journal), Numbers(7, 8));
    }

    void fullJournalStaysBoundedOnDiskWhileNothingIsTaken()
    {
        QString error;
        qint64 dropped = 0;
        CMqttJournal journal(20);
        QVERIFY(journal.Open(Path(), error));
        const QByteArray big(100000, 'x');
        for (int round = 0; round < 20; ++round) {
            QByteArrayList batch(10, big);
            batch.back() = QByteArray::number(round);
            QVERIFY(journal.Append(batch, dropped, error));
        }
        // 20 MB went in; what is kept is 2 MB, the dropped part at most 8 MB.
        QVERIFY(QFileInfo(Path()).size() < (qint64(12) << 20));
        const QByteArrayList left = ReadAll(journal);
        QCOMPARE(left.size(), 20);
        QCOMPARE(left.back(), QByteArray("19"));
        QCOMPARE(left.at(9), QByteArray("18"));
    }

    void messageCutByACrashIsCutOff()
    {
        QString error;
        qint64 dropped = 0;
        {
            CMqttJournal journal(100);
            QVERIFY(journal.Open(Path(), error));
            QVERIFY(journal.Append(Numbers(0, 3), dropped, error));
        }
        QFile file(Path());
        QVERIFY(file.open(QIODevice::Append));
        file.write(QByteArray("\x40\x00\x00\x00half", 8));
        file.close();
        CMqttJournal journal(100);
        QVERIFY(journal.Open(Path(), error));
        QCOMPARE(ReadAll(journal), Numbers(0, 3));
        QVERIFY(journal.Append(Numbers(3, 4), dropped, error));
        QCOMPARE(ReadAll(journal), Numbers(0, 4));
    }

    void secondUserGetsItsOwnJournal()
    {
        QString error;
        CMqttJournal first(100);
        CMqttJournal second(100);
        QVERIFY(first.Open(Path(), error));
        QVERIFY(second.Open(Path(), error));
        QCOMPARE(second.Path(), m_dir.filePath(QStringLiteral("j-2.journal")));
    }

    void unwritableFolderIsNamed()
    {
        QString error;
        CMqttJournal journal(100);
        QVERIFY(!journal.Open(QStringLiteral("/proc/orvalis/j.journal"), error));
        QVERIFY2(error.contains(QStringLiteral("/proc/orvalis")), qPrintable(error));
    }

    // The readings sent; the window shows every byte.
    void linesEndAtCrLfOrBoth()
    {
        const struct
        {
            QByteArrayList pieces;
            QStringList texts;
        } rows[] = {
            {{"12.", "5 g\r", "\n"}, {"12.5 g"}}, // a line cut into pieces is one reading
            {{"a\rb\nc\r\n"}, {"a", "b", "c"}},
            {{"\r\n\r\nx\r\n\n"}, {"x"}}, // empty lines are no readings
            {{"a\r\nb"}, {"a"}},          // an open line waits for its end
        };
        for (const auto& row : rows) {
            QStringList sent;
            CTextBuffer shown;
            CPublishingSink sink(&shown, [&](const QByteArray& json) {
                sent.append(QJsonDocument::fromJson(json).object().value(QStringLiteral("text")).toString());
            });
            for (const QByteArray& piece : row.pieces)
                sink.AppendBytes(piece);
            QVERIFY2(sent == row.texts, qPrintable(sent.join('|')));
            QCOMPARE(shown.m_text, row.pieces.join());
        }
    }

    void flushSendsTheOpenLineAndBackspaceTakesACharacter()
    {
        QStringList sent;
        CPublishingSink sink(nullptr, [&](const QByteArray& json) {
            sent.append(QJsonDocument::fromJson(json).object().value(QStringLiteral("text")).toString());
        });
        sink.AppendBytes("abc");
        sink.DeleteLastCharacter();
        sink.Flush();
        sink.Flush();
        QCOMPARE(sent, QStringList{"ab"});
    }

    void readingHasTimeDriverTextAndCells()
    {
        const QDateTime time(QDate(2026, 3, 4), QTime(5, 6, 7, 89), Qt::OffsetFromUTC, 3600);
        const QJsonObject reading =
            QJsonDocument::fromJson(CReadingJson::Make(time, QStringLiteral("Waage"), "S S\t-12.50\tg\xB5"))
                .object();
        QCOMPARE(reading.value(QStringLiteral("time")).toString(),
                 QStringLiteral("2026-03-04T05:06:07.089+01:00"));
        QCOMPARE(reading.value(QStringLiteral("driver")).toString(), QStringLiteral("Waage"));
        QCOMPARE(reading.value(QStringLiteral("text")).toString(), QStringLiteral("S S\t-12.50\tg\u00B5"));
        QCOMPARE(
            QJsonDocument(reading.value(QStringLiteral("cells")).toArray()).toJson(QJsonDocument::Compact),
            QStringLiteral("[\"S S\",-12.5,\"g\u00B5\"]").toUtf8());
    }
};

QTEST_GUILESS_MAIN(tst_MqttJournal)
#include "tst_MqttJournal.moc"
