// Lines of the window text as published readings: where lines end, the
// JSON of a reading, cells and numbers.

#include "CPublishingSink.h"
#include "CReadingJson.h"
#include "PipelineFakes.h"
#include "TestIncludes.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

class tst_PublishingSink : public QObject
{
    Q_OBJECT

private Q_SLOTS:
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

    // Cells hold numbers as the sheet reads them (the cases are tst_ExcelOutput's);
    // shown control-code names split too, an empty cell is text.
    void cellsAreSplitAsTheSpreadsheetSplitsThem()
    {
        QCOMPARE(QJsonDocument(CReadingJson::Cells("1<HT>2")).toJson(QJsonDocument::Compact),
                 QByteArray("[1,2]"));
        QCOMPARE(QJsonDocument(CReadingJson::Cells("\t 5 \t7 g\tnan\t0x10")).toJson(QJsonDocument::Compact),
                 QByteArray("[\"\",5,\"7 g\",\"nan\",\"0x10\"]"));
    }
};

QTEST_GUILESS_MAIN(tst_PublishingSink)
#include "tst_PublishingSink.moc"
