// Lines of the window text as published readings: where lines end, the
// JSON of a reading, cells and numbers.

#include "CPublishingSink.h"
#include "CReadingJson.h"
#include "PipelineFakes.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTest>
#include <QTimeZone>

class tst_PublishingSink : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void linesEndAtCrLfOrBoth_data()
    {
        QTest::addColumn<QByteArrayList>("pieces");
        QTest::addColumn<QStringList>("texts");
        QTest::newRow("CR LF ends one line") << QByteArrayList{"12.5 g\r\n"} << QStringList{"12.5 g"};
        QTest::newRow("a line cut into pieces is one reading")
            << QByteArrayList{"12.", "5 g\r", "\n"} << QStringList{"12.5 g"};
        QTest::newRow("lone CR and lone LF each end a line")
            << QByteArrayList{"a\rb\nc\r\n"} << QStringList{"a", "b", "c"};
        QTest::newRow("empty lines are no readings") << QByteArrayList{"\r\n\r\nx\r\n\n"} << QStringList{"x"};
        QTest::newRow("open line waits for its end") << QByteArrayList{"a\r\nb"} << QStringList{"a"};
    }
    void linesEndAtCrLfOrBoth()
    {
        QFETCH(QByteArrayList, pieces);
        QStringList sent;
        CTextBuffer shown;
        CPublishingSink sink(&shown, [&](const QByteArray& json) {
            sent.append(QJsonDocument::fromJson(json).object().value(QStringLiteral("text")).toString());
        });
        for (const QByteArray& piece : pieces)
            sink.AppendBytes(piece);
        QTEST(sent, "texts");
        QCOMPARE(shown.m_text, pieces.join());
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
            QJsonDocument::fromJson(CReadingJson::Make(time, QStringLiteral("Waage"), "S S\t-12.50\tg\xB5")).object();
        QCOMPARE(reading.value(QStringLiteral("time")).toString(), QStringLiteral("2026-03-04T05:06:07.089+01:00"));
        QCOMPARE(reading.value(QStringLiteral("driver")).toString(), QStringLiteral("Waage"));
        QCOMPARE(reading.value(QStringLiteral("text")).toString(), QStringLiteral("S S\t-12.50\tg\u00B5"));
        const QJsonArray cells = reading.value(QStringLiteral("cells")).toArray();
        QCOMPARE(cells.size(), 3);
        QCOMPARE(cells.at(0).toString(), QStringLiteral("S S"));
        QVERIFY(cells.at(1).isDouble());
        QCOMPARE(cells.at(1).toDouble(), -12.5);
        QCOMPARE(cells.at(2).toString(), QStringLiteral("g\u00B5"));
    }

    void cellsAreSplitAsTheSpreadsheetSplitsThem_data()
    {
        QTest::addColumn<QByteArray>("line");
        QTest::addColumn<QByteArray>("cells");
        QTest::newRow("shown control-code names split too") << QByteArray("1<HT>2") << QByteArray("[1,2]");
        QTest::newRow("blanks around a number") << QByteArray(" 7 \t1e3") << QByteArray("[7,1000]");
        QTest::newRow("a unit makes it text") << QByteArray("7 g") << QByteArray("[\"7 g\"]");
        QTest::newRow("no inf or nan or hex") << QByteArray("inf\tnan\t0x10")
                                              << QByteArray("[\"inf\",\"nan\",\"0x10\"]");
        QTest::newRow("empty cell is text") << QByteArray("\t5") << QByteArray("[\"\",5]");
    }
    void cellsAreSplitAsTheSpreadsheetSplitsThem()
    {
        QFETCH(QByteArray, line);
        QTEST(QJsonDocument(CReadingJson::Cells(line)).toJson(QJsonDocument::Compact), "cells");
    }
};

QTEST_GUILESS_MAIN(tst_PublishingSink)
#include "tst_PublishingSink.moc"
