#include "CSerialNumberDlg.h"
#include "WidgetTestIncludes.h"

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

} // namespace

// The bounds and forms of a number are the parser's (tst_CommandSender);
// here only what the dialog adds: refused with the reason and kept open, the
// number taken on OK (the function key that asks, and Cancel, are
// tst_InstrumentWindow's).
class tst_CSerialNumberDlg : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void refusesAndStaysOpen_data()
    {
        QTest::addColumn<QString>("typed");
        QTest::addColumn<QString>("reason");
        QTest::newRow("one beyond the range") << "10000" << "between 0 and 9999";
        QTest::newRow("letters") << "abc" << "Please enter an integer.";
    }

    void refusesAndStaysOpen()
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
        QCOMPARE(edit->selectedText(), typed); // ready to be typed over
        // A corrected number is then taken.
        edit->setText(QStringLiteral("17"));
        QCOMPARE(PressOk(dialog), QString());
        QCOMPARE(dialog.result(), int(QDialog::Accepted));
        QCOMPARE(dialog.GetSerialNumber(), 17);
    }
};

QTEST_MAIN(tst_CSerialNumberDlg)
#include "tst_CSerialNumberDlg.moc"
