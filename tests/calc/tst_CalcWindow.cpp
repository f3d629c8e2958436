// Instrument windows with their spreadsheet switch on, writing into a real
// headless LibreOffice of the test's own; the journal beside the driver.

#include "../core/PtyPair.h"
#include "../gui/ScriptedDialogs.h"
#include "CCommGeneralPage.h"
#include "CDriverFile.h"
#include "CExcelOutput.h"
#include "CInstrumentSheet.h"
#include "CMainFrame.h"
#include "COrvalisApp.h"
#include "COrvalisView.h"
#include "CTestOffice.h"
#include "ResourceIds.h"
#include "WidgetTestIncludes.h"

namespace {

QStringList Lines(const QString& path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return {};
    QStringList lines = QString::fromUtf8(file.readAll()).split(QLatin1Char('\n'));
    if (lines.last().isEmpty())
        lines.removeLast();
    return lines;
}

QStringList Texts(const QSignalSpy& spy)
{
    QStringList texts;
    for (const QList<QVariant>& signal : spy)
        texts.append(signal.first().toString());
    return texts;
}

} // namespace

class tst_CalcWindow : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanup();

    void cellsOfAWindowAppearInItsDocument();
    void switchTurnedOnInOptionsStartsTheLink();
    void unreachableOfficeLeavesTheJournalAlone();
    void killedOfficeLosesNoRow();

private:
    static CDriverFile Driver(const QString& connector, int excel = 1);
    COrvalisView* Start(const CDriverFile& records);
    CMainFrame* Frame() const { return m_app->MainFrame(); }
    QString Home(const QString& name) const { return QDir(m_home->path()).filePath(name); }
    QString StatusText() const { return Frame()->GetPaneText(CMainFrame::PaneMessage); }

    CTestOffice m_office;
    std::unique_ptr<QTemporaryDir> m_home;
    std::unique_ptr<CPtyPair> m_pty;
    std::unique_ptr<CScriptedDialogs> m_dialogs;
    std::unique_ptr<COrvalisApp> m_app;
};

void tst_CalcWindow::initTestCase()
{
    const QString missing = CTestOffice::Missing();
    if (!missing.isEmpty())
        QSKIP(qPrintable(missing));
    QVERIFY2(m_office.Start(), qPrintable(m_office.Error()));
}

void tst_CalcWindow::init()
{
    CExcel::SetDefaultOffice(m_office.Office());
    m_home = std::make_unique<QTemporaryDir>();
    qputenv("ORVALIS_HOME", m_home->path().toLocal8Bit());
    m_pty = std::make_unique<CPtyPair>();
    QVERIFY(m_pty->IsOpen());
    m_pty->CloseSlave();
    m_dialogs = std::make_unique<CScriptedDialogs>();
}

void tst_CalcWindow::cleanup()
{
    m_app.reset();
    m_dialogs.reset();
    m_pty.reset();
    m_home.reset();
    qunsetenv("ORVALIS_HOME");
}

CDriverFile tst_CalcWindow::Driver(const QString& connector, int excel)
{
    CDriverFile records;
    records.m_Driver.m_strName = "Balance";
    records.m_Driver.m_strFileName = "balance.tbb";
    records.m_Driver.m_bExcel = excel;
    records.m_Comm.m_nConnector = -1;
    records.m_Comm.m_strConnector = connector.toLocal8Bit();
    records.m_Comm.m_nFlowControl = 0;
    records.m_Terminal.m_bReceiveCRLF = 0;
    return records;
}

COrvalisView* tst_CalcWindow::Start(const CDriverFile& records)
{
    CDriverFile copy = records;
    if (!copy.Store(Home(QStringLiteral("balance.tbb"))).IsOk())
        return nullptr;
    m_app = std::make_unique<COrvalisApp>(Home(QStringLiteral("Orvalis.ini")));
    if (!m_app->InitInstance({QStringLiteral("/Dbalance.tbb")}))
        return nullptr;
    return qobject_cast<COrvalisView*>(Frame()->ActiveView());
}

void tst_CalcWindow::cellsOfAWindowAppearInItsDocument()
{
    COrvalisView* view = Start(Driver(m_pty->SlaveName()));
    QVERIFY(view && view->m_pExcel);
    const QString journal =
        Home(QStringLiteral("balance %1.csv").arg(QDate::currentDate().toString(Qt::ISODate)));
    QTRY_COMPARE_WITH_TIMEOUT(StatusText(),
                              QStringLiteral("Cells go to LibreOffice Calc and to %1").arg(journal), 60000);
    QVERIFY(m_pty->WriteMaster("first window\tg\r\n+12.345\t-0.5\r\n1e3\r\n"));
    QTRY_COMPARE_WITH_TIMEOUT(Lines(journal), (QStringList{"first window,g", "+12.345,-0.5", "1e3"}), 10000);
    int document = -1;
    QTRY_VERIFY_WITH_TIMEOUT((document = m_office.DocumentWith("first window")) >= 0, 20000);
    QTRY_COMPARE_WITH_TIMEOUT(m_office.Cell(document, 3, 1), QVariant(1000.0), 20000);
    QCOMPARE(m_office.Cell(document, 2, 2), QVariant(-0.5));
    QTRY_COMPARE(view->toPlainText(), QStringLiteral("first window\tg\n+12.345\t-0.5\n1e3\n"));
}

