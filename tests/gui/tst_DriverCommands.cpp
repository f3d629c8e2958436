// Add and Modify Instrument, Add and Modify Terminal from the sheet to the
// file in a temporary program folder, and the remembered start pages.

#include "CCommGeneralPage.h"
#include "CCommPage.h"
#include "CDriverFile.h"
#include "CFunctionKeysPage.h"
#include "CInstrumentSheet.h"
#include "CMainFrame.h"
#include "COrvalisApp.h"
#include "CScriptPage.h"
#include "CTerminalFile.h"
#include "CTerminalPage.h"
#include "CTerminalSheet.h"
#include "ScriptedDialogs.h"
#include "WidgetTestIncludes.h"

class tst_DriverCommands : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        m_home = std::make_unique<QTemporaryDir>();
        qputenv("ORVALIS_HOME", m_home->path().toLocal8Bit());
        m_app = std::make_unique<COrvalisApp>(InFolder(QStringLiteral("Orvalis.ini")));
        m_dialogs = std::make_unique<CScriptedDialogs>();
        QVERIFY(m_app->InitInstance({}));
    }

    void cleanup()
    {
        m_dialogs.reset();
        m_app.reset();
        m_home.reset();
        qunsetenv("ORVALIS_HOME");
    }

    void addInstrumentWritesProgramFolderUnlessUnnamed()
    {
        m_dialogs->m_onExec = Accept<CInstrumentSheet>([](CInstrumentSheet& sheet) {
            QTest::keyClicks(sheet.m_pGeneralPage->m_pName, QStringLiteral("Balance"));
            sheet.m_pFunctionKeysPage->m_names.at(0)->setText(QStringLiteral("Print"));
            sheet.m_pFunctionKeysPage->m_commands.at(0)->setText(QStringLiteral("P<CR><LF>"));
        });
        m_app->MainFrame()->RouteCommand(32772);
        QCOMPARE(m_dialogs->m_nOpenCalls + m_dialogs->m_nSaveCalls, 0); // no file dialog

        CDriverFile loaded;
        QVERIFY(loaded.Load(InFolder(QStringLiteral("Balance.tbb"))).IsOk());
        QCOMPARE(loaded.m_FunctionKeys.GetName(0), QByteArray("Print"));
        QCOMPARE(loaded.m_FunctionKeys.GetCommand(0), QByteArray("P\r\n"));

        const QStringList before = QDir(m_home->path()).entryList(QDir::Files);
        // An empty file name makes the target the program folder itself.
        m_dialogs->m_onExec = Accept<CInstrumentSheet>([](CInstrumentSheet&) {});
        m_app->MainFrame()->OnAddInstrument();
        QCOMPARE(QDir(m_home->path()).entryList(QDir::Files), before);
        // Said in a message that offers Save As (declined here).
        QCOMPARE(m_dialogs->m_writeFailures.size(), 1);
        QVERIFY(m_dialogs->m_writeFailures.first().contains(QStringLiteral("no file name")));
    }

    void modifyInstrumentUnderNewNameOrFromAnotherFolder()
    {
        const QString lab = InFolder(QStringLiteral("lab.tbb"));
        WriteInstrument(lab, "Lab", "lab.tbb");
        const QByteArray before = Read(lab);
        m_dialogs->m_openAnswers = {lab};
        m_dialogs->m_onExec = Accept<CInstrumentSheet>([](CInstrumentSheet& sheet) {
            // The page shows what the file holds.
            QCOMPARE(sheet.m_pGeneralPage->m_pFileName->text(), QStringLiteral("lab.tbb"));
            sheet.m_pGeneralPage->m_pFileName->setText(QStringLiteral("lab2.tbb"));
            // Double click on TrimLeft: the example waits in the command field, and is stored.
            CScriptPage* page = sheet.m_pScriptPage;
            auto* commands = page->findChild<QListWidget*>(QStringLiteral("commands"));
            commands->setCurrentRow(7);
            Q_EMIT commands->itemDoubleClicked(commands->item(7));
            QVERIFY(page->IsPending());
        });
        m_app->MainFrame()->OnModifyInstrument();
        QCOMPARE(Read(lab), before);
        // Where the changes went is said.
        QCOMPARE(m_dialogs->m_messages.size(), 1);
        QVERIFY2(m_dialogs->m_messages.first().contains(QStringLiteral("saved as ") +
                                                        InFolder(QStringLiteral("lab2.tbb"))),
                 qPrintable(m_dialogs->m_messages.first()));
        QVERIFY(m_dialogs->m_messages.first().contains(lab + QStringLiteral(" is unchanged")));
        CDriverFile modified;
        QVERIFY(modified.Load(InFolder(QStringLiteral("lab2.tbb"))).IsOk());
        QCOMPARE(modified.m_Driver.m_strFileName, QByteArray("lab2.tbb"));
        QCOMPARE(modified.m_Comm.m_strConnector, QByteArray("COM2"));
        QCOMPARE(modified.m_FunctionKeys.GetCommand(0), QByteArray("P\r"));
        QCOMPARE(modified.m_Script.GetCommand(0, 1), QByteArray("TrimLeft()"));

        // From another folder: the copy goes into the program folder.
        QTemporaryDir elsewhere;
        const QString original = QDir(elsewhere.path()).filePath(QStringLiteral("scale.tbb"));
        WriteInstrument(original, "Scale", "scale.tbb");
        const QByteArray untouched = Read(original);
        m_dialogs->m_messages.clear();
        m_dialogs->m_openAnswers = {original};
        m_dialogs->m_onExec = Accept<CInstrumentSheet>(
            [](CInstrumentSheet& sheet) { sheet.m_pCommPage->Button(CCommPage::Baud, 8)->click(); });
        m_app->MainFrame()->OnModifyInstrument();
        QCOMPARE(Read(original), untouched);
        CDriverFile copy;
        QVERIFY(copy.Load(InFolder(QStringLiteral("scale.tbb"))).IsOk());
        QCOMPARE(copy.m_Comm.m_nBaudRate, 19200);
    }

    void modifyDamagedInstrumentAsksBeforeOverwriting()
    {
        const QString lab = InFolder(QStringLiteral("lab.tbb"));
        WriteInstrument(lab, "Lab", "lab.tbb");
        const QByteArray cut = Read(lab).chopped(3);
        m_dialogs->m_onExec = Accept<CInstrumentSheet>([](CInstrumentSheet&) {});
        // Don't Save leaves it, Write Anyway writes it.
        for (const auto answer : {CUserDialogs::DontSave, CUserDialogs::Overwrite}) {
            QFile file(lab);
            QVERIFY(file.open(QIODevice::WriteOnly | QIODevice::Truncate) && file.write(cut) == cut.size());
            file.close();
            m_dialogs->m_messages.clear();
            m_dialogs->m_overwriteQuestions.clear();
            m_dialogs->m_openAnswers = {lab};
            m_dialogs->m_overwriteAnswers = {answer};
            m_app->MainFrame()->OnModifyInstrument();
            // Told when it was read, asked before it is written.
            QCOMPARE(m_dialogs->m_messages.size(), 1);
            QVERIFY2(m_dialogs->m_messages.first().startsWith(lab + QStringLiteral(": damaged at byte")),
                     qPrintable(m_dialogs->m_messages.first()));
            QCOMPARE(m_dialogs->m_overwriteQuestions.size(), 1);
            QCOMPARE(Read(lab) != cut, answer == CUserDialogs::Overwrite);
        }
    }

    void modifyInstrumentCancelledAndRemembersStartPage()
    {
        const QString lab = InFolder(QStringLiteral("lab.tbb"));
        WriteInstrument(lab, "Lab", "lab.tbb");
        int startPage = -1;
        m_dialogs->m_openAnswers = {lab, lab};
        m_dialogs->m_onExec = Accept<CInstrumentSheet>([&startPage](CInstrumentSheet& sheet) {
            startPage = sheet.GetActiveIndex();
            sheet.SetActivePage(3);
        });
        m_app->MainFrame()->OnModifyInstrument();
        QCOMPARE(startPage, 0);
        QCOMPARE(m_app->m_nModifyInstrumentPage, 3);

        // Cancel leaves the remembered page as it was.
        m_dialogs->m_onExec = [&startPage](QDialog& dialog) {
            auto& sheet = dynamic_cast<CInstrumentSheet&>(dialog);
            startPage = sheet.GetActiveIndex();
            sheet.SetActivePage(1);
            sheet.reject();
            return sheet.result();
        };
        const QByteArray before = Read(lab);
        m_app->MainFrame()->OnModifyInstrument();
        QCOMPARE(startPage, 3);
        QCOMPARE(m_app->m_nModifyInstrumentPage, 3);
        QCOMPARE(Read(lab), before); // nothing written
    }

    void addTerminalWritesChosenFileUnlessCancelled()
    {
        const QString target = InFolder(QStringLiteral("vt100.drv"));
        m_dialogs->m_saveAnswers = {target};
        m_dialogs->m_onExec = Accept<CTerminalSheet>([](CTerminalSheet& sheet) {
            QCOMPARE(sheet.GetActiveIndex(), 0);
            sheet.m_pTerminalPage->m_pEmulation->setCurrentIndex(4);
            sheet.m_pTerminalPage->m_pColumns->setText(QStringLiteral("132"));
            sheet.m_pFunctionKeysPage->m_names.at(7)->setText(QStringLiteral("Break"));
        });
        m_app->MainFrame()->RouteCommand(32782);
        QCOMPARE(m_dialogs->m_lastFilter.strDefaultExtension, QStringLiteral("drv"));

        CTerminalFile loaded;
        QVERIFY(loaded.Load(target).IsOk());
        QCOMPARE(loaded.m_Terminal.m_nEmulation, 4);
        QCOMPARE(loaded.m_Terminal.m_nColumns, 132);
        QCOMPARE(loaded.m_FunctionKeys.GetName(7), QByteArray("Break"));

        // The file dialog cancelled: nothing written.
        QVERIFY(QFile::remove(target));
        m_app->MainFrame()->OnAddTerminal();
        QCOMPARE(QDir(m_home->path()).entryList({QStringLiteral("*.drv")}), QStringList());
    }

    void modifyTerminalWritesBackAndRemembersStartPage()
    {
        const QString path = QDir(ORVALIS_TEST_DATA).filePath(QStringLiteral("VT100.drv"));
        const QString copy = InFolder(QStringLiteral("VT100.drv"));
        QVERIFY(QFile::copy(path, copy));
        QFile::setPermissions(copy, QFile::ReadOwner | QFile::WriteOwner);
        CTerminalFile original;
        QVERIFY(original.Load(copy).IsOk());

        m_dialogs->m_openAnswers = {copy, copy};
        int startPage = -1;
        m_dialogs->m_onExec = Accept<CTerminalSheet>([&](CTerminalSheet& sheet) {
            startPage = sheet.GetActiveIndex();
            if (startPage != 0)
                return;
            QCOMPARE(sheet.m_pTerminalPage->m_pRows->text(), QString::number(original.m_Terminal.m_nRows));
            sheet.m_pTerminalPage->m_pRows->setText(QStringLiteral("50"));
            sheet.SetActivePage(2);
        });
        m_app->MainFrame()->OnModifyTerminal();
        QCOMPARE(m_app->m_nModifyTerminalPage, 2);
        m_app->MainFrame()->OnModifyTerminal();
        QCOMPARE(startPage, 2);
        CTerminalFile modified;
        QVERIFY(modified.Load(copy).IsOk());
        QCOMPARE(modified.m_Terminal.m_nRows, 50);
        QCOMPARE(modified.m_Comm.m_nBaudRate, original.m_Comm.m_nBaudRate);
        QCOMPARE(modified.m_FunctionKeys.m_Names.size(), original.m_FunctionKeys.m_Names.size() + 16);
    }

