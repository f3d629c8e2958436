// A window's spreadsheet output: the CSV journal beside the driver and the
// messages about the program, on a fake program; numbers as the sheet reads them.

#include "CCellValue.h"
#include "CExcelOutput.h"
#include "CTimeStampColumn.h"
#include "FakeSpreadsheetLink.h"
#include "PipelineFakes.h"
#include "TestIncludes.h"

#include <QCoreApplication>

#include <sys/wait.h>

namespace {

const QDate Day(2026, 3, 14);

QStringList Lines(const QString& path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return {QStringLiteral("<missing %1>").arg(path)};
    QStringList lines = QString::fromUtf8(file.readAll()).split(QLatin1Char('\n'));
    if (lines.last().isEmpty())
        lines.removeLast();
    return lines;
}

// The received bytes of a window in plain mode with its spreadsheet switch on.
struct Window : PipelineWindow
{
    explicit Window(CCellSink* cells)
    {
        driver.m_bExcel = 1;
        pipeline.SetCellSink(cells);
    }
    // The passes, then the window's event loop (which hands the cells on).
    void Receive(const QByteArray& bytes)
    {
        Pass({bytes});
        QCoreApplication::processEvents();
    }
};

struct Output
{
    Output(const QString& driverPath)
        : sheet(std::make_shared<CFakeSpreadsheet>()),
          output(std::make_unique<CFakeSpreadsheetLink>(sheet), driverPath, Day),
          messages(&output, &CExcelOutput::message)
    {
    }
    ~Output() { sheet->Release(); }
    // The messages told so far that start with the text.
    QStringList Told(const QString& start = {}) const
    {
        QStringList texts;
        for (const QList<QVariant>& message : messages) {
            if (message.first().toString().startsWith(start))
                texts.append(message.first().toString());
        }
        return texts;
    }

    std::shared_ptr<CFakeSpreadsheet> sheet;
    CExcelOutput output;
    QSignalSpy messages;
};

} // namespace

class tst_ExcelOutput : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void number();
    void journalBesideTheDriverHoldsEveryRowAtOnce();
    void timeStampColumnLeadsEveryRowFromTheNext();
    void journalGrowsAcrossSessionsAndWindowsGetTheirOwn();
    void journalMovesToTheDataFolderWhenTheDriverFolderRefuses();
    void hungProgramAtConnectIsGivenUpAndTakenBackWhenItAnswers();
    void lostProgramIsToldOnceAndTheJournalGoesOn();
    void programBehindIsToldOnce();
    void journalSurvivesAKilledProgram();
    void fullDiskIsToldOnceAndCalcGoesOn();
};

void tst_ExcelOutput::initTestCase()
{
    QStandardPaths::setTestModeEnabled(true);
}

void tst_ExcelOutput::number()
{
    const struct
    {
        QString text, locale;
        std::optional<double> number;
    } rows[] = {
        {"  +7.25 ", "en_US", 7.25},
        // A decimal point or a decimal comma in a German locale.
        {"12,345", "de_DE", 12.345},
        // A comma is no group separator; a unit is text.
        {"1,234", "en_US", {}},
        {"12.5 g", "en_US", {}},
    };
    for (const auto& row : rows)
        QVERIFY2(CCellValue::Number(row.text, QLocale(row.locale)) == row.number, qPrintable(row.text));
}

void tst_ExcelOutput::journalBesideTheDriverHoldsEveryRowAtOnce()
{
    QTemporaryDir folder;
    Output out(folder.filePath("Balance.tbb"));
    out.output.Start();
    QCOMPARE(out.output.JournalPath(), folder.filePath("Balance 2026-03-14.csv"));
    Window window(&out.output);
    window.Receive("1.5\tg\r\n");
    // On disk as soon as the pass that ended the row is over, without
    // waiting for the next row.
    QCOMPARE(Lines(out.output.JournalPath()), QStringList{"1.5,g"});
    window.Receive("2,5\t\"ok\"\r\n3\r\n");
    QCOMPARE(Lines(out.output.JournalPath()), (QStringList{"1.5,g", "\"2,5\",\"\"\"ok\"\"\"", "3"}));
    // The cells went to the program as well.
    QVERIFY(QTest::qWaitFor([&] { return out.sheet->Cells().size() == 5; }, 10000));
    QCOMPARE(out.sheet->Cells().last(), QStringLiteral("3,1:3"));
    QTRY_COMPARE(out.output.GetState(), CExcelOutput::Linked);
    QCOMPARE(out.messages.last().first().toString(),
             QStringLiteral("Cells go to LibreOffice Calc and to %1").arg(out.output.JournalPath()));
}

