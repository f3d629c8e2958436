// The link to LibreOffice Calc against a real headless office of the
// test's own (private pipe and profile), read back through UNO.

#include "CExcel.h"
#include "CTestOffice.h"
#include "TestIncludes.h"

namespace {

bool Open(CExcel& excel)
{
    return excel.Connect() && excel.SetVisible(true) && excel.OpenWorkbook(QString());
}

} // namespace

class tst_CalcLink : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void cellsAndBlocksArriveWithNumbersAsNumbers();
    void cellsBeyondTheSheetAreRefusedAndAClosedDocumentIsGone();
    void officeThatNeverAnswersIsGivenUpInTime();
    void startsAnOfficeWhenNoneListens();

private:
    CTestOffice m_office;
};

void tst_CalcLink::initTestCase()
{
    const QString missing = CTestOffice::Missing();
    if (!missing.isEmpty())
        QSKIP(qPrintable(missing));
    QVERIFY2(m_office.Start(), qPrintable(m_office.Error()));
}

void tst_CalcLink::cellsAndBlocksArriveWithNumbersAsNumbers()
{
    CExcel excel(m_office.Office());
    QVERIFY2(Open(excel), qPrintable(excel.ErrorString()));
    QCOMPARE(excel.StartedProcessId(), 0);
    const QStringList texts{"numbers", "12.345", "1e3", " 7 ", "12.5 g", "=1+1", "\u00B5g"};
    for (int column = 1; column <= texts.size(); ++column)
        QCOMPARE(excel.PutCell(1, column, texts.at(column - 1)), CSpreadsheetLink::Written);
    const int document = m_office.DocumentWith("numbers");
    QVERIFY(document >= 0);
    QCOMPARE(m_office.Cell(document, 1, 2), QVariant(12.345));
    QCOMPARE(m_office.Cell(document, 1, 3), QVariant(1000.0));
    QCOMPARE(m_office.Cell(document, 1, 4), QVariant(7.0));
    QCOMPARE(m_office.Cell(document, 1, 5), QVariant("12.5 g"));
    // Received text never becomes a formula.
    QCOMPARE(m_office.Cell(document, 1, 6), QVariant("=1+1"));
    QCOMPARE(m_office.Cell(document, 1, 7), QVariant("\u00B5g"));

    // A block arrives as its single cells would.
    QCOMPARE(excel.PutBlock(2, 2, {{"=A1", ""}, {"-3e-2", "x"}}), CSpreadsheetLink::Written);
    QCOMPARE(m_office.Cell(document, 2, 2), QVariant("=A1"));
    QCOMPARE(m_office.Cell(document, 2, 3), QVariant());
    QCOMPARE(m_office.Cell(document, 3, 2), QVariant(-0.03));
}

void tst_CalcLink::cellsBeyondTheSheetAreRefusedAndAClosedDocumentIsGone()
{
    CExcel excel(m_office.Office());
    QVERIFY2(Open(excel), qPrintable(excel.ErrorString()));
    QCOMPARE(excel.PutCell(5'000'000, 1, "far"), CSpreadsheetLink::Refused);
    QCOMPARE(excel.ErrorString(), QStringLiteral("beyond the last row or column of the sheet"));
    QCOMPARE(excel.PutBlock(5'000'000, 1, {{"a", "b"}}), CSpreadsheetLink::Refused);
    QCOMPARE(excel.PutCell(1, 1, "near"), CSpreadsheetLink::Written);
    QVERIFY(m_office.DocumentWith("near") >= 0);
    m_office.CloseDocuments();
    QCOMPARE(excel.PutCell(2, 1, "after"), CSpreadsheetLink::Gone);
    QCOMPARE(excel.ErrorString(), QStringLiteral("the document was closed"));
    QCOMPARE(excel.PutBlock(3, 1, {{"a", "b"}}), CSpreadsheetLink::Gone);
}

// Last: the shared office is killed and its (ready) profile started again by the link.
// An office that starts but never listens must not hang the window.
void tst_CalcLink::officeThatNeverAnswersIsGivenUpInTime()
{
    CTestOffice none;
    CExcel::COffice office = none.Office();
    office.strProgram = QStringLiteral("/bin/true");
    office.nStartSeconds = 2;
    CExcel excel(office);
    QElapsedTimer timer;
    timer.start();
    QVERIFY(!excel.Connect());
    QCOMPARE(excel.ErrorString(), QStringLiteral("LibreOffice did not answer within 2 s"));
    QVERIFY2(timer.elapsed() < 5000, qPrintable(QString::number(timer.elapsed())));
}

void tst_CalcLink::startsAnOfficeWhenNoneListens()
{
    m_office.Kill();
    CExcel excel(m_office.Office());
    QVERIFY2(Open(excel), qPrintable(excel.ErrorString()));
    QVERIFY(excel.StartedProcessId() > 0);
    QCOMPARE(excel.PutCell(1, 1, "started"), CSpreadsheetLink::Written);
    QVERIFY(m_office.DocumentWith("started") >= 0);
    // The office the link started ends with the test.
    QCOMPARE(::kill(pid_t(excel.StartedProcessId()), SIGKILL), 0);
}

QTEST_GUILESS_MAIN(tst_CalcLink)
#include "tst_CalcLink.moc"