private:
    QString InFolder(const QString& name) const { return QDir(m_home->path()).filePath(name); }
    static QByteArray Read(const QString& path);
    // Accepts a sheet of the given kind after edit ran on it.
    template <typename Sheet> static std::function<int(QDialog&)> Accept(std::function<void(Sheet&)> edit)
    {
        return [edit](QDialog& dialog) {
            auto* sheet = dynamic_cast<Sheet*>(&dialog);
            if (!sheet)
                return int(QDialog::Rejected);
            edit(*sheet);
            sheet->accept();
            return sheet->result();
        };
    }
    void WriteInstrument(const QString& path, const QByteArray& name, const QByteArray& fileName);

    std::unique_ptr<QTemporaryDir> m_home;
    std::unique_ptr<COrvalisApp> m_app;
    std::unique_ptr<CScriptedDialogs> m_dialogs;
};

QByteArray tst_DriverCommands::Read(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

void tst_DriverCommands::WriteInstrument(const QString& path, const QByteArray& name,
                                         const QByteArray& fileName)
{
    CDriverFile records;
    records.m_Driver.m_strName = name;
    records.m_Driver.m_strFileName = fileName;
    records.m_Comm.m_nConnector = -1;
    records.m_Comm.m_strConnector = "COM2";
    records.m_Comm.m_nBaudRate = 4800;
    records.m_FunctionKeys.AppendEmptyKeys();
    records.m_FunctionKeys.m_Names[0] = "Print";
    records.m_FunctionKeys.m_Commands[0] = "P\r";
    records.m_Script.m_bRegistered = 1;
    records.m_Script.m_strEndOfString = "<CR><LF>";
    records.m_Script.m_InputStrings = {"N"};
    records.m_Script.m_Sequences = {std::make_shared<CStringArray>(CStringArray{"SkipCharacters(1)"})};
    QVERIFY(records.Store(path).IsOk());
}

QTEST_MAIN(tst_DriverCommands)
#include "tst_DriverCommands.moc"
