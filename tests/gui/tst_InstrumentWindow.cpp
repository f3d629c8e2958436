// The instrument window end to end: the program is started with /D on a
// driver whose connector is the slave end of a pseudo-terminal, and the test
// plays the instrument on the master end.

#include "../core/PipelineFakes.h"
#include "CCommGeneralPage.h"
#include "CCommPage.h"
#include "CFunctionKeyBar.h"
#include "CFunctionKeysPage.h"
#include "CInstrumentSheet.h"
#include "CScriptPage.h"
#include "CSerialNumberRecord.h"
#include "CSettingsPage.h"
#include "FrameworkIds.h"
#include "InstrumentWindowFixture.h"
#include "ResourceIds.h"

#include <QAbstractItemView>
#include <QInputDialog>
#include <QPrinter>
#include <QProgressBar>

#include <termios.h>

namespace {

// Reads the master end on a thread of its own, so a long transfer never
// waits for room on the line while the test waits for the window.
class CMasterReader
{
public:
    explicit CMasterReader(int master) : m_thread([this, master] { Run(master); }) {}
    ~CMasterReader()
    {
        m_bStop = true;
        m_thread.join();
    }
    QByteArray Bytes() const
    {
        std::lock_guard lock(m_mutex);
        return m_bytes;
    }

private:
    void Run(int master)
    {
        while (!m_bStop) {
            char buffer[4096];
            const ssize_t n = ::read(master, buffer, sizeof buffer);
            if (n > 0) {
                std::lock_guard lock(m_mutex);
                m_bytes.append(buffer, n);
            } else {
                pollfd p{master, POLLIN, 0};
                ::poll(&p, 1, 10);
            }
        }
    }

    mutable std::mutex m_mutex;
    QByteArray m_bytes;
    std::atomic<bool> m_bStop{false};
    std::thread m_thread;
};

} // namespace

class tst_InstrumentWindow : public QObject, public CInstrumentWindowFixture
{
    Q_OBJECT

private Q_SLOTS:
    void init() { InitFixture(); }

    void cleanup() { CleanupFixture(); }

    void commandLineConnectsShowsScriptedReadingsAndDisconnectToggles()
    {
        CDriverFile records = Driver(m_pty->SlaveName());
        // A balance: error lines (E...) are marked, every other line loses its
        // leading blanks; strings end at LF.
        records.m_Script.m_bRegistered = 1;
        records.m_Script.m_strEndOfString = "<LF>";
        records.m_Script.m_InputStrings = {"E", "~"};
        records.m_Script.m_Sequences = {std::make_shared<CStringArray>(CStringArray{"InsertCharacter(0, *)"}),
                                        std::make_shared<CStringArray>(CStringArray{"TrimLeft()"})};
        COrvalisView* view = Start(records);
        QVERIFY(view);
        QVERIFY(view->m_comm.IsPortOpen());
        QVERIFY(!view->IsWindowEnabled());
        QCOMPARE(Frame()->MenuItem(3, ID_CONNECT_INSTRUMENT)->text(),
                 QStringLiteral("&Disconnect Instrument"));

        Send("N     +12.345 g\r\nES\r\n   +0.500 g\r\n");
        const QString shown = QStringLiteral("N     +12.345 g\n*ES\n+0.500 g\n");
        QTRY_COMPARE(view->toPlainText(), shown);

        QAction* item = Frame()->MenuItem(3, ID_CONNECT_INSTRUMENT);
        // Connected: typing goes nowhere.
        QTest::keyClicks(view, QStringLiteral("abc"));
        QCOMPARE(m_pty->ReadMaster(1, 200), QByteArray());

        QVERIFY(Frame()->RouteCommand(ID_CONNECT_INSTRUMENT));
        QVERIFY(!view->m_comm.IsPortOpen());
        QCOMPARE(item->text(), QStringLiteral("&Connect Instrument"));
        QVERIFY(view->IsWindowEnabled());
        // An editor now: typing goes into the text, nothing onto the line.
        QTest::keyClicks(view, QStringLiteral("note"));
        QCOMPARE(view->toPlainText(), shown + QStringLiteral("note"));
        QCOMPARE(m_pty->ReadMaster(1, 200), QByteArray());

        QVERIFY(Frame()->RouteCommand(ID_CONNECT_INSTRUMENT));
        QVERIFY(!view->IsWindowEnabled());
        Send("after\r\n");
        QTRY_COMPARE(view->toPlainText(), shown + QStringLiteral("noteafter\n"));
    }