void tst_ExcelOutput::timeStampColumnLeadsEveryRowFromTheNext()
{
    QTemporaryDir folder;
    Output out(folder.filePath("Balance.tbb"));
    out.output.Start();
    CTimeStampColumn cells([] { return QDateTime(Day, QTime(9, 15, 2, 40)); });
    cells.SetTarget(&out.output);
    Window window(&cells);
    window.Receive("1.5\tg\r\n");
    cells.SetOn(true);
    window.Receive("2\tkg\r\n");
    const QString t = QStringLiteral("2026-03-14 09:15:02.040");
    QCOMPARE(Lines(out.output.JournalPath()), (QStringList{"1.5,g", t + ",2,kg"}));
    QVERIFY(QTest::qWaitFor([&] { return out.sheet->Cells().size() == 5; }, 10000));
    QCOMPARE(out.sheet->Cells(), (QStringList{"1,1:1.5", "1,2:g", "2,1:" + t, "2,2:2", "2,3:kg"}));
}

void tst_ExcelOutput::journalGrowsAcrossSessionsAndWindowsGetTheirOwn()
{
    QTemporaryDir folder;
    const QString driver = folder.filePath("Meter.tbb");
    {
        Output first(driver);
        first.output.Start();
        Window(&first.output).Receive("a\r\n");
    }
    Output again(driver);
    again.output.Start();
    Output other(driver);
    other.output.Start();
    QCOMPARE(other.output.JournalPath(), folder.filePath("Meter 2026-03-14 (2).csv"));
    Window(&again.output).Receive("b\r\n");
    Window(&other.output).Receive("c\r\n");
    QCOMPARE(Lines(again.output.JournalPath()), (QStringList{"a", "b"}));
    QCOMPARE(Lines(other.output.JournalPath()), QStringList{"c"});
}

void tst_ExcelOutput::journalMovesToTheDataFolderWhenTheDriverFolderRefuses()
{
    QTemporaryDir folder;
    Output out(folder.filePath("gone/Balance.tbb"));
    out.output.Start();
    const QString data = QStandardPaths::writableLocation(QStandardPaths::AppDataLocation);
    QCOMPARE(out.output.JournalPath(), data + "/Balance 2026-03-14.csv");
    QVERIFY(!out.messages.isEmpty());
    const QString told = out.messages.first().first().toString();
    QVERIFY2(told.contains(folder.filePath("gone/Balance 2026-03-14.csv")) &&
                 told.contains(out.output.JournalPath()),
             qPrintable(told));
    Window(&out.output).Receive("x\r\n");
    QCOMPARE(Lines(out.output.JournalPath()), QStringList{"x"});
    QFile::remove(out.output.JournalPath());
}

void tst_ExcelOutput::hungProgramAtConnectIsGivenUpAndTakenBackWhenItAnswers()
{
    QTemporaryDir folder;
    Output out(folder.filePath("Balance.tbb"));
    out.sheet->bConnectHangs = true;
    out.output.Start(2000);
    Window window(&out.output);
    QTRY_COMPARE_WITH_TIMEOUT(out.output.GetState(), CExcelOutput::Unreachable, 10000);
    QCOMPARE(out.messages.last().first().toString(),
             QStringLiteral("LibreOffice did not answer within 2 s: values go only to %1")
                 .arg(out.output.JournalPath()));
    window.Receive("while hung\r\n");
    out.sheet->Release();
    QTRY_COMPARE_WITH_TIMEOUT(out.output.GetState(), CExcelOutput::Linked, 10000);
    window.Receive("answered\r\n");
    QTRY_COMPARE_WITH_TIMEOUT(out.sheet->Cells(), QStringList{"2,1:answered"}, 10000);
    QCOMPARE(Lines(out.output.JournalPath()), (QStringList{"while hung", "answered"}));
}

