#include "CByteOutput.h"
#include "CCommandSender.h"
#include "CSerialNumberDlg.h"
#include "CSerialNumberDlgPrompt.h"

#include <QApplication>
#include <QDir>
#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>
#include <QPushButton>
#include <QTest>
#include <QTimer>

namespace {

// Presses OK and returns the text of the message box it raised ("" when none),
// closing that box as the user would.
QString PressOk(CSerialNumberDlg& dialog)
{
    QString message;
    QTimer closer;
    QObject::connect(&closer, &QTimer::timeout, [&] {
        if (auto* box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget())) {
            message = box->text();
            box->accept();
        }
    });
    closer.start(10);
    QTest::mouseClick(dialog.findChild<QPushButton*>(QStringLiteral("1")), Qt::LeftButton);
    return message;
}

// Answers the dialog that the prompt is about to show, once it is up.
void AnswerDialog(const QString& typed, bool ok)
{
    QTimer::singleShot(0, [typed, ok] {
        auto* dialog = qobject_cast<CSerialNumberDlg*>(QApplication::activeModalWidget());
        QVERIFY(dialog);
        dialog->findChild<QLineEdit*>(QStringLiteral("3080"))->setText(typed);
        QTest::mouseClick(dialog->findChild<QPushButton*>(QString::fromLatin1(ok ? "1" : "2")), Qt::LeftButton);
    });
}

class CRecordingOutput : public CByteOutput
{
public:
    void SetOutput(const QByteArray& bytes) override { m_bytes += bytes; }
    QByteArray m_bytes;
};

} // namespace

class tst_CSerialNumberDlg : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void showsTheTemplate();
    void acceptsSerialNumbers_data();
    void acceptsSerialNumbers();
    void refusesAndStaysOpen_data();
    void refusesAndStaysOpen();
    void cancelKeepsNoNumber();
    void buildsRecord_data();
    void buildsRecord();
    void promptAnswersWithTheDialog_data();
    void promptAnswersWithTheDialog();
    void macroSendsTheRecordTyped();
};

void tst_CSerialNumberDlg::showsTheTemplate()
{
    CSerialNumberDlg dialog;
    dialog.show();
    QVERIFY(QTest::qWaitForWindowExposed(&dialog));
    QCOMPARE(dialog.windowTitle(), QStringLiteral("Serial Number"));
    QVERIFY(dialog.findChild<QLabel*>()->text() == QStringLiteral("Serial #:"));
    QCOMPARE(dialog.findChild<QLineEdit*>(QStringLiteral("3080"))->text(), QStringLiteral("0"));
    QVERIFY(dialog.findChild<QPushButton*>(QStringLiteral("1"))->isDefault());
    QVERIFY(dialog.findChild<QPushButton*>(QStringLiteral("2")));
    const QByteArray folder = qgetenv("ORVALIS_SCREENSHOT_DIR");
    if (!folder.isEmpty())
        QVERIFY(dialog.grab().save(QDir(QString::fromLocal8Bit(folder)).filePath(QStringLiteral("serial-number.png"))));
}

// The bounds and forms of a number are the parser's (tst_SerialNumberRecord);
// here only what the dialog adds: taken, refused with the reason, record built.
void tst_CSerialNumberDlg::acceptsSerialNumbers_data()
{
    QTest::addColumn<QString>("typed");
    QTest::addColumn<int>("number");
    QTest::newRow("highest number") << "9999" << 9999;
    QTest::newRow("blanks around the number") << "  42 " << 42;
}

void tst_CSerialNumberDlg::acceptsSerialNumbers()
{
    QFETCH(QString, typed);
    QFETCH(int, number);
    CSerialNumberDlg dialog;
    dialog.show();
    QVERIFY(QTest::qWaitForWindowExposed(&dialog));
    dialog.findChild<QLineEdit*>(QStringLiteral("3080"))->setText(typed);
    QCOMPARE(PressOk(dialog), QString());
    QCOMPARE(dialog.result(), int(QDialog::Accepted));
    QVERIFY(!dialog.isVisible());
    QCOMPARE(dialog.GetSerialNumber(), number);
}

void tst_CSerialNumberDlg::refusesAndStaysOpen_data()
{
    QTest::addColumn<QString>("typed");
    QTest::addColumn<QString>("reason");
    QTest::newRow("one beyond the range") << "10000" << "between 0 and 9999";
    QTest::newRow("letters") << "abc" << "Please enter an integer.";
    QTest::newRow("empty field") << "" << "Please enter an integer.";
}

