// The "V24 Printer" forwarding on pseudo-terminals: the printer line's
// settings file, the printer buffer, the print job on a private CUPS
// scheduler (the Epson rule, bytes in the file, refused jobs, no printer),
// and a printer line that fails beside an instrument line.

#include "CComm.h"
#include "CCommEvent.h"
#include "CCommPrinter.h"
#include "CPrinterForwarding.h"
#include "CupsTestServer.h"
#include "PtyPair.h"
#include "TestIncludes.h"

namespace {

// Stands for the instrument window: reads its own line and acknowledges.
class CInstrumentOwner : public QObject
{
public:
    explicit CInstrumentOwner(CComm& comm) : m_comm(comm) { m_comm.Create(this); }
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
    void initTestCase()
    {
        // Without it, the tests that need no printer still run; no job anywhere.
        m_server = std::make_unique<CCupsTestServer>();
        if (!m_server->IsRunning())
            qputenv("CUPS_SERVER", "/nonexistent/cups.sock");
    }

    void init()
    {
        m_folder = std::make_unique<QTemporaryDir>();
        m_printer = std::make_unique<CPtyPair>();
        QVERIFY(m_printer->IsOpen());
    }

    void cleanup()
    {
        for (const QString& queue : std::as_const(m_queues))
            m_server->RemoveQueue(queue);
        m_queues.clear();
        m_printer.reset();
    }

    // Without a printer: told once, the bytes written one at a time are collected.
    void printerBuffer()
    {
        const struct
        {
            bool receiveCrLf;
            QByteArray stream, buffer;
        } rows[] = {
            {true, "\r\r\n", "\r\n\r\n\n"}, // every CR, also before an LF
            {false, "A\rB", "A\rB"},
            {true, QByteArray("\0\xff\x1b@", 4), QByteArray("\0\xff\x1b@", 4)}, // NUL and high bytes kept
        };
        for (const auto& row : rows) {
            CPrinterForwarding forwarding;
            QSignalSpy problems(&forwarding, &CPrinterForwarding::problem);
            forwarding.SwitchOn(Settings(m_printer->SlaveName().toLocal8Bit(), row.receiveCrLf), {});
            for (const char byte : row.stream)
                QVERIFY(m_printer->WriteMaster(QByteArray(1, byte)));
            QTRY_COMPARE_WITH_TIMEOUT(forwarding.PrinterBytes(), row.buffer, 5000);
            QCOMPARE(problems.size(), 1);
            QVERIFY2(problems.front().front().toString().startsWith(
                         QStringLiteral("V24 Printer: nothing is printed: there is no default printer")),
                     qPrintable(problems.front().front().toString()));
        }
    }

    void printerLineThatCannotOpenIsTold()
    {
        CPrinterForwarding forwarding;
        QSignalSpy problems(&forwarding, &CPrinterForwarding::problem);
        forwarding.SwitchOn(Settings("/dev/orvalis-no-such-printer-line", true), {});
        QVERIFY(forwarding.IsOn());
        QVERIFY(!forwarding.PrinterComm()->IsPortOpen());
        QCOMPARE(problems.size(), 1);
        const QString text = problems.front().front().toString();
        QVERIFY2(text.startsWith(QStringLiteral(
                     "V24 Printer: no printer line: Cannot open /dev/orvalis-no-such-printer-line")),
                 qPrintable(text));
        forwarding.SwitchOff();
        QVERIFY(forwarding.PrinterComm() == nullptr);
    }