    // The dialog's rules are tst_CSerialNumberDlg's; here the window's
    // function key reaches it.
    void functionKeyAsksForASerialNumber()
    {
        QVERIFY(Start(Driver(m_pty->SlaveName())));
        QString title;
        m_dialogs->m_onExec = [&title](QDialog& dialog) {
            title = dialog.windowTitle();
            dialog.findChild<QLineEdit*>(QStringLiteral("3080"))->setText(QStringLiteral("42"));
            dialog.accept();
            return dialog.result();
        };
        Frame()->RouteCommand(ID_FUNCTION_KEY_F1 + 3);
        QCOMPARE(title, QStringLiteral("Serial Number"));
        const QByteArray expected = "X" + CSerialNumberRecord::BuildRecord("0x100", 42) + "Y";
        QCOMPARE(m_pty->ReadMaster(expected.size()), expected);
        // Cancel ends the command after the text before the macro.
        m_dialogs->m_onExec = {};
        Frame()->RouteCommand(ID_FUNCTION_KEY_F1 + 3);
        QCOMPARE(m_pty->ReadMaster(2, 300), QByteArray("X"));
    }

    void fileTransferShowsProgressAndStopEndsAfterCurrentBlock()
    {
        COrvalisView* view = Start(Driver(m_pty->SlaveName()));
        QVERIFY(view);
        QByteArray content(5000, '\0');
        for (int i = 0; i < content.size(); ++i)
            content[i] = char(i * 7);
        const QString path = Home(QStringLiteral("data.bin"));
        QVERIFY(WriteFile(path, content));
        auto reader = std::make_unique<CMasterReader>(m_pty->Master());
        m_dialogs->m_openAnswers = {path};
        QVERIFY(Frame()->RouteCommand(ID_SEND_FILE));
        QVERIFY(Frame()->QueryCommand(ID_STOP_TRANSMISSION).bEnabled);
        QTRY_COMPARE(view->m_bSending, 0);
        QCOMPARE(reader->Bytes(), content);
        QVERIFY(!Frame()->QueryCommand(ID_STOP_TRANSMISSION).bEnabled);
        QVERIFY(!Frame()->PaneWidget(CMainFrame::PaneCount)->findChild<QProgressBar*>());

        const QByteArray large(2 * 1024 * 1024, 'x');
        QVERIFY(WriteFile(path, large));
        reader = std::make_unique<CMasterReader>(m_pty->Master());
        // Started by a function key's file macro: it can be stopped all the same.
        QVERIFY(Frame()->RouteCommand(ID_FUNCTION_KEY_F1 + 4));
        // Typing and commands wait until the file is out.
        Frame()->RouteCommand(ID_FUNCTION_KEY_F1);
        QTRY_VERIFY(Frame()->PaneWidget(CMainFrame::PaneCount)->findChild<QProgressBar*>()->value() > 0);
        QVERIFY(StatusText().startsWith(QStringLiteral("Sending file ")));
        QVERIFY(StatusText().endsWith(QStringLiteral("data.bin")));
        QVERIFY(Frame()->RouteCommand(ID_STOP_TRANSMISSION));
        QTRY_COMPARE(view->m_bSending, 0);
        QTRY_VERIFY(reader->Bytes().endsWith("P\r\n"));
        const qsizetype sent = reader->Bytes().size() - 3;
        QVERIFY2(sent < large.size(), qPrintable(QString::number(sent)));
        QCOMPARE(sent % 2048, 0);
        QVERIFY(reader->Bytes().startsWith(large.left(sent)));
    }