void tst_CSerialNumberDlg::refusesAndStaysOpen()
{
    QFETCH(QString, typed);
    QFETCH(QString, reason);
    CSerialNumberDlg dialog;
    dialog.show();
    QVERIFY(QTest::qWaitForWindowExposed(&dialog));
    auto* edit = dialog.findChild<QLineEdit*>(QStringLiteral("3080"));
    edit->setText(typed);
    const QString message = PressOk(dialog);
    QVERIFY2(message.contains(reason), qPrintable(message));
    QVERIFY2(message.contains(QLatin1Char('"') + typed + QLatin1Char('"')), qPrintable(message));
    QVERIFY(dialog.isVisible());
    QCOMPARE(dialog.result(), int(QDialog::Rejected));
    QCOMPARE(dialog.GetSerialNumber(), 0);
    QCOMPARE(edit->selectedText(), typed); // ready to be typed over
    // A corrected number is then taken.
    edit->setText(QStringLiteral("17"));
    QCOMPARE(PressOk(dialog), QString());
    QCOMPARE(dialog.result(), int(QDialog::Accepted));
    QCOMPARE(dialog.GetSerialNumber(), 17);
}

void tst_CSerialNumberDlg::cancelKeepsNoNumber()
{
    CSerialNumberDlg dialog;
    dialog.show();
    QVERIFY(QTest::qWaitForWindowExposed(&dialog));
    dialog.findChild<QLineEdit*>(QStringLiteral("3080"))->setText(QStringLiteral("123"));
    QTest::mouseClick(dialog.findChild<QPushButton*>(QStringLiteral("2")), Qt::LeftButton);
    QCOMPARE(dialog.result(), int(QDialog::Rejected));
    QCOMPARE(dialog.GetSerialNumber(), 0);
}

void tst_CSerialNumberDlg::buildsRecord_data()
{
    QTest::addColumn<QByteArray>("address");
    QTest::addColumn<int>("number");
    QTest::addColumn<QByteArray>("record");
    QTest::newRow("hexadecimal address") << QByteArray("0x100") << 42 << QByteArray("S309000001000000002ACB");
    QTest::newRow("decimal address, highest number")
        << QByteArray("305419896") << 9999 << QByteArray("S309123456780000270FAC");
}

void tst_CSerialNumberDlg::buildsRecord()
{
    QFETCH(QByteArray, address);
    QFETCH(int, number);
    QFETCH(QByteArray, record);
    QByteArray out = "previous";
    CSerialNumberDlg::BuildRecord(out, address, number);
    QCOMPARE(out, record);
}

void tst_CSerialNumberDlg::promptAnswersWithTheDialog_data()
{
    QTest::addColumn<QString>("typed");
    QTest::addColumn<bool>("ok");
    QTest::addColumn<int>("answer"); // -1: nothing
    QTest::newRow("OK gives the number") << "1234" << true << 1234;
    QTest::newRow("OK with zero gives zero") << "0" << true << 0;
    QTest::newRow("Cancel gives nothing") << "1234" << false << -1;
}

void tst_CSerialNumberDlg::promptAnswersWithTheDialog()
{
    QFETCH(QString, typed);
    QFETCH(bool, ok);
    QFETCH(int, answer);
    QWidget window;
    window.show();
    CSerialNumberDlgPrompt prompt(&window);
    AnswerDialog(typed, ok);
    const std::optional<int> number = prompt.AskSerialNumber();
    QCOMPARE(number.value_or(-1), answer);
}

void tst_CSerialNumberDlg::macroSendsTheRecordTyped()
{
    CRecordingOutput line;
    CCommandSender sender(line);
    CSerialNumberDlgPrompt prompt;
    sender.SetSerialNumberPrompt(&prompt);
    AnswerDialog(QStringLiteral("42"), true);
    sender.SendCommand("SN ^$S0x100^$S\r");
    QCOMPARE(line.m_bytes, QByteArray("SN S309000001000000002ACB\r"));
    // Cancel drops the rest of the command text.
    line.m_bytes.clear();
    AnswerDialog(QStringLiteral("42"), false);
    sender.SendCommand("SN ^$S0x100^$S\r");
    QCOMPARE(line.m_bytes, QByteArray("SN "));
}

QTEST_MAIN(tst_CSerialNumberDlg)
#include "tst_CSerialNumberDlg.moc"
