// The "V24 Printer" forwarding on pseudo-terminals: the printer line's
// settings file, the printer buffer, its print job on a private CUPS
// scheduler, and a printer line that fails beside an instrument line.

#include "CComm.h"
#include "CCommEvent.h"
#include "CPrinterForwarding.h"
#include "CupsTestServer.h"
#include "PtyPair.h"

#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

namespace {

// Stands for the instrument window: reads its own line and acknowledges.
class CInstrumentOwner : public QObject
{
public:
    explicit CInstrumentOwner(CComm& comm)
        : m_comm(comm)
    {
        m_comm.Create(this);
    }
    bool event(QEvent* event) override
    {
        if (event->type() != CCommEvent::ComMessage())
            return QObject::event(event);
        const auto* message = static_cast<CCommEvent*>(event);
        if (!m_comm.IsFrom(*message))
            return true;
        if (message->lParam() & CCommEvent::DataReceived)
            received += m_comm.GetInput();
        m_comm.Acknowledge();
        return true;
    }
    QByteArray received;

private:
    CComm& m_comm;
};

} // namespace

class tst_PrinterForwarding : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanup();

    void printerBuffer_data();
    void printerBuffer();
    void missingSettingsFileKeepsTheRecords();
    void toggledTwiceLeavesNothingOpen();
    void printerLineThatCannotOpenIsTold();
    void lostPrinterLineLeavesInstrumentLine();
    void streamReachesThePrinterFileWithCrLf();
    void epsonRuleDecidesTheJob_data();
    void epsonRuleDecidesTheJob();
    void noPrinterToldOnceAndBytesCollected();

private:
    void WriteSettings(const QByteArray& connector, bool receiveCrLf);
    QString SettingsPath() const { return m_folder->filePath(QStringLiteral("v24print.drv")); }
    void RequireScheduler()
    {
        if (!m_server->IsRunning())
            QSKIP(qPrintable(QStringLiteral("no private CUPS scheduler: ") + m_server->SkipReason()));
    }

    std::unique_ptr<CCupsTestServer> m_server;
    std::unique_ptr<QTemporaryDir> m_folder;
    std::unique_ptr<CPtyPair> m_printer;
    QStringList m_queues;
};

void tst_PrinterForwarding::initTestCase()
{
    // Without it, the tests that need no printer still run; no job anywhere.
    m_server = std::make_unique<CCupsTestServer>();
    if (!m_server->IsRunning())
        qputenv("CUPS_SERVER", "/nonexistent/cups.sock");
}

void tst_PrinterForwarding::init()
{
    m_folder = std::make_unique<QTemporaryDir>();
    m_printer = std::make_unique<CPtyPair>();
    QVERIFY(m_printer->IsOpen());
}

void tst_PrinterForwarding::cleanup()
{
    for (const QString& queue : std::as_const(m_queues))
        m_server->RemoveQueue(queue);
    m_queues.clear();
    m_printer.reset();
}

void tst_PrinterForwarding::WriteSettings(const QByteArray& connector, bool receiveCrLf)
{
    CPrinterSettingsFile file;
    file.m_Driver.m_strName = "Printer line";
    file.m_Comm.m_strConnector = connector;
    file.m_Comm.m_nConnector = -1;
    file.m_Comm.m_nBaudRate = 9600;
    file.m_Terminal.m_bReceiveCRLF = receiveCrLf ? 1 : 0;
    QVERIFY(file.Store(SettingsPath()).IsOk());
}

void tst_PrinterForwarding::printerBuffer_data()
{
    QTest::addColumn<bool>("receiveCrLf");
    QTest::addColumn<QByteArray>("stream");
    QTest::addColumn<QByteArray>("buffer");
    QTest::newRow("CR gains LF") << true << QByteArray("A\rB") << QByteArray("A\r\nB");
    QTest::newRow("every CR, also before an LF") << true << QByteArray("\r\r\n") << QByteArray("\r\n\r\n\n");
    QTest::newRow("CR stays alone without the option") << false << QByteArray("A\rB") << QByteArray("A\rB");
    QTest::newRow("NUL and high bytes kept") << true << QByteArray("\0\xff\x1b@", 4) << QByteArray("\0\xff\x1b@", 4);
}

