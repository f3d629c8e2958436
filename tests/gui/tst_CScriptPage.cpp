#include "CScript.h"
#include "CScriptPage.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDir>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QSignalSpy>
#include <QTest>

#include <memory>

namespace {

using Sequences = QList<QByteArrayList>;

CScript MakeScript(const QByteArrayList& inputs, const Sequences& sequences)
{
    CScript script;
    script.m_InputStrings = inputs;
    for (const QByteArrayList& commands : sequences)
        script.m_Sequences.append(std::make_shared<CStringArray>(commands));
    return script;
}

QByteArrayList ItemTexts(const QListWidget* list)
{
    QByteArrayList texts;
    for (int i = 0; i < list->count(); ++i)
        texts << list->item(i)->text().toLatin1();
    return texts;
}

QByteArrayList ItemTexts(const QComboBox* box)
{
    QByteArrayList texts;
    for (int i = 0; i < box->count(); ++i)
        texts << box->itemText(i).toLatin1();
    return texts;
}

// The page in an active window, driven through its controls as a user would.
class Page
{
public:
    // The script is loaded before the page is shown, as the sheet does.
    explicit Page(const CScript& script = CScript())
    {
        page.LoadFrom(script);
        page.resize(page.sizeHint());
        page.show();
        page.activateWindow();
        active = QTest::qWaitForWindowActive(&page);
    }

    template <typename T> T* Child(const char* name) { return page.findChild<T*>(QLatin1String(name)); }
    QComboBox* Input() { return Child<QComboBox>("inputString"); }
    QLineEdit* Output() { return Child<QLineEdit>("outputString"); }
    QLabel* PreviewError() { return Child<QLabel>("previewError"); }
    QListWidget* Commands() { return Child<QListWidget>("commands"); }
    QListWidget* Sequence() { return Child<QListWidget>("sequence"); }
    QLineEdit* Command() { return Child<QLineEdit>("command"); }
    QLabel* Syntax() { return Child<QLabel>("syntax"); }
    QListWidget* ControlCodes() { return Child<QListWidget>("controlCodes"); }
    QPushButton* Add() { return Child<QPushButton>("add"); }
    QPushButton* Remove() { return Child<QPushButton>("remove"); }
    QLineEdit* EndOfString() { return Child<QLineEdit>("endOfString"); }

    void Focus(QWidget* widget) { widget->setFocus(Qt::MouseFocusReason); }
    void Type(const QString& input)
    {
        Focus(Input());
        Input()->setEditText(input);
    }
    void ClickRow(QListWidget* list, int row)
    {
        list->scrollToItem(list->item(row));
        QTest::mouseClick(list->viewport(), Qt::LeftButton, {}, list->visualItemRect(list->item(row)).center());
    }
    void DoubleClickRow(QListWidget* list, int row)
    {
        ClickRow(list, row);
        QTest::mouseDClick(list->viewport(), Qt::LeftButton, {}, list->visualItemRect(list->item(row)).center());
    }
    void Click(QPushButton* button) { QTest::mouseClick(button, Qt::LeftButton); }
    void ChooseInput(int index)
    {
        Focus(Input());
        Input()->setCurrentIndex(index);
        Q_EMIT Input()->activated(index);
    }
    int CommandRow(const char* name) { return int(ItemTexts(Commands()).indexOf(name)); }

    CScript Saved()
    {
        CScript script;
        page.SaveTo(script);
        return script;
    }
    QByteArrayList SavedSequence(int index)
    {
        const CScript script = Saved();
        QByteArrayList commands;
        for (int i = 0; i < script.GetCommandCount(index); ++i)
            commands << script.GetCommand(index, i);
        return commands;
    }

    CScriptPage page;
    bool active = false;
};

} // namespace