void tst_CalcWindow::switchTurnedOnInOptionsStartsTheLink()
{
    COrvalisView* view = Start(Driver(m_pty->SlaveName(), 0));
    QVERIFY(view);
    QVERIFY(!view->m_pExcel);
    // Mid-stream: what came before the switch stays out of the cells.
    QVERIFY(m_pty->WriteMaster("before\r\n"));
    QTRY_COMPARE(view->toPlainText(), QStringLiteral("before\n"));
    m_dialogs->m_onExec = [](QDialog& dialog) {
        qobject_cast<CInstrumentSheet*>(&dialog)->m_pGeneralPage->m_pExcel->setChecked(true);
        return int(QDialog::Accepted);
    };
    QVERIFY(Frame()->RouteCommand(ID_OPTIONS));
    QVERIFY(view->m_pExcel);
    QVERIFY(m_pty->WriteMaster("switched on\r\n"));
    QTRY_VERIFY_WITH_TIMEOUT(m_office.DocumentWith("switched on") >= 0, 60000);
    QTRY_COMPARE(Lines(view->m_pExcel->JournalPath()), QStringList{"switched on"});
}

void tst_CalcWindow::unreachableOfficeLeavesTheJournalAlone()
{
    CTestOffice none;
    CExcel::COffice office = none.Office();
    office.strProgram = QStringLiteral("/nonexistent/soffice");
    CExcel::SetDefaultOffice(office);
    COrvalisView* view = Start(Driver(m_pty->SlaveName()));
    QVERIFY(view && view->m_pExcel);
    const QString journal = view->m_pExcel->JournalPath();
    QTRY_COMPARE_WITH_TIMEOUT(
        StatusText(), QStringLiteral("LibreOffice Calc is not installed: values go only to %1").arg(journal),
        10000);
    QVERIFY(m_pty->WriteMaster("1\t2\r\n3\t4\r\n"));
    QTRY_COMPARE(Lines(journal), (QStringList{"1,2", "3,4"}));
    QTRY_COMPARE(view->toPlainText(), QStringLiteral("1\t2\n3\t4\n"));
    // The time stamp column, kept for the driver, from the next row on.
    QVERIFY(Frame()->RouteCommand(ID_TIME_STAMP_COLUMN));
    QVERIFY(Frame()->QueryCommand(ID_TIME_STAMP_COLUMN).bChecked);
    QVERIFY(m_pty->WriteMaster("5\r\n"));
    QTRY_COMPARE(Lines(journal).size(), 3);
    QVERIFY2(QRegularExpression(QStringLiteral(R"(^\d{4}-\d\d-\d\d \d\d:\d\d:\d\d\.\d{3},5$)"))
                 .match(Lines(journal).last())
                 .hasMatch(),
             qPrintable(Lines(journal).last()));
}

void tst_CalcWindow::killedOfficeLosesNoRow()
{
    CTestOffice office;
    QVERIFY2(office.Start(), qPrintable(office.Error()));
    CExcel::SetDefaultOffice(office.Office());
    COrvalisView* view = Start(Driver(m_pty->SlaveName()));
    QVERIFY(view && view->m_pExcel);
    QSignalSpy messages(view->m_pExcel.get(), &CExcelOutput::message);
    QTRY_COMPARE_WITH_TIMEOUT(view->m_pExcel->GetState(), CExcelOutput::Linked, 60000);
    QByteArray rows;
    for (int i = 1; i <= 100; ++i)
        rows += "row " + QByteArray::number(i) + "\t" + QByteArray::number(i * 0.25) + "\r\n";
    QVERIFY(m_pty->WriteMaster(rows.left(rows.size() / 2)));
    int document = -1;
    QTRY_VERIFY_WITH_TIMEOUT((document = office.DocumentWith("row 1")) >= 0, 20000);
    office.Kill();
    QVERIFY(m_pty->WriteMaster(rows.mid(rows.size() / 2)));
    // The window goes on: every row is shown and journaled.
    QTRY_COMPARE_WITH_TIMEOUT(Lines(view->m_pExcel->JournalPath()).size(), 100, 20000);
    QTRY_COMPARE_WITH_TIMEOUT(view->m_pExcel->GetState(), CExcelOutput::Lost, 20000);
    QVERIFY(m_pty->WriteMaster("after\t1\r\n"));
    QTRY_COMPARE_WITH_TIMEOUT(Lines(view->m_pExcel->JournalPath()).size(), 101, 20000);
    QTest::qWait(200);
    const QStringList lost = Texts(messages).filter(QStringLiteral("gone"));
    QCOMPARE(lost.size(), 1);
    QCOMPARE(
        lost.first(),
        QStringLiteral("The link to LibreOffice Calc is gone (LibreOffice has quit): values go only to %1")
            .arg(view->m_pExcel->JournalPath()));
    QCOMPARE(Lines(view->m_pExcel->JournalPath()).at(99), QStringLiteral("row 100,25"));
    QTRY_COMPARE(view->toPlainText().count(QLatin1Char('\n')), 101);
}

QTEST_MAIN(tst_CalcWindow)
#include "tst_CalcWindow.moc"
