#include "CLineStamper.h"
#include "PipelineFakes.h"

#include <QtTest>


class tst_CLineStamper : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void stampsTheFirstByteOfEveryLine_data();
    void stampsTheFirstByteOfEveryLine();
    void formatsLocalTimeToTheMillisecond();
    void switchedOnMidLineStampsFromTheNextLine();
};

void tst_CLineStamper::stampsTheFirstByteOfEveryLine_data()
{
    QTest::addColumn<bool>("names");
    QTest::addColumn<QByteArrayList>("pieces");
    QTest::addColumn<QByteArray>("expected");
    const QByteArray s1 = "2026-11-23 14:05:31.001 ", s2 = "2026-11-23 14:05:31.002 ",
                     s3 = "2026-11-23 14:05:31.003 ";
    QTest::newRow("CR LF ends a line once") << false << QByteArrayList{"a\r\nb\r\n"} << s1 + "a\r\n" + s2 + "b\r\n";
    QTest::newRow("CR LF split between pieces is one line end")
        << false << QByteArrayList{"a\r", "\nb"} << s1 + "a\r\n" + s2 + "b";
    QTest::newRow("lone CR and lone LF each end a line") << false << QByteArrayList{"a\rb\nc"} << s1 + "a\r" + s2 + "b\n" + s3 + "c";
    QTest::newRow("a line continued in the next piece keeps its stamp")
        << false << QByteArrayList{"12.", "5 g\r\n"} << s1 + "12.5 g\r\n";
    QTest::newRow("no stamp waits for a line that has not begun") << false << QByteArrayList{"x\r\n"} << s1 + "x\r\n";
    QTest::newRow("shown names <CR><LF> end a line once")
        << true << QByteArrayList{"a<CR><LF>b<CR>"} << s1 + "a<CR><LF>" + s2 + "b<CR>";
    QTest::newRow("<LF> name in the next piece stays with its <CR>")
        << true << QByteArrayList{"<STX>a<CR>", "<LF>b<CR>"} << s1 + "<STX>a<CR><LF>" + s2 + "b<CR>";
    QTest::newRow("lone <LF> name ends a line") << true << QByteArrayList{"a<LF>b"} << s1 + "a<LF>" + s2 + "b";
}

void tst_CLineStamper::stampsTheFirstByteOfEveryLine()
{
    QFETCH(bool, names);
    QFETCH(QByteArrayList, pieces);
    QFETCH(QByteArray, expected);
    CTextBuffer buffer;
    QDateTime now(QDate(2026, 11, 23), QTime(14, 5, 31));
    CLineStamper stamper(buffer, [&] { return now = now.addMSecs(1); });
    stamper.SetControlNames(names);
    for (const QByteArray& piece : pieces)
        stamper.AppendBytes(piece);
    QCOMPARE(buffer.m_text, expected);
}

void tst_CLineStamper::formatsLocalTimeToTheMillisecond()
{
    QCOMPARE(CLineStamper::Stamp(QDateTime(QDate(2026, 1, 2), QTime(3, 4, 5, 7))), QByteArray("2026-01-02 03:04:05.007 "));
}

void tst_CLineStamper::switchedOnMidLineStampsFromTheNextLine()
{
    CTextBuffer buffer;
    const QDateTime now(QDate(2026, 11, 23), QTime(14, 5, 31));
    CLineStamper stamper(buffer, [&] { return now; });
    stamper.SetOn(false);
    stamper.AppendBytes("a\r\nb");
    stamper.SetOn(true);
    stamper.AppendBytes("c\r\nd");
    stamper.SetOn(false);
    stamper.AppendBytes("e\r");
    stamper.SetOn(true);
    // The LF of the CR LF seen while off still belongs to that line end.
    stamper.AppendBytes("\nf");
    const QByteArray s = CLineStamper::Stamp(now);
    QCOMPARE(buffer.m_text, "a\r\nbc\r\n" + s + "de\r\n" + s + "f");
}

QTEST_GUILESS_MAIN(tst_CLineStamper)
#include "tst_CLineStamper.moc"