class tst_CScriptPage : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void opensWithListsFilledAndButtonsOff()
    {
        // Before the page is shown: the sheet's first focus then enables Remove.
        CScriptPage page;
        page.LoadFrom(MakeScript({ "S", "<STX>" }, { { "TrimAll()", "SkipCharacters(1)" }, {} }));
        const auto child = [&page](const char* name) { return page.findChild<QWidget*>(QLatin1String(name)); };
        const auto* input = static_cast<QComboBox*>(child("inputString"));
        QCOMPARE(ItemTexts(input), QByteArrayList({ "S", "<STX>" }));
        QCOMPARE(input->currentText(), QStringLiteral("S"));
        QCOMPARE(ItemTexts(static_cast<QListWidget*>(child("sequence"))), QByteArrayList({ "TrimAll()", "SkipCharacters(1)" }));
        QVERIFY(static_cast<QLineEdit*>(child("outputString"))->text().isEmpty());
        QVERIFY(static_cast<QLabel*>(child("syntax"))->text().isEmpty());
        QVERIFY(!child("add")->isEnabled());
        QVERIFY(!child("remove")->isEnabled());
        QVERIFY(!page.IsPending());
    }

    void registersInputString_data()
    {
        QTest::addColumn<QByteArrayList>("registered");
        QTest::addColumn<QString>("typed");
        QTest::addColumn<QString>("trigger");
        QTest::addColumn<QByteArrayList>("expected");
        const QByteArrayList status { "STATUS" };
        QTest::newRow("a prefix of a registered string registers nothing") << status << "S" << "sequence" << status;
        QTest::newRow("the prefix in other letter case registers nothing") << status << "status" << "commands" << status;
        QTest::newRow("a new first letter registers") << status << "T" << "sequence" << QByteArrayList { "STATUS", "T" };
        QTest::newRow("a longer string over a registered prefix registers")
            << QByteArrayList { "S" } << "STATUS" << "outputString" << QByteArrayList { "S", "STATUS" };
        QTest::newRow("an empty text registers nothing") << status << "" << "command" << status;
        QTest::newRow("a text beyond 99 characters is cut to 99")
            << QByteArrayList() << QString(150, QLatin1Char('A')) << "sequence" << QByteArrayList { QByteArray(99, 'A') };
        QTest::newRow("the end-of-string field does not register") << status << "T" << "endOfString" << status;
        QTest::newRow("Enter registers") << QByteArrayList() << "$" << "Return" << QByteArrayList { "$" };
        QTest::newRow("OK registers") << QByteArrayList { "A" } << "<STX>" << "OK" << QByteArrayList { "A", "<STX>" };
    }

    void registersInputString()
    {
        QFETCH(QByteArrayList, registered);
        QFETCH(QString, typed);
        QFETCH(QString, trigger);
        QFETCH(QByteArrayList, expected);
        Sequences sequences;
        for (int i = 0; i < registered.size(); ++i)
            sequences << QByteArrayList { "TrimAll()" };
        Page p(MakeScript(registered, sequences));
        QVERIFY(p.active);
        p.Type(typed);
        if (trigger == "Return") {
            QTest::keyClick(p.Input(), Qt::Key_Return);
            QVERIFY(p.Input()->hasFocus()); // registered without leaving the box
        } else if (trigger == "OK") {
            p.Focus(p.Child<QCheckBox>("registered")); // as the sheet's OK button takes the focus
            p.page.OnOK();
        } else {
            p.Focus(p.page.findChild<QWidget*>(trigger));
        }
        QCOMPARE(ItemTexts(p.Input()), expected);
        const CScript saved = p.Saved();
        QCOMPARE(saved.m_InputStrings, expected);
        QCOMPARE(saved.GetSequenceCount(), expected.size());
        if (expected.size() > registered.size()) {
            QCOMPARE(p.Input()->currentIndex(), expected.size() - 1);
            QCOMPARE(p.Sequence()->count(), 0); // the new string's sequence is shown
            QCOMPARE(saved.GetCommandCount(int(expected.size()) - 1), 0);
        }
    }

    void addsCommandAndCommitsOnOK_data()
    {
        QTest::addColumn<QByteArray>("input");
        QTest::addColumn<QByteArray>("name");
        QTest::addColumn<bool>("byButton");
        QTest::addColumn<QString>("arguments");
        QTest::addColumn<QByteArray>("command");
        QTest::addColumn<QString>("preview");
        QTest::newRow("TrimLeft on an empty preview strips leading blanks")
            << QByteArray("  12.5 mg") << QByteArray("TrimLeft") << false << "" << QByteArray("TrimLeft()") << "12.5 mg";
        QTest::newRow("RemoveCharacters works on the decoded control codes")
            << QByteArray("<STX>x<ETX>") << QByteArray("RemoveCharacters") << true << "0, 1"
            << QByteArray("RemoveCharacters(0, 1)") << "x<ETX>";
    }

    void addsCommandAndCommitsOnOK()
    {
        QFETCH(QByteArray, input);
        QFETCH(QByteArray, name);
        QFETCH(bool, byButton);
        QFETCH(QByteArray, command);
        Page p(MakeScript({ input }, { {} }));
        QVERIFY(p.active);
        QSignalSpy pending(&p.page, &CScriptPage::PendingChanged);
        const int row = p.CommandRow(name);
        if (byButton) {
            p.ClickRow(p.Commands(), row);
            QVERIFY(p.Add()->isEnabled());
            p.Click(p.Add());
        } else {
            p.DoubleClickRow(p.Commands(), row);
        }
        QCOMPARE(p.Command()->text(), QString::fromLatin1(command));
        QVERIFY(p.Command()->hasFocus());
        QTEST(p.Command()->selectedText(), "arguments");
        QVERIFY(p.Syntax()->text().startsWith(QString::fromLatin1(name) + QLatin1Char('(')));
        QVERIFY(p.page.IsPending());
        QCOMPARE(pending.count(), 1);
        QCOMPARE(pending.at(0).at(0).toBool(), true);
        QVERIFY(p.SavedSequence(0).isEmpty()); // nothing is added before OK

        p.page.OnOK();
        QVERIFY(!p.page.IsPending());
        QCOMPARE(ItemTexts(p.Sequence()), QByteArrayList { command });
        QTEST(p.Output()->text(), "preview");
        QCOMPARE(p.SavedSequence(0), QByteArrayList { command });
    }

    void insertsControlCode_data()
    {
        QTest::addColumn<QString>("target");
        QTest::addColumn<QString>("before");
        QTest::addColumn<int>("selectionStart");
        QTest::addColumn<int>("selectionLength");
        QTest::addColumn<int>("code");
        QTest::addColumn<QString>("after");
        QTest::newRow("replaces the selection of the command field")
            << "command" << "ChangeCharacters(a, b)" << 17 << 1 << 13 << "ChangeCharacters(<CR>, b)";
        QTest::newRow("goes in at the caret without a selection")
            << "command" << "ChangeSpaces()" << 13 << 0 << 9 << "ChangeSpaces(<HT>)";
        QTest::newRow("is appended to the input box") << "inputString" << "<STX>" << 0 << 0 << 3 << "<STX><ETX>";
        QTest::newRow("keeps the end of string at 99 characters")
            << "endOfString" << QString(97, QLatin1Char('x')) << 0 << 0 << 32 << QString(97, QLatin1Char('x')) + "<S";
    }

    void insertsControlCode()
    {
        QFETCH(QString, target);
        QFETCH(QString, before);
        QFETCH(int, selectionStart);
        QFETCH(int, selectionLength);
        QFETCH(int, code);
        Page p(MakeScript({ "A" }, { {} }));
        QVERIFY(p.active);
        QWidget* field = p.page.findChild<QWidget*>(target);
        QLineEdit* edit = target == "inputString" ? p.Input()->lineEdit() : qobject_cast<QLineEdit*>(field);
        p.Focus(field);
        edit->setText(before);
        edit->setSelection(selectionStart, selectionLength);
        p.DoubleClickRow(p.ControlCodes(), code);
        QTEST(edit->text(), "after");
        if (target == "command") {
            QVERIFY(p.page.IsPending());
            QVERIFY(p.ControlCodes()->hasFocus()); // more codes can follow
        } else {
            QVERIFY(field->hasFocus());
        }
    }

    void changesSelectedCommand()
    {
        Page p(MakeScript({ "abc" }, { { "InsertCharacter(0, a)", "TrimAll()" } }));
        QVERIFY(p.active);
        p.ChooseInput(0);
        QCOMPARE(p.Output()->text(), QStringLiteral("aabc"));
        p.ClickRow(p.Sequence(), 0);
        QCOMPARE(p.Command()->text(), QStringLiteral("InsertCharacter(0, a)"));
        QCOMPARE(p.Command()->selectedText(), QStringLiteral("0, a"));
        QCOMPARE(p.Syntax()->text(), QStringLiteral("InsertCharacter(Position, Character)"));
        QVERIFY(p.page.IsPending());
        p.Focus(p.Command());
        p.Command()->setText(QStringLiteral("InsertCharacter(3, #)"));
        QTest::keyClick(p.Command(), Qt::Key_Return);
        QVERIFY(!p.page.IsPending());
        QCOMPARE(ItemTexts(p.Sequence()), QByteArrayList({ "InsertCharacter(3, #)", "TrimAll()" }));
        // The whole sequence runs again: the old command leaves no trace.
        QCOMPARE(p.Output()->text(), QStringLiteral("abc#"));
        QCOMPARE(p.SavedSequence(0), QByteArrayList({ "InsertCharacter(3, #)", "TrimAll()" }));
    }

    void removes_data()
    {
        QTest::addColumn<QString>("steps");
        QTest::addColumn<QByteArrayList>("inputs");
        QTest::addColumn<QByteArrayList>("firstSequence");
        QTest::addColumn<QString>("focusAfter");
        // Steps: "i" leaves the input box, "s<n>" clicks command n of the sequence list.
        QTest::newRow("removes the selected command") << "s1" << QByteArrayList { "A", "B" }
                                                      << QByteArrayList { "TrimAll()", "SkipCharacters(2)" } << "sequence";
        QTest::newRow("removes the selected input string and shows the next")
            << "i" << QByteArrayList { "B" } << QByteArrayList { "SkipCharacters(1)" } << "inputString";
        QTest::newRow("a command touched after the input box removes only the command")
            << "i s0" << QByteArrayList { "A", "B" } << QByteArrayList { "TrimLeft()", "SkipCharacters(2)" } << "sequence";
        QTest::newRow("the input box left after the command removes only the input string")
            << "s0 i" << QByteArrayList { "B" } << QByteArrayList { "SkipCharacters(1)" } << "inputString";
    }

    void removes()
    {
        QFETCH(QString, steps);
        QFETCH(QByteArrayList, firstSequence);
        QFETCH(QString, focusAfter);
        Page p(MakeScript({ "A", "B" }, { { "TrimAll()", "TrimLeft()", "SkipCharacters(2)" },
                                                   { "SkipCharacters(1)" } }));
        QVERIFY(p.active);
        for (const QString& step : steps.split(QLatin1Char(' '))) {
            if (step == "i")
                p.Focus(p.Input());
            else
                p.ClickRow(p.Sequence(), step.mid(1).toInt());
        }
        QVERIFY(p.Remove()->isEnabled());
        p.Click(p.Remove());
        const CScript saved = p.Saved();
        QTEST(saved.m_InputStrings, "inputs");
        QCOMPARE(p.SavedSequence(0), firstSequence);
        QCOMPARE(ItemTexts(p.Sequence()), firstSequence);
        QVERIFY(!p.page.IsPending());
        QCOMPARE(QApplication::focusWidget(), p.page.findChild<QWidget*>(focusAfter));
    }

    void previewShowsWhatTheWindowShows_data()
    {
        QTest::addColumn<QByteArray>("input");
        QTest::addColumn<QByteArrayList>("commands");
        QTest::addColumn<QString>("preview");
        QTest::newRow("control codes are decoded before the commands run")
            << QByteArray("<STX>12.5<ETX>") << QByteArrayList { "RemoveCharacters(0, 1)" } << "12.5<ETX>";
        QTest::newRow("a control code as a command argument")
            << QByteArray("1<SPC>2<CR>") << QByteArrayList { "ChangeCharacters(<CR>, ;)", "TrimAll()" } << "12;";
        QTest::newRow("an empty sequence shows the input string") << QByteArray("<ESC>x") << QByteArrayList() << "<ESC>x";
    }

    void previewShowsWhatTheWindowShows()
    {
        QFETCH(QByteArray, input);
        QFETCH(QByteArrayList, commands);
        Page p(MakeScript({ "other", input }, { {}, commands }));
        QVERIFY(p.active);
        p.ChooseInput(1);
        QCOMPARE(ItemTexts(p.Sequence()), commands);
        QTEST(p.Output()->text(), "preview");
        QVERIFY(p.PreviewError()->isHidden());
    }

    void previewExplainsInvalidChangeCharacter()
    {
        Page p(MakeScript({ "abc" }, { { "InsertCharacter(0, x)" } }));
        QVERIFY(p.active);
        p.ChooseInput(0);
        p.ClickRow(p.Commands(), p.CommandRow("ChangeCharacter"));
        p.Click(p.Add());
        p.Command()->setText(QStringLiteral("ChangeCharacter(9, X, Y)"));
        p.page.OnOK();
        QCOMPARE(ItemTexts(p.Sequence()), QByteArrayList({ "InsertCharacter(0, x)", "ChangeCharacter(9, X, Y)" }));
        // The preview ends at the failing command with what was reached.
        QCOMPARE(p.Output()->text(), QStringLiteral("xabc"));
        QVERIFY(p.PreviewError()->isVisibleTo(&p.page));
        const QString message = p.PreviewError()->text();
        QVERIFY2(message.contains(QStringLiteral("command 2")) && message.contains(QStringLiteral("ChangeCharacter(9, X, Y)"))
                     && message.contains(QStringLiteral("position 9")),
                 qPrintable(message));
        // A good command afterwards clears the message.
        p.ClickRow(p.Sequence(), 1);
        p.Command()->setText(QStringLiteral("ChangeCharacter(3, Z, Y)"));
        p.page.OnOK();
        QCOMPARE(p.Output()->text(), QStringLiteral("xabZ"));
        QVERIFY(p.PreviewError()->isHidden());
    }

    void buttonsAndPendingFollowTheFocus()
    {
        Page p(MakeScript({ "A", "B" }, { { "TrimAll()" }, {} }));
        QVERIFY(p.active);
        p.Focus(p.Input());
        QVERIFY(!p.Add()->isEnabled());
        QVERIFY(p.Remove()->isEnabled());
        p.ClickRow(p.Sequence(), 0);
        QVERIFY(!p.Add()->isEnabled());
        QVERIFY(p.Remove()->isEnabled());
        QVERIFY(p.page.IsPending());
        p.Focus(p.Commands());
        QVERIFY(p.Add()->isEnabled());
        QVERIFY(!p.Remove()->isEnabled());
        QVERIFY(!p.page.IsPending());
        p.Focus(p.Command()); // holds the selected command's text
        QVERIFY(p.page.IsPending());
        p.Focus(p.ControlCodes());
        QVERIFY(p.Add()->isEnabled());
        QVERIFY(!p.page.IsPending());
        p.ChooseInput(1);
        p.Focus(p.Sequence());
        QVERIFY(!p.Remove()->isEnabled()); // the sequence of "B" is empty
    }

    void pendingSurvivesAnotherWindow()
    {
        Page p(MakeScript({ "A" }, { {} }));
        QVERIFY(p.active);
        p.DoubleClickRow(p.Commands(), p.CommandRow("ChangeSpaces"));
        p.DoubleClickRow(p.ControlCodes(), 9); // <HT> over the selected "abc"
        QCOMPARE(p.Command()->text(), QStringLiteral("ChangeSpaces(<HT>)"));
        QVERIFY(p.page.IsPending());
        QWidget other;
        other.show();
        other.activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(&other));
        p.page.activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(&p.page));
        QVERIFY(p.ControlCodes()->hasFocus());
        QVERIFY(p.page.IsPending());
        p.page.OnOK();
        QCOMPARE(p.SavedSequence(0), QByteArrayList { "ChangeSpaces(<HT>)" });
    }

    void loadAndSaveRoundTrip()
    {
        CScript script = MakeScript({ "~", "S", "<STX>x<ETX>" }, { { "TrimLeft()" }, {}, { "RemoveCharacters(0, 1)", "TrimAll()" } });
        script.m_Sequences[1] = nullptr; // an absent sequence of the file
        script.m_bRegistered = 1;
        script.m_strEndOfString = "<CR><LF>";
        Page p(script);
        QVERIFY(p.Child<QCheckBox>("registered")->isChecked());
        QCOMPARE(p.EndOfString()->text(), QStringLiteral("<CR><LF>"));
        CScript saved;
        saved.m_InputStrings = { "old" };
        p.page.SaveTo(saved);
        QCOMPARE(saved.m_InputStrings, script.m_InputStrings);
        QCOMPARE(saved.m_bRegistered, 1);
        QCOMPARE(saved.m_strEndOfString, QByteArray("<CR><LF>"));
        QCOMPARE(saved.GetCommandCount(1), 0);
        QCOMPARE(saved.GetCommand(2, 1), QByteArray("TrimAll()"));
        // The saved script owns its own sequences.
        QVERIFY(saved.m_Sequences[0] != script.m_Sequences[0]);
    }

    void editsStayOnThePageUntilSaved()
    {
        const CScript script = MakeScript({ "A" }, { { "TrimAll()" } });
        Page p(script);
        QVERIFY(p.active);
        p.DoubleClickRow(p.Commands(), p.CommandRow("TrimLeft"));
        p.page.OnOK();
        p.ClickRow(p.Sequence(), 0);
        p.Click(p.Remove());
        QCOMPARE(p.SavedSequence(0), QByteArrayList { "TrimLeft()" });
        QCOMPARE(*script.m_Sequences[0], QByteArrayList { "TrimAll()" });
    }

    void layoutShowsEveryControlWhole()
    {
        CScript script = MakeScript({ "<STX>  12.5 mg<ETX>", "S" }, { { "RemoveCharacters(0, 1)", "TrimLeft()" }, {} });
        script.m_bRegistered = 1;
        script.m_strEndOfString = "<ETX>";
        Page p(script);
        QVERIFY(p.active);
        p.ChooseInput(0);
        p.ClickRow(p.Commands(), p.CommandRow("RemoveCharacters"));
        const auto widgets = p.page.findChildren<QWidget*>();
        for (QWidget* widget : widgets) {
            if (!widget->isVisible() || qobject_cast<QLabel*>(widget) == p.PreviewError())
                continue;
            const QRect inPage(widget->mapTo(&p.page, QPoint(0, 0)), widget->size());
            QVERIFY2(p.page.rect().contains(inPage), qPrintable(widget->objectName()));
            if (qobject_cast<QLabel*>(widget) || qobject_cast<QAbstractButton*>(widget)) {
                const QSize hint = widget->minimumSizeHint();
                QVERIFY2(widget->width() >= hint.width() && widget->height() >= hint.height(),
                         qPrintable(widget->objectName() + QLatin1Char(' ') + widget->property("text").toString()));
            }
        }
        const QByteArray folder = qgetenv("ORVALIS_SCREENSHOT_DIR");
        if (!folder.isEmpty())
            QVERIFY(p.page.grab().save(QDir(QString::fromLocal8Bit(folder)).filePath(QStringLiteral("script-page.png"))));
    }
};

QTEST_MAIN(tst_CScriptPage)
#include "tst_CScriptPage.moc"
