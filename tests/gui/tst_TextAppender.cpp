// The instrument window's text under received data: batching (line ends and
// the code page are tst_TextTools'), the limits on lines, characters and
// line length, scrolling, undo, copy.

#include "CTextAppender.h"
#include "WidgetTestIncludes.h"

#include <QPlainTextEdit>

class tst_TextAppender : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        m_pEdit = new QPlainTextEdit;
        m_pEdit->resize(300, 120);
        m_pEdit->show();
        m_pAppender = new CTextAppender(m_pEdit, m_pEdit);
    }

    void cleanup() { delete m_pEdit; }

    void collectsAndWritesAfterADelay()
    {
        m_pAppender->Append("12.5 g\r\n");
        m_pAppender->Append("13.0 g\r\n");
        QCOMPARE(m_pEdit->toPlainText(), QString());
        QTRY_COMPARE(m_pEdit->toPlainText(), QStringLiteral("12.5 g\n13.0 g\n"));
        // Much at once is written at once.
        m_pAppender->Append(QByteArray(CTextAppender::MaxPendingBytes, 'x'));
        QCOMPARE(m_pAppender->PendingBytes(), 0);
    }

    void dropsOldestLinesBeyondTheLimit()
    {
        // Many small pieces, then one piece longer than the limit.
        for (const int pieceLines : {7, 1000}) {
            m_pEdit->clear();
            m_pAppender->SetMaxLines(200);
            for (int first = 0; first < 1000; first += pieceLines) {
                m_pAppender->Append(Numbered(first, qMin(pieceLines, 1000 - first)).toLatin1());
                m_pAppender->Flush();
            }
            // Whole paragraphs go, so a little less than the limit may remain.
            const int lines = m_pAppender->LineCount();
            QVERIFY2(lines <= 200 && lines > 200 - CTextAppender::LinesPerBlock,
                     qPrintable(QString::number(lines)));
            const QString text = m_pEdit->toPlainText();
            QCOMPARE(text, Numbered(1000 - (lines - 1), lines - 1));
        }
    }

    void breaksEndlessLines()
    {
        m_pAppender->Append(QByteArray(3000, 'x'));
        m_pAppender->Flush();
        m_pAppender->Append(QByteArray(7000, 'y') + "\nz");
        m_pAppender->Flush();
        const QStringList lines = m_pEdit->toPlainText().split(QLatin1Char('\n'));
        QCOMPARE(lines.size(), 4);
        QCOMPARE(lines.at(0), QString(3000, 'x') + QString(1096, 'y'));
        QCOMPARE(lines.at(1), QString(4096, 'y'));
        QCOMPARE(lines.at(2), QString(7000 - 1096 - 4096, 'y'));
        QCOMPARE(lines.at(3), QStringLiteral("z"));
    }

    void keepsCharactersBounded()
    {
        m_pAppender->SetMaxLines(0);
        const QByteArray line = QByteArray(99, 'c') + '\n';
        QByteArray piece;
        for (int i = 0; i < 2000; ++i)
            piece += line;
        for (int i = 0; i < 50; ++i) {
            m_pAppender->Append(piece);
            m_pAppender->Flush();
        }
        QVERIFY(m_pEdit->document()->characterCount() <= CTextAppender::MaxCharacters);
        QVERIFY(m_pEdit->document()->characterCount() > CTextAppender::MaxCharacters * 9 / 10);
    }

    void followsTheEndUnlessScrolledUp()
    {
        QScrollBar* bar = m_pEdit->verticalScrollBar();
        m_pAppender->Append(Numbered(0, 100).toLatin1());
        m_pAppender->Flush();
        QVERIFY(bar->maximum() > 0);
        QCOMPARE(bar->value(), bar->maximum());
        // The user scrolled up to read: the place stays.
        bar->setValue(10);
        m_pAppender->Append(Numbered(200, 100).toLatin1());
        m_pAppender->Flush();
        QCOMPARE(bar->value(), 10);
    }

    void appendedTextIsNotUndoable()
    {
        m_pEdit->insertPlainText(QStringLiteral("typed"));
        QVERIFY(m_pEdit->document()->isUndoAvailable());
        m_pAppender->Append("received\n");
        m_pAppender->Flush();
        QVERIFY(!m_pEdit->document()->isUndoAvailable());
        QCOMPARE(m_pEdit->toPlainText(), QStringLiteral("typedreceived\n"));
    }

    void copiesAndCountsLines()
    {
        m_pAppender->Append(Numbered(0, 3 * CTextAppender::LinesPerBlock).toLatin1());
        m_pAppender->Flush();
        QCOMPARE(m_pAppender->LineCount(), 3 * CTextAppender::LinesPerBlock + 1);
        // Lines are kept many to a paragraph; they copy as lines.
        m_pEdit->selectAll();
        m_pEdit->copy();
        QCOMPARE(QApplication::clipboard()->text(), Numbered(0, 3 * CTextAppender::LinesPerBlock));
    }

private:
    static QString Numbered(int first, int count);

    QPlainTextEdit* m_pEdit = nullptr;
    CTextAppender* m_pAppender = nullptr;
};

QString tst_TextAppender::Numbered(int first, int count)
{
    QString text;
    for (int i = first; i < first + count; ++i)
        text += QStringLiteral("line %1\n").arg(i);
    return text;
}

QTEST_MAIN(tst_TextAppender)
#include "tst_TextAppender.moc"
