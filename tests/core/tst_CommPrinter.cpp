// Print jobs of the serial printer against a private CUPS scheduler whose
// queues print into files.

#include "CCommPrinter.h"
#include "CupsTestServer.h"

#include <QElapsedTimer>
#include <QTest>

class tst_CommPrinter : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void cleanup();

    void epsonRule_data();
    void epsonRule();
    void jobWithoutBytesIsCancelled();
    void bytesReachTheFileUnchangedWhenTheJobEnds();
    void anyRawPrinterLiftsTheRule();
    void refusedJobCollectsNothingOnThePrinter();
    void noDefaultPrinter();
    void unreachableSchedulerFailsInBoundedTime();

private:
    QStringList m_queues;
    void AddQueue(const QString& name)
    {
        QVERIFY(m_server->AddQueue(name));
        m_queues.append(name);
    }
    std::unique_ptr<CCupsTestServer> m_server;
};

void tst_CommPrinter::initTestCase()
{
    m_server = std::make_unique<CCupsTestServer>();
    if (!m_server->IsRunning())
        QSKIP(qPrintable(QStringLiteral("no private CUPS scheduler: ") + m_server->SkipReason()));
}

void tst_CommPrinter::cleanup()
{
    for (const QString& queue : std::as_const(m_queues))
        m_server->RemoveQueue(queue);
    m_queues.clear();
}

void tst_CommPrinter::epsonRule_data()
{
    QTest::addColumn<QString>("queue");
    QTest::addColumn<bool>("job");
    // Queue names have no spaces: "EPSON LQ-570" is "EPSON_LQ-570".
    QTest::newRow("EPSON in capitals is no Epson") << "EPSON_LQ-570" << false;
    QTest::newRow("Epson gets a job") << "Epson_LQ-570" << true;
    QTest::newRow("Epson inside the name") << "Lab-Epson-FX" << true;
    QTest::newRow("other printer") << "HP_LaserJet" << false;
}

void tst_CommPrinter::epsonRule()
{
    QFETCH(QString, queue);
    QFETCH(bool, job);
    AddQueue(queue);

    const CCommPrinter::Check check = CCommPrinter::CheckDefaultPrinter({});
    QCOMPARE(check.strPrinterName, queue);
    QCOMPARE(check.bSuits, job);

    {
        CCommPrinter printer;
        QCOMPARE(printer.GetPrinterName(), queue);
        QCOMPARE(printer.IsJobOpen(), job);
        QCOMPARE(printer.GetEpsonFlag(), job ? 1 : 0);
        const QList<CCupsTestServer::Job> jobs = m_server->Jobs(queue);
        if (!job) {
            QVERIFY(jobs.isEmpty());
            QCOMPARE(printer.Problem(), QStringLiteral("the default printer \"%1\" is not an Epson printer").arg(queue));
            return;
        }
        // Open and waiting for its document while forwarding is on.
        QCOMPARE(jobs.size(), 1);
        QCOMPARE(jobs.front().id, printer.GetJobId());
        QCOMPARE(jobs.front().title, QStringLiteral("My Document"));
        QVERIFY(jobs.front().state < IPP_JSTATE_CANCELED);
        QVERIFY(printer.Problem().isEmpty());
        QVERIFY(printer.Write("x"));
    }
    // Ended with the printer object.
    const QList<CCupsTestServer::Job> jobs = m_server->Jobs(queue);
    QCOMPARE(jobs.size(), 1);
    QVERIFY(m_server->WaitForCompletedJob(queue, jobs.front().id));
    QCOMPARE(jobs.front().format, QStringLiteral("application/vnd.cups-raw"));
    QCOMPARE(m_server->QueueFileBytes(queue), QByteArray("x"));
}

void tst_CommPrinter::jobWithoutBytesIsCancelled()
{
    AddQueue(QStringLiteral("Epson_LQ-570"));
    int jobId = 0;
    {
        CCommPrinter printer;
        QVERIFY(printer.IsJobOpen());
        jobId = printer.GetJobId();
    }
    const QList<CCupsTestServer::Job> jobs = m_server->Jobs(QStringLiteral("Epson_LQ-570"));
    QCOMPARE(jobs.size(), 1);
    QCOMPARE(jobs.front().id, jobId);
    QCOMPARE(jobs.front().state, int(IPP_JSTATE_CANCELED));
}