    // With the debug store and the byte count switched on in the profile.
    void playbackFileAnswersLineFeedsDebugReplayAndTotalBytes()
    {
        QVERIFY(WriteFile(Home(QStringLiteral("play.txt")), "ABC\nD20\nDEF\n"));
        COrvalisView* view =
            Start(Driver(m_pty->SlaveName()), "[Settings]\nTotalBytesDlg=1\nDebugConnection=1\n");
        QVERIFY(view);
        // Received before the file is opened: nothing answers it (the NUL is dropped).
        Send(QByteArray("0\0\n", 3));
        QTRY_COMPARE(view->toPlainText(), QStringLiteral("0\n"));
        QVERIFY(Frame()->RouteCommand(ID_FUNCTION_KEY_F1 + 1));
        Send("1\n");
        QCOMPARE(Receive(4), QByteArray("ABC\r"));
        Send("2\n");
        QCOMPARE(Receive(4), QByteArray("DEF\r"));
        // At its end every line feed sends a bare CR.
        Send("3\n");
        QCOMPARE(Receive(1), QByteArray("\r"));
        const QString history = QStringLiteral("0\n1\n2\n3\n");
        QTRY_COMPARE(view->toPlainText(), history);

        // Every disconnect replays the whole history; on close the byte
        // counts (without NUL) are told.
        QVERIFY(Frame()->RouteCommand(ID_CONNECT_INSTRUMENT));
        const QString replay = QStringLiteral("\n\nDebug Output\n") + history;
        QCOMPARE(view->toPlainText(), history + replay);
        QVERIFY(Frame()->MdiArea()->currentSubWindow()->close());
        QCOMPARE(m_dialogs->m_messages,
                 QStringList{QStringLiteral("Total Bytes: 8\nTotal Bytes in Array: 8")});
    }

    void optionsCancelKeepsOkShowsControlCharacters()
    {
        COrvalisView* view = Start(Driver(m_pty->SlaveName()));
        QVERIFY(view);
        Send("A\r\nB\r\n");
        QTRY_COMPARE(view->toPlainText(), QStringLiteral("A\nB\n"));
        bool portOpenDuringSheet = true;
        const auto showControlChars = [&](bool on, QDialog::DialogCode answer) {
            m_dialogs->m_onExec = [&, on, answer](QDialog& dialog) {
                portOpenDuringSheet = view->m_comm.IsPortOpen();
                auto* sheet = qobject_cast<CInstrumentSheet*>(&dialog);
                sheet->m_pSettingsPage->m_pShowControlChars->setChecked(on);
                return int(answer);
            };
            QVERIFY(Frame()->RouteCommand(ID_OPTIONS));
        };
        // Changed on a page, then Cancel: nothing of it is taken.
        showControlChars(true, QDialog::Rejected);
        QVERIFY(!portOpenDuringSheet);
        QVERIFY(view->m_comm.IsPortOpen());
        QCOMPARE(view->toPlainText(), QStringLiteral("A\nB\n"));

        showControlChars(true, QDialog::Accepted);
        // Each received line keeps a line of its own behind its names.
        QCOMPARE(view->toPlainText(), QStringLiteral("A<CR><LF>\nB<CR><LF>\n"));
        Send("C\x02\r\n");
        QTRY_COMPARE(view->toPlainText(), QStringLiteral("A<CR><LF>\nB<CR><LF>\nC<STX><CR><LF>\n"));
    }

