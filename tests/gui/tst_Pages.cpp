// The settings pages: each loads its record, stores it back, and checks
// what it must check; and the sheet that holds them.

#include "CCommGeneralPage.h"
#include "CCommPage.h"
#include "CCommParameter.h"
#include "CDriverParameter.h"
#include "CFunctionKeysPage.h"
#include "CFunctionKeysParameter.h"
#include "CPropSheet.h"
#include "CSettingsPage.h"
#include "CTerminalPage.h"
#include "CTerminalParameter.h"
#include "ScriptedDialogs.h"
#include "WidgetTestIncludes.h"

#include <QButtonGroup>
#include <QGroupBox>
#include <QTabWidget>

class tst_Pages : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void generalPageRoundTripTypedNameAndModifyMode()
    {
        CCommGeneralPage page;
        CDriverParameter driver;
        driver.m_strName = "Waage \xe4";
        driver.m_strFileName = "kept.tbb";
        driver.m_bExcel = 1;
        page.SetData(driver);
        QCOMPARE(page.m_pName->text(), QStringLiteral("Waage ä"));
        // Loading keeps the stored file name (typing the name rewrites it:
        // tst_DriverCommands).
        QCOMPARE(page.m_pFileName->text(), QStringLiteral("kept.tbb"));
        driver.m_bExcel = 0;
        page.GetData(driver);
        QCOMPARE(driver.m_bExcel, 1);
        // Modify Instrument keeps the name and the file; the switch stays free.
        const CCommGeneralPage modifying(true);
        QVERIFY(!modifying.m_pName->isEnabled() && !modifying.m_pFileName->isEnabled());
        QVERIFY(modifying.m_pExcel->isEnabled());
    }

    void commPageRoundTrip()
    {
        CCommPage page;
        page.SetParameters(CCommParameter());
        CCommParameter stored;
        stored.m_nConnector = 4;
        page.GetParameters(stored);
        QCOMPARE(stored.m_nConnector, -1); // the name is always written

        const struct
        {
            const char* name;
            int baud, dataBits, parity, stopBits, flow, checkedButtons;
        } rows[] = {
            {"every group has its button", 19200, 7, 'E', 2, 1, 5},
            {"Dtr/Dsr shows no button but is stored back", 9600, 8, 'N', 1, 3, 5},
            {"a baud rate outside the list is kept", 31250, 8, 'N', 1, 0, 4},
            {"an unknown parity letter is kept", 9600, 8, 'X', 1, 0, 4},
        };
        for (const auto& row : rows) {
            CCommParameter record;
            record.m_nBaudRate = row.baud;
            record.m_nDataBits = row.dataBits;
            record.m_cParity = row.parity;
            record.m_nStopBits = row.stopBits;
            record.m_nFlowControl = row.flow;
            CCommPage shown;
            shown.SetParameters(record);
            int checked = 0;
            for (int group = 0; group < CCommPage::GroupCount; ++group)
                checked += shown.ButtonGroup(CCommPage::Group(group))->checkedButton() ? 1 : 0;
            QVERIFY2(checked == row.checkedButtons, row.name);
            stored = record;
            shown.GetParameters(stored);
            QVERIFY2(stored.m_nBaudRate == row.baud && stored.m_nDataBits == row.dataBits, row.name);
            QVERIFY2(stored.m_cParity == row.parity && stored.m_nStopBits == row.stopBits, row.name);
            QVERIFY2(stored.m_nFlowControl == row.flow, row.name);
        }
    }

    void connectorEntriesAndSelection()
    {
        const QByteArrayList entries = CCommPage::ConnectorEntries(true, "None", {"FTVD0042", "FT123456"},
                                                                   {"/dev/ttyS0", "/dev/ttyUSB0"});
        // None, the "VD" converters, the devices, COM1..COM255.
        QCOMPARE(entries.mid(0, 5),
                 (QByteArrayList{"None", "FTVD0042", "/dev/ttyS0", "/dev/ttyUSB0", "COM1"}));
        QCOMPARE(entries.size(), 4 + 255);
        QCOMPARE(entries.last(), QByteArray("COM255"));
        QCOMPARE(CCommPage::ConnectorEntries(false, "None", {}, {}).first(), QByteArray("COM1"));
        // Names the list does not hold are shown as they are, never as another entry.
        const struct
        {
            const char* name;
            QByteArray entry;
        } rows[] = {
            {"COM1", "COM1"}, {"/dev/ttyUSB0", "/dev/ttyUSB0"}, {"FTVD0042", "FTVD0042"}, {"", "None"},
            {"ttyUSB0", {}}, // a bare device name is not its path
            {"VD0042", {}},  // part of a serial number is another converter
            {"com1", {}}};   // matching is case-sensitive
        for (const auto& row : rows) {
            const int index = CCommPage::FindConnector(entries, row.name);
            QVERIFY2((index >= 0 ? entries.at(index) : QByteArray()) == row.entry, row.name);
        }
    }

    void connectorNameKeptUnlessPicked()
    {
        CCommParameter record;
        record.m_nConnector = -1;
        record.m_strConnector = "FTVD9999";
        CCommPage page;
        page.SetParameters(record);
        // Shown right after "None", and kept, also through Refresh.
        QCOMPARE(page.m_pConnector->currentIndex(), 1);
        QTest::mouseClick(page.m_pRefresh, Qt::LeftButton);
        QCOMPARE(page.m_pConnector->currentText(), QStringLiteral("FTVD9999"));
        QVERIFY(page.OnKillActive());
        CCommParameter stored;
        page.GetParameters(stored);
        QCOMPARE(stored.m_strConnector, QByteArray("FTVD9999"));

        // Selecting from the program does not change the name, the user's choice does.
        page.SetParameters(CCommParameter());
        const int com3 = page.m_pConnector->findText(QStringLiteral("COM3"));
        page.m_pConnector->setCurrentIndex(com3);
        page.GetParameters(stored);
        QCOMPARE(stored.m_strConnector, QByteArray());
        page.m_pConnector->activated(com3);
        page.GetParameters(stored);
        QCOMPARE(stored.m_strConnector, QByteArray("COM3"));

        // The empty name of a new driver stays empty when the focus passes.
        QLineEdit focusElsewhere(&page);
        page.show();
        QVERIFY(QTest::qWaitForWindowExposed(&page));
        page.SetParameters(CCommParameter());
        page.m_pConnector->setFocus(Qt::MouseFocusReason);
        focusElsewhere.setFocus(Qt::TabFocusReason);
        QVERIFY(page.OnKillActive());
        page.GetParameters(stored);
        QCOMPARE(stored.m_strConnector, QByteArray());
    }

    void connectorTyped()
    {
        const struct
        {
            QString typed;
            QByteArray stored; // empty: refused
        } rows[] = {
            {QStringLiteral("/dev/serial/by-id/usb-FTDI-if00"), "/dev/serial/by-id/usb-FTDI-if00"},
            {QStringLiteral(" ttyACM3 "), "ttyACM3"},
            {QStringLiteral("COM256"), {}}, // the rules are tst_LineSettings'
        };
        for (const auto& row : rows) {
            CScriptedDialogs dialogs;
            CCommParameter record;
            record.m_nConnector = -1;
            record.m_strConnector = "COM2";
            CCommPage page;
            page.SetParameters(record);
            page.m_pConnector->lineEdit()->selectAll();
            QTest::keyClicks(page.m_pConnector->lineEdit(), row.typed);
            const bool accepted = !row.stored.isEmpty();
            QVERIFY2(page.OnKillActive() == accepted, qPrintable(row.typed));
            QCOMPARE(dialogs.m_messages.size(), accepted ? 0 : 1);
            if (!accepted) {
                QVERIFY2(dialogs.m_messages.value(0).contains(row.typed),
                         qPrintable(dialogs.m_messages.value(0)));
                continue;
            }
            CCommParameter result;
            page.GetParameters(result);
            QCOMPARE(result.m_strConnector, row.stored);
        }
    }

    void settingsPageRoundTripKeepsHiddenSwitches()
    {
        // 100 columns load as 132 and are stored as 132.
        for (const auto& [columns, storedColumns] : {std::pair{80, 80}, std::pair{100, 132}}) {
            CTerminalParameter record;
            record.m_nColumns = columns;
            record.m_bReceiveCRLF = 1;
            record.m_bSendCRLF = 1;
            record.m_bShowControlChars = 1;
            record.m_bLocalEcho = 1; // switches the page does not show
            record.m_bLineWrap = 1;
            CSettingsPage page;
            page.LoadFrom(record);
            QVERIFY(page.m_pLocalEcho->isHidden() && page.m_pLineWrap->isHidden() &&
                    page.m_pColumnsGroup->isHidden());
            page.m_pReceiveCRLF->click(); // unticks "&Receiving"
            CTerminalParameter stored;
            stored.m_nRows = 33;
            page.SaveTo(stored);
            QCOMPARE(stored.m_nColumns, storedColumns);
            QCOMPARE(stored.m_bReceiveCRLF, 0);
            QCOMPARE(stored.m_bLocalEcho, 1); // kept as loaded
            QCOMPARE(stored.m_bLineWrap, 1);
            QCOMPARE(stored.m_nRows, 33); // not this page's field
        }
    }

    void functionKeysEncodeAndDecode()
    {
        const struct
        {
            QByteArray command;
            QString shown;
            QString typed;
            QByteArray stored;
        } rows[] = {
            {"R\r", "R<CR>", "R<CR>", "R\r"},
            {{}, {}, "SEND<SPC>1", "SEND 1"}, // <SPC> is typed and stored as a space
            {"\xb5g", QStringLiteral("µg"), QStringLiteral("µg"), "\xb5g"}, // code page characters
        };
        for (const auto& row : rows) {
            CFunctionKeysParameter keys;
            keys.AppendEmptyKeys();
            keys.AppendEmptyKeys(); // sixteen entries: the first eight are edited, the rest kept
            keys.m_Commands[2] = row.command;
            keys.m_Names[2] = "<CR>";
            keys.m_Names[12] = "kept";
            CFunctionKeysPage page;
            page.LoadFrom(keys);
            QCOMPARE(page.m_commands.at(2)->text(), row.shown);
            page.m_commands.at(2)->setText(row.typed);
            page.SaveTo(keys);
            QCOMPARE(keys.m_Commands.at(2), row.stored);
            // Names are stored exactly as typed.
            QCOMPARE(keys.m_Names.at(2), QByteArray("<CR>"));
            QCOMPARE(keys.m_Names.at(12), QByteArray("kept"));
        }
        // Fewer than eight entries load as empty keys, but are no place to store them.
        CFunctionKeysParameter keys;
        keys.m_bShowKeys = 1;
        keys.m_Names = {"A", "B"};
        keys.m_Commands = {"a", "b"};
        CFunctionKeysPage page;
        page.LoadFrom(keys);
        QCOMPARE(page.m_names.at(1)->text(), QStringLiteral("B"));
        QCOMPARE(page.m_names.at(7)->text(), QString());
        QVERIFY(page.m_pShowKeys->isChecked());
    }

    void terminalPageBounds()
    {
        const QString columnsRange = QStringLiteral("Please enter an integer between 40 and 132.");
        const QString rowsRange = QStringLiteral("Please enter an integer between 10 and 60.");
        const struct
        {
            QString columns;
            QString rows;
            QString message; // empty: accepted
        } rows[] = {
            {"40", "10", {}},
            {"132", "60", {}},
            {"39", "24", columnsRange},
            {"133", "24", columnsRange},
            {"80", "9", rowsRange},
            {"80", "61", rowsRange},
            {"eighty", "24", QStringLiteral("Please enter an integer.")},
        };
        for (const auto& row : rows) {
            CScriptedDialogs dialogs;
            CTerminalPage page;
            page.LoadFrom(CTerminalParameter());
            page.m_pColumns->setText(row.columns);
            page.m_pRows->setText(row.rows);
            const QString name = row.columns + QLatin1Char(' ') + row.rows;
            QVERIFY2(page.OnKillActive() == row.message.isEmpty(), qPrintable(name));
            QCOMPARE(dialogs.m_messages, row.message.isEmpty() ? QStringList() : QStringList{row.message});
            CTerminalParameter stored;
            stored.m_nColumns = 1;
            page.SaveTo(stored);
            // A refused value stores nothing new.
            QCOMPARE(stored.m_nColumns, row.message.isEmpty() ? row.columns.toInt() : 80);
        }
    }

    void sheetRefusesToLeaveBadPage()
    {
        CScriptedDialogs dialogs;
        CPropSheet sheet(QStringLiteral("Communication Setup"), nullptr, 1);
        auto* comm = new CCommPage;
        auto* terminal = new CTerminalPage;
        sheet.AddPage(comm);
        sheet.AddPage(terminal);
        terminal->LoadFrom(CTerminalParameter());
        QCOMPARE(sheet.GetActiveIndex(), 1); // the start page
        terminal->m_pRows->setText(QStringLiteral("99"));

        sheet.SetActivePage(0);
        sheet.show();
        // Leaving the page with a bad value keeps it in front.
        auto* tabs = sheet.findChild<QTabWidget*>();
        sheet.SetActivePage(1);
        tabs->setCurrentIndex(0);
        QCOMPARE(sheet.GetActiveIndex(), 1);
        QCOMPARE(dialogs.m_messages.size(), 1);
        // OK does not close the sheet either.
        sheet.accept();
        QVERIFY(sheet.isVisible());
        QCOMPARE(dialogs.m_messages.size(), 2);
        terminal->m_pRows->setText(QStringLiteral("25"));
        sheet.accept();
        QCOMPARE(sheet.result(), int(QDialog::Accepted));
        QCOMPARE(sheet.m_nLastActivePage, 1);
    }
};

QTEST_MAIN(tst_Pages)
#include "tst_Pages.moc"