void tst_CommPrinter::bytesReachTheFileUnchangedWhenTheJobEnds()
{
    AddQueue(QStringLiteral("Epson_FX-80"));
    QByteArray all;
    for (int i = 0; i < 256; ++i)
        all += char(i);
    const QList<QByteArray> writes{"A\r\nB", all, QByteArray(100000, 'x'), QByteArray(1, '\0'), "\x1b@\f"};

    CCommPrinter printer;
    QVERIFY(printer.IsJobOpen());
    QByteArray expected;
    for (const QByteArray& bytes : writes) {
        QVERIFY(printer.Write(bytes));
        expected += bytes;
    }
    QVERIFY(printer.Finish());
    QVERIFY(!printer.IsJobOpen());
    QVERIFY(!printer.Write("late"));
    QVERIFY(m_server->WaitForCompletedJob(QStringLiteral("Epson_FX-80"), printer.GetJobId()));
    QCOMPARE(m_server->QueueFileBytes(QStringLiteral("Epson_FX-80")), expected);
}

void tst_CommPrinter::anyRawPrinterLiftsTheRule()
{
    AddQueue(QStringLiteral("HP_LaserJet"));
    CCommPrinter::Options any;
    any.bAnyRawPrinter = true;
    QVERIFY(CCommPrinter::CheckDefaultPrinter(any).bSuits);

    CCommPrinter printer(any);
    QVERIFY(printer.IsJobOpen());
    QCOMPARE(printer.GetEpsonFlag(), 1);
    QVERIFY(printer.Write("P\r\n"));
    QVERIFY(printer.Finish());
    QVERIFY(m_server->WaitForCompletedJob(QStringLiteral("HP_LaserJet"), printer.GetJobId()));
    QCOMPARE(m_server->QueueFileBytes(QStringLiteral("HP_LaserJet")), QByteArray("P\r\n"));
}

void tst_CommPrinter::refusedJobCollectsNothingOnThePrinter()
{
    AddQueue(QStringLiteral("Epson_LQ-570"));
    QVERIFY(m_server->RejectJobs(QStringLiteral("Epson_LQ-570")));

    CCommPrinter printer;
    QVERIFY(!printer.IsJobOpen());
    QCOMPARE(printer.GetEpsonFlag(), 1);
    QVERIFY2(printer.Problem().startsWith(QStringLiteral("\"Epson_LQ-570\" refused the print job: ")),
             qPrintable(printer.Problem()));
    QVERIFY(!printer.Write("A"));
    QVERIFY(m_server->Jobs(QStringLiteral("Epson_LQ-570")).isEmpty());
}

void tst_CommPrinter::noDefaultPrinter()
{
    CCommPrinter printer;
    QVERIFY(!printer.IsJobOpen());
    QVERIFY(printer.GetPrinterName().isEmpty());
    QCOMPARE(printer.GetEpsonFlag(), 0);
    QVERIFY2(printer.Problem().startsWith(QStringLiteral("there is no default printer")), qPrintable(printer.Problem()));
    QVERIFY(!CCommPrinter::CheckDefaultPrinter({}).bSuits);
}

void tst_CommPrinter::unreachableSchedulerFailsInBoundedTime()
{
    const QByteArray server = qgetenv("CUPS_SERVER");
    qputenv("CUPS_SERVER", m_server->FilePath(QStringLiteral("nobody-listens.sock")).toLocal8Bit());
    cupsSetServer(nullptr);
    QElapsedTimer timer;
    timer.start();
    const CCommPrinter printer;
    const qint64 elapsed = timer.elapsed();
    qputenv("CUPS_SERVER", server);
    cupsSetServer(nullptr);

    QVERIFY(!printer.IsJobOpen());
    QVERIFY2(printer.Problem().contains(QStringLiteral("cannot reach the printing system at ")),
             qPrintable(printer.Problem()));
    QVERIFY(elapsed < 6000);
}

QTEST_GUILESS_MAIN(tst_CommPrinter)
#include "tst_CommPrinter.moc"