void tst_PrinterForwarding::printerBuffer()
{
    QFETCH(bool, receiveCrLf);
    QFETCH(QByteArray, stream);
    QFETCH(QByteArray, buffer);
    WriteSettings(m_printer->SlaveName().toLocal8Bit(), receiveCrLf);

    CPrinterForwarding forwarding;
    forwarding.SwitchOn(SettingsPath(), {});
    QVERIFY(forwarding.IsOn());
    QVERIFY(forwarding.PrinterComm()->IsPortOpen());
    QCOMPARE(forwarding.Settings().m_Driver.m_strName, QByteArray("Printer line"));
    QVERIFY(m_printer->WriteMaster(stream));
    QTRY_COMPARE_WITH_TIMEOUT(forwarding.PrinterBytes(), buffer, 5000);
}

void tst_PrinterForwarding::missingSettingsFileKeepsTheRecords()
{
    CPrinterForwarding forwarding;
    forwarding.Settings().m_Comm.m_strConnector = m_printer->SlaveName().toLocal8Bit();
    forwarding.Settings().m_Comm.m_nConnector = -1;
    QSignalSpy problems(&forwarding, &CPrinterForwarding::problem);
    forwarding.SwitchOn(m_folder->filePath(QStringLiteral("missing.drv")), {});
    QVERIFY(forwarding.PrinterComm()->IsPortOpen());
    // No word about the file: only the missing printer is told.
    QCOMPARE(problems.size(), 1);
    QVERIFY(!problems.front().front().toString().contains(QStringLiteral("missing.drv")));
    QVERIFY(m_printer->WriteMaster("P\r"));
    QTRY_COMPARE_WITH_TIMEOUT(forwarding.PrinterBytes(), QByteArray("P\r\n"), 5000);
}

void tst_PrinterForwarding::toggledTwiceLeavesNothingOpen()
{
    WriteSettings(m_printer->SlaveName().toLocal8Bit(), true);
    CPrinterForwarding forwarding;
    for (int round = 0; round < 2; ++round) {
        forwarding.SwitchOn(SettingsPath(), {});
        QVERIFY(forwarding.PrinterComm() != nullptr);
        QVERIFY(forwarding.Printer() != nullptr);
        forwarding.SwitchOff();
        QVERIFY(!forwarding.IsOn());
        QVERIFY(forwarding.PrinterComm() == nullptr);
        QVERIFY(forwarding.Printer() == nullptr);
    }
    // The line is closed: the other end sees the hang-up.
    pollfd p{m_printer->Master(), POLLIN, 0};
    m_printer->CloseSlave();
    QCOMPARE(::poll(&p, 1, 1000), 1);
    QVERIFY(p.revents & POLLHUP);
}

void tst_PrinterForwarding::printerLineThatCannotOpenIsTold()
{
    WriteSettings("/dev/orvalis-no-such-printer-line", true);
    CPrinterForwarding forwarding;
    QSignalSpy problems(&forwarding, &CPrinterForwarding::problem);
    forwarding.SwitchOn(SettingsPath(), {});
    QVERIFY(forwarding.IsOn());
    QVERIFY(!forwarding.PrinterComm()->IsPortOpen());
    QCOMPARE(problems.size(), 1);
    const QString text = problems.front().front().toString();
    QVERIFY2(text.startsWith(QStringLiteral("V24 Printer: no printer line: Cannot open /dev/orvalis-no-such-printer-line")),
             qPrintable(text));
    forwarding.SwitchOff();
    QVERIFY(forwarding.PrinterComm() == nullptr);
}

void tst_PrinterForwarding::lostPrinterLineLeavesInstrumentLine()
{
    CPtyPair instrumentPty;
    CComm instrument;
    CInstrumentOwner owner(instrument);
    CCommParameter line;
    line.m_strConnector = instrumentPty.SlaveName().toLocal8Bit();
    line.m_nConnector = -1;
    QVERIFY(instrument.OpenPort(line));

    WriteSettings(m_printer->SlaveName().toLocal8Bit(), true);
    CPrinterForwarding forwarding;
    forwarding.SwitchOn(SettingsPath(), {});
    QSignalSpy problems(&forwarding, &CPrinterForwarding::problem);
    QVERIFY(m_printer->WriteMaster("before"));
    QTRY_COMPARE_WITH_TIMEOUT(forwarding.PrinterBytes(), QByteArray("before"), 5000);
    m_printer->CloseMaster();
    QTRY_VERIFY_WITH_TIMEOUT(!forwarding.PrinterComm()->IsPortOpen(), 5000);
    QCOMPARE(problems.size(), 1);
    QVERIFY2(problems.front().front().toString().contains(QStringLiteral("lost")),
             qPrintable(problems.front().front().toString()));

    QVERIFY(instrument.IsPortOpen());
    QVERIFY(instrumentPty.WriteMaster("still here"));
    QTRY_COMPARE_WITH_TIMEOUT(owner.received, QByteArray("still here"), 5000);
    QCOMPARE(forwarding.PrinterBytes(), QByteArray("before"));
    forwarding.SwitchOff();
}

