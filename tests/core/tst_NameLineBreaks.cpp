// Line breaks after the names of received line ends, with control
// characters shown, and taking them out again.

#include "CNameLineBreaks.h"

#include <QTest>

class tst_NameLineBreaks : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void add_data();
    void add();
    void removeUndoesAdd_data();
    void removeUndoesAdd();
    void resetForgetsWaitingCR();
};

void tst_NameLineBreaks::add_data()
{
    QTest::addColumn<QStringList>("pieces");
    QTest::addColumn<QString>("shown");
    QTest::newRow("breaks after CR LF, not between them")
        << QStringList{"A<CR><LF>B<CR><LF>"} << QStringLiteral("A<CR><LF>\nB<CR><LF>\n");
    QTest::newRow("breaks after a lone CR") << QStringList{"A<CR>B"} << QStringLiteral("A<CR>\nB");
    QTest::newRow("breaks after a lone LF") << QStringList{"A<LF>B<LF>"} << QStringLiteral("A<LF>\nB<LF>\n");
    QTest::newRow("a CR ending a piece waits for the LF of the next")
        << QStringList{"A<CR>", "<LF>B"} << QStringLiteral("A<CR><LF>\nB");
    QTest::newRow("a CR ending a piece breaks before other text")
        << QStringList{"A<CR>", "B<CR>", ""} << QStringLiteral("A<CR>\nB<CR>");
    QTest::newRow("other names and brackets stay as they are")
        << QStringList{"<STX>1<2>3<ETX><C<L"} << QStringLiteral("<STX>1<2>3<ETX><C<L");
    QTest::newRow("names split between pieces are not names") << QStringList{"A<C", "R>B"} << QStringLiteral("A<CR>B");
}

void tst_NameLineBreaks::add()
{
    QFETCH(QStringList, pieces);
    QFETCH(QString, shown);
    CNameLineBreaks breaks;
    QString result;
    for (const QString& piece : pieces)
        result += breaks.Add(piece);
    QCOMPARE(result, shown);
}

void tst_NameLineBreaks::removeUndoesAdd_data()
{
    QTest::addColumn<QString>("text");
    QTest::newRow("line ends") << QStringLiteral("A<CR><LF>B<CR>C<LF>D");
    QTest::newRow("names at the end") << QStringLiteral("A<CR><LF>");
    QTest::newRow("no names") << QStringLiteral("plain <text>");
    QTest::newRow("a real break not after a name stays") << QStringLiteral("typed\nline<CR><LF>");
}

void tst_NameLineBreaks::removeUndoesAdd()
{
    QFETCH(QString, text);
    QCOMPARE(CNameLineBreaks::Remove(CNameLineBreaks().Add(text)), text);
}

void tst_NameLineBreaks::resetForgetsWaitingCR()
{
    CNameLineBreaks breaks;
    QCOMPARE(breaks.Add(QStringLiteral("A<CR>")), QStringLiteral("A<CR>"));
    breaks.Reset();
    QCOMPARE(breaks.Add(QStringLiteral("B")), QStringLiteral("B"));
}

QTEST_APPLESS_MAIN(tst_NameLineBreaks)
#include "tst_NameLineBreaks.moc"