    // Every page changed in one sheet, OK: the line, the received text and the
    // driver written back on close follow each change.
    void optionsOkKeepsTheLinkAndEveryPageTakesEffect()
    {
        // As in the demo: the driver names a link to the line, which the
        // connector list does not offer. The list is opened and closed with
        // Esc, another page is shown, OK: the link is kept.
        const QString link = Home(QStringLiteral("instrument-tty"));
        QVERIFY(QFile::link(m_pty->SlaveName(), link));
        COrvalisView* view = Start(Driver(link));
        QVERIFY(view && view->m_comm.IsPortOpen());
        QString shown;
        m_dialogs->m_onExec = [&shown](QDialog& dialog) {
            auto* sheet = qobject_cast<CInstrumentSheet*>(&dialog);
            sheet->show();
            sheet->SetActivePage(1);
            QComboBox* list = sheet->m_pCommPage->m_pConnector;
            shown = list->currentText();
            list->setFocus(Qt::MouseFocusReason);
            list->showPopup();
            QTest::keyClick(list->view(), Qt::Key_Escape);
            sheet->SetActivePage(2);
            sheet->accept();
            return sheet->result();
        };
        QVERIFY(Frame()->RouteCommand(ID_OPTIONS));
        QCOMPARE(shown, link);
        QVERIFY(view->m_comm.IsPortOpen());
        // Strings arriving before the change are shown as they came.
        Send("W0\r\n");
        QTRY_COMPARE(view->toPlainText(), QStringLiteral("W0\n"));
        m_dialogs->m_onExec = [](QDialog& dialog) {
            auto* sheet = qobject_cast<CInstrumentSheet*>(&dialog);
            sheet->m_pGeneralPage->m_pName->setText(QStringLiteral("Lab 2"));
            sheet->m_pCommPage->Button(CCommPage::Baud, 5)->click(); // 4800
            sheet->m_pSettingsPage->m_pReceiveCRLF->setChecked(true);
            sheet->m_pFunctionKeysPage->m_names[2]->setText(QStringLiteral("Zero"));
            sheet->m_pFunctionKeysPage->m_commands[2]->setText(QStringLiteral("Z<CR>"));
            CScript script;
            FillScript(script, true, "<CR>", {"W"}, {{"SkipCharacters(1)"}});
            sheet->m_pScriptPage->LoadFrom(script);
            sheet->SetActivePage(3);
            sheet->done(QDialog::Accepted);
            return int(QDialog::Accepted);
        };
        m_app->m_nInstrumentOptionsPage = 0;
        QVERIFY(Frame()->RouteCommand(ID_OPTIONS));
        QCOMPARE(m_app->m_nInstrumentOptionsPage, 3);
        QCOMPARE(Frame()->FunctionKeyBar()->Button(ID_FUNCTION_KEY_F1 + 2)->text(), QStringLiteral("Zero"));
        QVERIFY(Frame()->RouteCommand(ID_FUNCTION_KEY_F1 + 2));
        QCOMPARE(m_pty->ReadMaster(2), QByteArray("Z\r"));
        termios line{};
        QCOMPARE(tcgetattr(m_pty->Master(), &line), 0);
        QCOMPARE(cfgetospeed(&line), speed_t(B4800));
        // The script keeps W strings without their W; of the unregistered X
        // string only the line feed that its CR gets is left.
        Send("W12.5\rX7\r");
        QTRY_COMPARE(view->toPlainText(), QStringLiteral("W0\n12.5\n\n"));

        QVERIFY(Frame()->MdiArea()->currentSubWindow()->close());
        CDriverFile written;
        QVERIFY(written.Load(Home(QStringLiteral("lab.tbb"))).IsOk());
        QCOMPARE(written.m_Driver.m_strName, QByteArray("Lab 2"));
        QCOMPARE(written.m_Comm.m_nBaudRate, 4800);
        QCOMPARE(written.m_Terminal.m_bReceiveCRLF, 1);
        QCOMPARE(written.m_FunctionKeys.m_Names[2], QByteArray("Zero"));
        QCOMPARE(written.m_Script.m_InputStrings, QByteArrayList{"W"});
        QCOMPARE(written.m_Comm.m_strConnector, link.toLocal8Bit());
    }