    void lostPrinterLineLeavesInstrumentLine()
    {
        CPtyPair instrumentPty;
        CComm instrument;
        CInstrumentOwner owner(instrument);
        CCommParameter line;
        line.m_strConnector = instrumentPty.SlaveName().toLocal8Bit();
        line.m_nConnector = -1;
        QVERIFY(instrument.OpenPort(line));

        CPrinterForwarding forwarding;
        forwarding.SwitchOn(Settings(m_printer->SlaveName().toLocal8Bit(), true), {});
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

    // The print job of the printer object itself: open and waiting for its
    // document while forwarding is on, ended with the printer object (cancelled
    // without bytes).
    void epsonRule()
    {
        RequireScheduler();
        const struct
        {
            QString queue; // none: no default printer
            bool job;
            QString problem;
        } rows[] = {
            // Queue names have no spaces: "EPSON LQ-570" is "EPSON_LQ-570".
            {"EPSON_LQ-570", false, "the default printer \"EPSON_LQ-570\" is not an Epson printer"},
            {"Epson_LQ-570", true, {}},
            {"Lab-Epson-FX", true, {}},
            {{}, false, "there is no default printer"},
        };
        for (const auto& row : rows) {
            if (!row.queue.isEmpty())
                AddQueue(row.queue);
            const CCommPrinter::Options options;
            const CCommPrinter::Check check = CCommPrinter::CheckDefaultPrinter(options);
            QCOMPARE(check.strPrinterName, row.queue);
            QCOMPARE(check.bSuits, row.job);
            int jobId = 0;
            {
                CCommPrinter printer(options);
                QCOMPARE(printer.IsJobOpen(), row.job);
                QVERIFY2(printer.Problem().startsWith(row.problem), qPrintable(printer.Problem()));
                jobId = printer.GetJobId();
                if (row.job) {
                    QCOMPARE(Job(row.queue, jobId).title, QStringLiteral("My Document"));
                    QVERIFY(Job(row.queue, jobId).state < IPP_JSTATE_CANCELED);
                }
            }
            if (row.job)
                QCOMPARE(Job(row.queue, jobId).state, int(IPP_JSTATE_CANCELED));
            cleanup();
        }
    }

    void bytesReachTheFileUnchangedWhenTheJobEnds()
    {
        RequireScheduler();
        AddQueue(QStringLiteral("Epson_FX-80"));
        QByteArray all;
        for (int i = 0; i < 256; ++i)
            all += char(i);
        const QList<QByteArray> writes{"A\r\nB", all, QByteArray(100000, 'x'), QByteArray(1, '\0'),
                                       "\x1b@\f"};

        CCommPrinter printer;
        QVERIFY(printer.IsJobOpen());
        QByteArray expected;
        for (const QByteArray& bytes : writes) {
            QVERIFY(printer.Write(bytes));
            expected += bytes;
        }
        QVERIFY(printer.Finish());
        QVERIFY(!printer.Write("late"));
        QVERIFY(m_server->WaitForCompletedJob(QStringLiteral("Epson_FX-80"), printer.GetJobId()));
        QCOMPARE(m_server->QueueFileBytes(QStringLiteral("Epson_FX-80")), expected);
        QCOMPARE(Job(QStringLiteral("Epson_FX-80"), printer.GetJobId()).format,
                 QStringLiteral("application/vnd.cups-raw"));
    }

    void unreachableSchedulerFailsInBoundedTime()
    {
        RequireScheduler();
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

private:
    // Writes the printer line's settings file and gives its path.
    QString Settings(const QByteArray& connector, bool receiveCrLf);
    QString SettingsPath() const { return m_folder->filePath(QStringLiteral("v24print.drv")); }
    void AddQueue(const QString& name)
    {
        QVERIFY(m_server->AddQueue(name));
        m_queues.append(name);
    }
    CCupsTestServer::Job Job(const QString& queue, int id) const
    {
        for (const CCupsTestServer::Job& job : m_server->Jobs(queue)) {
            if (job.id == id)
                return job;
        }
        return {};
    }
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

QString tst_PrinterForwarding::Settings(const QByteArray& connector, bool receiveCrLf)
{
    CPrinterSettingsFile file;
    file.m_Driver.m_strName = "Printer line";
    file.m_Comm.m_strConnector = connector;
    file.m_Comm.m_nConnector = -1;
    file.m_Comm.m_nBaudRate = 9600;
    file.m_Terminal.m_bReceiveCRLF = receiveCrLf ? 1 : 0;
    return file.Store(SettingsPath()).IsOk() ? SettingsPath() : QStringLiteral("<not written>");
}

QTEST_GUILESS_MAIN(tst_PrinterForwarding)
#include "tst_PrinterForwarding.moc"