void tst_PrinterForwarding::streamReachesThePrinterFileWithCrLf()
{
    RequireScheduler();
    QVERIFY(m_server->AddQueue(QStringLiteral("Epson_LQ-570")));
    m_queues.append(QStringLiteral("Epson_LQ-570"));
    WriteSettings(m_printer->SlaveName().toLocal8Bit(), true);

    CPrinterForwarding forwarding;
    QSignalSpy problems(&forwarding, &CPrinterForwarding::problem);
    forwarding.SwitchOn(SettingsPath(), {});
    QVERIFY(forwarding.Printer()->IsJobOpen());
    const int jobId = forwarding.Printer()->GetJobId();
    // One byte at a time: each is written into the job as it arrives.
    for (const char byte : QByteArray("A\rB")) {
        const qint64 before = forwarding.Printer()->BytesWritten();
        QVERIFY(m_printer->WriteMaster(QByteArray(1, byte)));
        QTRY_VERIFY_WITH_TIMEOUT(forwarding.Printer()->BytesWritten() > before, 5000);
    }
    QCOMPARE(forwarding.Printer()->BytesWritten(), 4);
    forwarding.SwitchOff();
    QVERIFY(m_server->WaitForCompletedJob(QStringLiteral("Epson_LQ-570"), jobId));
    QCOMPARE(m_server->QueueFileBytes(QStringLiteral("Epson_LQ-570")), QByteArray("A\r\nB"));
    QCOMPARE(problems.size(), 0);
}

void tst_PrinterForwarding::epsonRuleDecidesTheJob_data()
{
    QTest::addColumn<QString>("queue");
    QTest::addColumn<bool>("job");
    QTest::newRow("EPSON LQ-570 gets no job") << "EPSON_LQ-570" << false;
    QTest::newRow("Epson LQ-570 gets one") << "Epson_LQ-570" << true;
}

void tst_PrinterForwarding::epsonRuleDecidesTheJob()
{
    QFETCH(QString, queue);
    QFETCH(bool, job);
    RequireScheduler();
    QVERIFY(m_server->AddQueue(queue));
    m_queues.append(queue);
    WriteSettings(m_printer->SlaveName().toLocal8Bit(), true);

    CPrinterForwarding forwarding;
    QSignalSpy problems(&forwarding, &CPrinterForwarding::problem);
    forwarding.SwitchOn(SettingsPath(), {});
    QCOMPARE(forwarding.Printer()->IsJobOpen(), job);
    QCOMPARE(m_server->Jobs(queue).size(), job ? 1 : 0);
    QCOMPARE(problems.size(), job ? 0 : 1);
    QVERIFY(m_printer->WriteMaster("X"));
    QTRY_COMPARE_WITH_TIMEOUT(forwarding.PrinterBytes(), QByteArray("X"), 5000);
    forwarding.SwitchOff();
    const QList<CCupsTestServer::Job> jobs = m_server->Jobs(queue);
    QCOMPARE(jobs.size(), job ? 1 : 0);
    if (job) {
        QVERIFY(m_server->WaitForCompletedJob(queue, jobs.front().id));
        QCOMPARE(m_server->QueueFileBytes(queue), QByteArray("X"));
    }
}

void tst_PrinterForwarding::noPrinterToldOnceAndBytesCollected()
{
    WriteSettings(m_printer->SlaveName().toLocal8Bit(), false);
    CPrinterForwarding forwarding;
    QSignalSpy problems(&forwarding, &CPrinterForwarding::problem);
    forwarding.SwitchOn(SettingsPath(), {});
    QVERIFY(!forwarding.Printer()->IsJobOpen());
    for (int i = 0; i < 3; ++i)
        QVERIFY(m_printer->WriteMaster("line\r"));
    QTRY_COMPARE_WITH_TIMEOUT(forwarding.PrinterBytes(), QByteArray("line\rline\rline\r"), 5000);
    QCOMPARE(problems.size(), 1);
    QVERIFY2(problems.front().front().toString().startsWith(
                 QStringLiteral("V24 Printer: nothing is printed: there is no default printer")),
             qPrintable(problems.front().front().toString()));
}

QTEST_GUILESS_MAIN(tst_PrinterForwarding)
#include "tst_PrinterForwarding.moc"