    void driverWrittenBackOnCloseAndKeyBarFollowsActiveWindow()
    {
        COrvalisView* view = Start(Driver(m_pty->SlaveName()));
        QVERIFY(view);
        // A second window connects another driver; the first still writes back to its own.
        CDriverFile other = Driver(QStringLiteral("None"));
        other.m_Driver.m_strName = "Other";
        other.m_FunctionKeys.m_Names[0] = "Other";
        other.m_FunctionKeys.m_bShowKeys = 0;
        QVERIFY(other.Store(Home(QStringLiteral("other.tbb"))).IsOk());
        m_app->m_strLastUsedDriver = Home(QStringLiteral("other.tbb"));
        QVERIFY(Frame()->OpenNewDocument(QStringLiteral("Orvali")));
        QPushButton* f1 = Frame()->FunctionKeyBar()->Button(ID_FUNCTION_KEY_F1);
        QCOMPARE(f1->text(), QStringLiteral("Other"));
        QVERIFY(!Frame()->IsFunctionKeyBarVisible());
        QMdiArea* area = Frame()->MdiArea();
        area->setActiveSubWindow(area->subWindowList().first());
        QCOMPARE(f1->text(), QStringLiteral("Print"));
        QVERIFY(Frame()->IsFunctionKeyBarVisible());
        // F1 sends the active window's command.
        QVERIFY(Frame()->RouteCommand(ID_FUNCTION_KEY_F1));
        QCOMPARE(m_pty->ReadMaster(3), QByteArray("P\r\n"));
        QVERIFY(area->subWindowList().first()->close());

        CDriverFile written;
        QVERIFY(written.Load(Home(QStringLiteral("lab.tbb"))).IsOk());
        QCOMPARE(written.m_Driver.m_strName, QByteArray("Lab"));
        QCOMPARE(written.m_FunctionKeys.m_Commands.size(), 16);
        QCOMPARE(written.m_FunctionKeys.GetCommand(4), QByteArray("^$Fdata.bin^$F"));
        CDriverFile untouched;
        QVERIFY(untouched.Load(Home(QStringLiteral("other.tbb"))).IsOk());
        QCOMPARE(untouched.m_FunctionKeys.m_Names.size(), 8);
        // The window that closed was the polled one; none is polled now.
        QVERIFY(!m_app->m_pCommView);
    }

    // Unchanged settings are left as they are, changed ones written only with
    // Write Anyway.
    void damagedDriverNamedAndNotOverwritten()
    {
        for (const auto& [edited, answer] :
             {std::pair{false, CUserDialogs::Overwrite}, std::pair{true, CUserDialogs::DontSave},
              std::pair{true, CUserDialogs::Overwrite}}) {
            CleanupFixture();
            InitFixture();
            CDriverFile records = Driver(m_pty->SlaveName());
            records.m_Script.m_InputStrings = {"~"};
            records.m_Script.m_Sequences = {std::make_shared<CStringArray>(CStringArray{"TrimLeft()"})};
            const QString damaged = Home(QStringLiteral("Damaged.tbb"));
            QVERIFY(records.Store(damaged).IsOk());
            const QByteArray cut = ReadFile(damaged).chopped(9);
            QVERIFY(WriteFile(damaged, cut));

            COrvalisView* view = StartOn(QStringLiteral("Damaged.tbb"));
            QVERIFY(view);
            // Said in the window: which file, where.
            QTRY_COMPARE(m_dialogs->m_messages.size(), 1);
            const QString message = m_dialogs->m_messages.first();
            QVERIFY2(message.contains(damaged + QStringLiteral(": damaged at byte")), qPrintable(message));
            // The line settings were read before the damage: it connects.
            QVERIFY(view->m_comm.IsPortOpen());
            if (edited) {
                m_dialogs->m_onExec = [](QDialog&) { return int(QDialog::Accepted); };
                QVERIFY(Frame()->RouteCommand(ID_OPTIONS));
            }
            m_dialogs->m_overwriteAnswers = {answer};
            QVERIFY(Frame()->MdiArea()->currentSubWindow()->close());
            QCOMPARE(m_dialogs->m_overwriteQuestions.size(), edited ? 1 : 0);
            if (edited)
                QVERIFY(m_dialogs->m_overwriteQuestions.first().contains(damaged));
            const bool rewritten = edited && answer == CUserDialogs::Overwrite;
            QCOMPARE(ReadFile(damaged) != cut, rewritten);
            CDriverFile reread;
            QCOMPARE(reread.Load(damaged).IsOk(), rewritten);
        }
    }