void tst_ExcelOutput::lostProgramIsToldOnceAndTheJournalGoesOn()
{
    QTemporaryDir folder;
    Output out(folder.filePath("Balance.tbb"));
    out.sheet->nGoneAfter = 2;
    out.output.Start();
    Window window(&out.output);
    for (int i = 0; i < 20; ++i) {
        window.Receive(QByteArray::number(i) + "\r\n");
        QTest::qWait(2);
    }
    QTRY_COMPARE(out.output.GetState(), CExcelOutput::Lost);
    for (int i = 20; i < 30; ++i)
        window.Receive(QByteArray::number(i) + "\r\n");
    QTest::qWait(50);
    QCOMPARE(out.Told("The link to LibreOffice Calc is gone"),
             QStringList{
                 QStringLiteral(
                     "The link to LibreOffice Calc is gone (the document was closed): values go only to %1")
                     .arg(out.output.JournalPath())});
    QCOMPARE(Lines(out.output.JournalPath()).size(), 30);
    QCOMPARE(out.sheet->Cells().size(), 2);
}

void tst_ExcelOutput::programBehindIsToldOnce()
{
    QTemporaryDir folder;
    Output out(folder.filePath("Balance.tbb"));
    out.sheet->Hang();
    out.output.Start();
    QTRY_COMPARE(out.output.GetState(), CExcelOutput::Linked);
    Window window(&out.output);
    QByteArray rows;
    for (int i = 0; i < 3 * CExcelThread::DefaultMaxCells; ++i)
        rows += QByteArray::number(i) + "\r\n";
    window.Receive(rows);
    QCOMPARE(out.Told("LibreOffice Calc is not keeping up").size(), 1);
    QCOMPARE(out.messages.last().first().toString(),
             QStringLiteral("LibreOffice Calc is not keeping up: cells go only to %1 until it catches up")
                 .arg(out.output.JournalPath()));
    QCOMPARE(Lines(out.output.JournalPath()).size(), 3 * CExcelThread::DefaultMaxCells);
}

void tst_ExcelOutput::journalSurvivesAKilledProgram()
{
    QTemporaryDir folder;
    const QString driver = folder.filePath("Balance.tbb");
    const pid_t child = fork();
    QVERIFY(child >= 0);
    if (child == 0) {
        // The program: 40 rows and half a row into a hung office, all in one
        // pass; it dies before its event loop runs again.
        auto sheet = std::make_shared<CFakeSpreadsheet>();
        sheet->Hang();
        auto* output = new CExcelOutput(std::make_unique<CFakeSpreadsheetLink>(sheet), driver, Day);
        output->Start();
        Window window(output);
        QByteArray rows;
        for (int i = 1; i <= 40; ++i)
            rows += QByteArray::number(i) + "\t" + QByteArray::number(i * 0.5) + "\r\n";
        window.Pass({rows + "41\t"});
        ::kill(::getpid(), SIGKILL);
        ::_exit(1);
    }
    int status = 0;
    QCOMPARE(::waitpid(child, &status, 0), child);
    QVERIFY(WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL);
    const QStringList lines = Lines(folder.filePath("Balance 2026-03-14.csv"));
    QCOMPARE(lines.size(), 40);
    QCOMPARE(lines.first(), QStringLiteral("1,0.5"));
    QCOMPARE(lines.last(), QStringLiteral("40,20"));
}

void tst_ExcelOutput::fullDiskIsToldOnceAndCalcGoesOn()
{
    QTemporaryDir folder;
    const QString journal = folder.filePath("Balance 2026-03-14.csv");
    QVERIFY(QFile::link(QStringLiteral("/dev/full"), journal));
    Output out(folder.filePath("Balance.tbb"));
    out.output.Start();
    QTRY_COMPARE(out.output.GetState(), CExcelOutput::Linked);
    Window window(&out.output);
    window.Receive("1\t2\r\n3\r\n");
    window.Receive("4\r\n");
    QCOMPARE(out.Told("Cannot write"),
             QStringList{QStringLiteral("Cannot write %1: No space left on device; the values go only to "
                                        "LibreOffice Calc")
                             .arg(journal)});
    QTRY_COMPARE(out.sheet->Cells().size(), 4);
}

QTEST_GUILESS_MAIN(tst_ExcelOutput)
#include "tst_ExcelOutput.moc"
