// "V24 Printer" in an instrument window: the menu item and its check mark,
// the printer line's settings sheet, the status bar, and both lines flooded
// at once. The print jobs go to a private CUPS scheduler started here.

#include "../core/CupsTestServer.h"
#include "CCommPage.h"
#include "CPrinterSettingsFile.h"
#include "CPrinterSheet.h"
#include "CSettingsPage.h"
#include "InstrumentWindowFixture.h"
#include "ResourceIds.h"

class tst_V24Printer : public QObject, public CInstrumentWindowFixture
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { m_server = std::make_unique<CCupsTestServer>(); }

    void init()
    {
        InitFixture();
        m_printer = std::make_unique<CPtyPair>();
        QVERIFY(m_printer->IsOpen());
        m_printer->CloseSlave();
        CPrinterSettingsFile printer;
        printer.m_Driver.m_strName = "Balance printer";
        printer.m_Comm.m_nConnector = -1;
        printer.m_Comm.m_strConnector = m_printer->SlaveName().toLocal8Bit();
        printer.m_Terminal.m_bReceiveCRLF = 1;
        QVERIFY(printer.Store(Home(QStringLiteral("v24print.drv"))).IsOk());
    }

    void cleanup()
    {
        m_app.reset();
        for (const QString& queue : std::as_const(m_queues))
            m_server->RemoveQueue(queue);
        m_queues.clear();
        m_printer.reset();
        CleanupFixture();
    }

    void itemInExtrasTogglesWithCheckMark()
    {
        RequireScheduler();
        AddQueue(QStringLiteral("Epson_LQ-570"));
        COrvalisView* view = Start();
        QVERIFY(view);
        QVERIFY(!Item()->isChecked());
        // Probing the printer opened no job.
        QVERIFY(m_server->Jobs(QStringLiteral("Epson_LQ-570")).isEmpty());

        QVERIFY(Frame()->RouteCommand(ID_V24_PRINTER));
        CPrinterForwarding& forwarding = view->V24Printer().Forwarding();
        QVERIFY(Item()->isChecked());
        const int jobId = forwarding.Printer()->GetJobId();

        QVERIFY(m_printer->WriteMaster("A\rB"));
        QTRY_COMPARE(forwarding.PrinterBytes(), QByteArray("A\r\nB"));

        QVERIFY(Frame()->RouteCommand(ID_V24_PRINTER));
        QVERIFY(!Item()->isChecked());
        QVERIFY(forwarding.PrinterComm() == nullptr);
        QVERIFY(m_server->WaitForCompletedJob(QStringLiteral("Epson_LQ-570"), jobId));
        QCOMPARE(m_server->QueueFileBytes(QStringLiteral("Epson_LQ-570")), QByteArray("A\r\nB"));
        QVERIFY(view->m_comm.IsPortOpen());
    }

    void refusedJobToldOnceAndBytesCollected()
    {
        RequireScheduler();
        AddQueue(QStringLiteral("Epson_LQ-570"));
        COrvalisView* view = Start();
        QVERIFY(view);
        QVERIFY(m_server->RejectJobs(QStringLiteral("Epson_LQ-570")));
        QVERIFY(Frame()->RouteCommand(ID_V24_PRINTER));
        QVERIFY2(StatusText().startsWith(QStringLiteral(
                     "V24 Printer: nothing is printed: \"Epson_LQ-570\" refused the print job")),
                 qPrintable(StatusText()));

        Frame()->SetPaneText(CMainFrame::PaneMessage, QStringLiteral("other news"));
        QVERIFY(m_printer->WriteMaster("A\rB"));
        QTRY_COMPARE(view->V24Printer().Forwarding().PrinterBytes(), QByteArray("A\r\nB"));
        QCOMPARE(StatusText(), QStringLiteral("other news"));
    }

    void settingsSheetWritesTheFileTheLineTakesItDamagedFileKept()
    {
        COrvalisView* view = Start("V24AnyRawPrinter=1\n");
        QVERIFY(view);
        QFile file(Home(QStringLiteral("v24print.drv")));

        // Forwarding on (no printer here: the bytes are only collected).
        view->OnV24Printer();
        QVERIFY(view->V24Printer().IsOn());
        QString shownConnector;
        m_dialogs->m_onExec = [&shownConnector](QDialog& dialog) {
            auto* sheet = qobject_cast<CPrinterSheet*>(&dialog);
            CCommParameter comm;
            sheet->m_pCommPage->GetParameters(comm);
            shownConnector = QString::fromLocal8Bit(comm.GetConnector());
            sheet->m_pSettingsPage->m_pReceiveCRLF->setChecked(false);
            return int(QDialog::Accepted);
        };
        QVERIFY(Frame()->RouteCommand(ID_V24_PRINTER_SETTINGS));
        QCOMPARE(shownConnector, m_printer->SlaveName());

        CPrinterSettingsFile stored;
        QVERIFY(stored.Load(Home(QStringLiteral("v24print.drv"))).IsOk());
        QCOMPARE(stored.m_Terminal.m_bReceiveCRLF, 0);
        QCOMPARE(stored.m_Comm.GetConnector(), m_printer->SlaveName().toLocal8Bit());
        // The line open now was reopened with the new settings.
        QVERIFY(view->V24Printer().Forwarding().PrinterComm()->IsPortOpen());
        QVERIFY(m_printer->WriteMaster("A\rB"));
        QTRY_COMPARE(view->V24Printer().Forwarding().PrinterBytes(), QByteArray("A\rB"));

        // A damaged file is named, and neither shown nor written over.
        const QByteArray damaged = ReadFile(file.fileName()).left(3);
        QVERIFY(WriteFile(file.fileName(), damaged));
        m_dialogs->m_messages.clear();
        QVERIFY(Frame()->RouteCommand(ID_V24_PRINTER_SETTINGS));
        QCOMPARE(m_dialogs->m_nExecCalls, 1);
        QCOMPARE(m_dialogs->m_messages.size(), 1);
        QVERIFY2(m_dialogs->m_messages.front().contains(QStringLiteral("v24print.drv")),
                 qPrintable(m_dialogs->m_messages.front()));
        QCOMPARE(ReadFile(file.fileName()), damaged);
    }

    void bothLinesFloodedLoseNothing()
    {
        RequireScheduler();
        AddQueue(QStringLiteral("Epson_LQ-570"));
        COrvalisView* view = Start();
        QVERIFY(view);
        QVERIFY(Frame()->RouteCommand(ID_V24_PRINTER));
        CPrinterForwarding& forwarding = view->V24Printer().Forwarding();
        const int jobId = forwarding.Printer()->GetJobId();

        // Lines of text on both, all bytes told apart by their position.
        QByteArray instrumentStream;
        QByteArray printerStream;
        for (int i = 0; instrumentStream.size() < 1024 * 1024; ++i)
            instrumentStream += QByteArray::number(i).rightJustified(8, '0') + " g\r\n";
        for (int i = 0; printerStream.size() < 1024 * 1024; ++i)
            printerStream += "Line " + QByteArray::number(i).rightJustified(8, '0') + '\r';
        QByteArray printed = printerStream;
        printed.replace("\r", "\r\n");

        bool instrumentSent = false;
        bool printerSent = false;
        std::thread instrumentWriter([&] { instrumentSent = m_pty->WriteMaster(instrumentStream, 60000); });
        std::thread printerWriter([&] { printerSent = m_printer->WriteMaster(printerStream, 60000); });
        const bool arrived = QTest::qWaitFor(
            [&] {
                return view->Pipeline().TotalBytes() >= instrumentStream.size() &&
                       forwarding.PrinterBytes().size() >= printed.size();
            },
            60000);
        instrumentWriter.join();
        printerWriter.join();
        QVERIFY(instrumentSent && printerSent);
        QVERIFY(arrived);
        QCOMPARE(view->Pipeline().TotalBytes(), qint64(instrumentStream.size()));
        QVERIFY(forwarding.PrinterBytes() == printed);

        QVERIFY(Frame()->RouteCommand(ID_V24_PRINTER));
        QVERIFY(m_server->WaitForCompletedJob(QStringLiteral("Epson_LQ-570"), jobId, 30000));
        QVERIFY(m_server->QueueFileBytes(QStringLiteral("Epson_LQ-570")) == printed);
    }

private:
    COrvalisView* Start(const QByteArray& profile = {});
    void AddQueue(const QString& name)
    {
        QVERIFY(m_server->AddQueue(name));
        m_queues.append(name);
    }
    void RequireScheduler()
    {
        if (!m_server->IsRunning())
            QSKIP(qPrintable(QStringLiteral("no private CUPS scheduler: ") + m_server->SkipReason()));
    }
    QAction* Item() const { return Frame()->MenuItem(4, ID_V24_PRINTER); }

    std::unique_ptr<CCupsTestServer> m_server;
    std::unique_ptr<CPtyPair> m_printer;
    QStringList m_queues;
};

COrvalisView* tst_V24Printer::Start(const QByteArray& profile)
{
    return CInstrumentWindowFixture::Start(PlainDriver(m_pty->SlaveName()), "[Settings]\n" + profile);
}

QTEST_MAIN(tst_V24Printer)
#include "tst_V24Printer.moc"