    void missingDriverNamedAndNotCreated()
    {
        COrvalisView* view = StartOn(QStringLiteral("nosuch.tbb"));
        QVERIFY(view);
        const QString problem = Home(QStringLiteral("nosuch.tbb: no such file"));
        QTRY_COMPARE(m_dialogs->m_messages.size(), 1);
        QVERIFY2(m_dialogs->m_messages.first().startsWith(problem),
                 qPrintable(m_dialogs->m_messages.first()));
        QVERIFY(!view->m_comm.IsPortOpen());
        QVERIFY(Frame()->MdiArea()->currentSubWindow()->close());
        QVERIFY(!QFile::exists(Home(QStringLiteral("nosuch.tbb"))));
        QCOMPARE(m_dialogs->m_overwriteQuestions, QStringList());
    }

    void failedDriverWriteOffersSaveAs()
    {
        COrvalisView* view = Start(Driver(m_pty->SlaveName()));
        QVERIFY(view);
        // The driver's file went away with its folder's permissions: here it
        // cannot be written because a plain file stands where the folder was.
        const QString driver = Home(QStringLiteral("lab.tbb"));
        QVERIFY(QFile::remove(driver));
        QVERIFY(QDir(m_home->path()).mkdir(QStringLiteral("lab.tbb")));
        const QString elsewhere = Home(QStringLiteral("saved elsewhere.tbb"));
        m_dialogs->m_saveElsewhereAnswers = {true};
        m_dialogs->m_saveAnswers = {elsewhere};
        QVERIFY(Frame()->MdiArea()->currentSubWindow()->close());
        QCOMPARE(m_dialogs->m_writeFailures.size(), 1);
        QVERIFY2(m_dialogs->m_writeFailures.first().contains(driver),
                 qPrintable(m_dialogs->m_writeFailures.first()));
        CDriverFile saved;
        QVERIFY(saved.Load(elsewhere).IsOk());
        QCOMPARE(saved.m_Comm.m_strConnector, m_pty->SlaveName().toLocal8Bit());
        QCOMPARE(saved.m_Driver.m_strFileName, QByteArray("saved elsewhere.tbb"));
    }

    void closingAsksToSaveReceivedTextAndFailedSaveOffersSaveAs()
    {
        COrvalisView* view = Start(Driver(m_pty->SlaveName()));
        QVERIFY(view);
        Send("12.5\r\n13.0\r\n");
        QTRY_COMPARE(view->toPlainText(), QStringLiteral("12.5\n13.0\n"));
        QPrinter& printer = m_app->Printer();
        printer.setOutputFormat(QPrinter::PdfFormat);
        printer.setOutputFileName(Home(QStringLiteral("print.pdf")));
        QVERIFY(Frame()->RouteCommand(ID_FILE_PRINT_DIRECT));
        QVERIFY(ReadFile(printer.outputFileName()).startsWith("%PDF"));

        // Save As to a place that cannot be written offers another.
        const QString unwritable = Unwritable(QStringLiteral("run.txt"));
        const QString elsewhere = Home(QStringLiteral("run.txt"));
        m_dialogs->m_saveAnswers = {unwritable, elsewhere};
        m_dialogs->m_saveElsewhereAnswers = {true};
        QVERIFY(Frame()->RouteCommand(ID_FILE_SAVE_AS));
        QCOMPARE(m_dialogs->m_writeFailures.size(), 1);
        QVERIFY(m_dialogs->m_writeFailures.first().contains(unwritable));
        QCOMPARE(view->GetDocument().GetPathName(), elsewhere);
        QVERIFY(!view->GetDocument().IsModified());
        QCOMPARE(ReadFile(elsewhere), QByteArray("12.5\r\n13.0\r\n"));
        // Given up: the text stays changed, the window open.
        Send("14\r\n");
        QTRY_VERIFY(view->GetDocument().IsModified());
        m_dialogs->m_saveAnswers = {unwritable};
        QVERIFY(Frame()->RouteCommand(ID_FILE_SAVE_AS));
        QCOMPARE(m_dialogs->m_writeFailures.size(), 2);
        QVERIFY(view->GetDocument().IsModified());

        QMdiSubWindow* window = Frame()->MdiArea()->currentSubWindow();
        m_dialogs->m_saveChangesAnswers = {CUserDialogs::CancelClose};
        QVERIFY(!window->close());
        QCOMPARE(m_dialogs->m_saveQuestions, QStringList{window->windowTitle()});
        m_dialogs->m_saveChangesAnswers = {CUserDialogs::SaveChanges};
        QVERIFY(window->close());
        QCOMPARE(ReadFile(elsewhere), QByteArray("12.5\r\n13.0\r\n14\r\n"));
        QCOMPARE(m_app->RecentFiles().value(0), elsewhere);
    }

    // File New first: the request to connect is still set from the start.
    void windowsBesideAConnectedOneStayOffTheLine()
    {
        COrvalisView* connected = Start(Driver(m_pty->SlaveName()));
        QVERIFY(connected);
        QString offered;
        m_dialogs->m_onExec = [&offered](QDialog& dialog) {
            auto* choice = qobject_cast<QInputDialog*>(&dialog);
            offered = choice->comboBoxItems().value(0);
            choice->setTextValue(offered);
            return int(QDialog::Accepted);
        };
        QVERIFY(Frame()->RouteCommand(ID_FILE_NEW));
        QCOMPARE(offered, QStringLiteral("Orvali"));
        auto* fresh = qobject_cast<COrvalisView*>(Frame()->ActiveView());
        QVERIFY(fresh && fresh != connected);
        QVERIFY(!fresh->OpenedByConnect());
        QVERIFY(!fresh->m_comm.IsPortOpen());
        // An editor without the line's commands.
        QVERIFY(!Frame()->QueryCommand(ID_SEND_FILE).bEnabled);

        // The line stays with the connected window, and its commands.
        Send("12.5\r\n");
        QTRY_COMPARE(connected->toPlainText(), QStringLiteral("12.5\n"));
        QVERIFY(fresh->toPlainText().isEmpty());
        Frame()->MdiArea()->setActiveSubWindow(Frame()->MdiArea()->subWindowList().first());
        QVERIFY(Frame()->QueryCommand(ID_SEND_FILE).bEnabled);
    }

private:
    static CDriverFile Driver(const QString& connector);
    // A path nobody can write to, whoever runs the test: below a plain file.
    QString Unwritable(const QString& name) const;
    void Send(const QByteArray& bytes) { QVERIFY(m_pty->WriteMaster(bytes)); }
};

// Plain mode, no CR -> CR/LF receiving; F1 Print, F2 opens a playback file,
// F3 has no name, F4 sends a serial number, F5 sends a file.
CDriverFile tst_InstrumentWindow::Driver(const QString& connector)
{
    CDriverFile records = PlainDriver(connector);
    records.m_FunctionKeys.m_Names[0] = "Print";
    records.m_FunctionKeys.m_Commands[0] = "P\r\n";
    records.m_FunctionKeys.m_Names[1] = "Play";
    records.m_FunctionKeys.m_Commands[1] = "^$Eplay.txt^$E";
    records.m_FunctionKeys.m_Commands[2] = "never sent";
    records.m_FunctionKeys.m_Names[3] = "Serial";
    records.m_FunctionKeys.m_Commands[3] = "X^$S0x100^$SY";
    records.m_FunctionKeys.m_Names[4] = "File";
    records.m_FunctionKeys.m_Commands[4] = "^$Fdata.bin^$F";
    records.m_FunctionKeys.m_bShowKeys = 1;
    return records;
}

QString tst_InstrumentWindow::Unwritable(const QString& name) const
{
    QFile plain(Home(QStringLiteral("plain-file")));
    if (!plain.exists() && plain.open(QIODevice::WriteOnly))
        plain.close();
    return Home(QStringLiteral("plain-file/") + name);
}

QTEST_MAIN(tst_InstrumentWindow)
#include "tst_InstrumentWindow.moc"
