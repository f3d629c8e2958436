#include "CScript.h"
#include "CScriptPage.h"
#include "WidgetTestIncludes.h"

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
    explicit Page(const CScript& script = CScript(), bool shown = true)
    {
        page.LoadFrom(script);
        if (shown)
            Show();
    }
    void Show()
    {
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
    QPushButton* Add() { return Child<QPushButton>("add"); }
    QPushButton* Remove() { return Child<QPushButton>("remove"); }

    void Focus(QWidget* widget) { widget->setFocus(Qt::MouseFocusReason); }
    void Type(const QString& input)
    {
        Focus(Input());
        Input()->setEditText(input);
    }
    void ClickRow(QListWidget* list, int row)
    {
        list->scrollToItem(list->item(row));
        QTest::mouseClick(list->viewport(), Qt::LeftButton, {},
                          list->visualItemRect(list->item(row)).center());
    }
    void DoubleClickRow(QListWidget* list, int row)
    {
        ClickRow(list, row);
        QTest::mouseDClick(list->viewport(), Qt::LeftButton, {},
                           list->visualItemRect(list->item(row)).center());
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
    void registersInputString()
    {
        const QByteArrayList status{"STATUS"};
        const struct
        {
            const char* name;
            QByteArrayList registered;
            QString typed;
            QString trigger; // the widget that takes the focus, or Return, or OK
            QByteArrayList expected;
        } rows[] = {
            {"a prefix of a registered string registers nothing", status, "S", "sequence", status},
            {"a new first letter registers", status, "T", "sequence", {"STATUS", "T"}},
            {"an empty text registers nothing", status, "", "command", status},
            {"cut to 99 characters", {}, QString(150, QLatin1Char('A')), "sequence", {QByteArray(99, 'A')}},
            {"the end-of-string field does not register", status, "T", "endOfString", status},
            {"Enter registers", {}, "$", "Return", {"$"}},
            {"OK registers", {"A"}, "<STX>", "OK", {"A", "<STX>"}},
        };
        for (const auto& row : rows) {
            Sequences sequences;
            for (int i = 0; i < row.registered.size(); ++i)
                sequences << QByteArrayList{"TrimAll()"};
            Page p(MakeScript(row.registered, sequences));
            QVERIFY(p.active);
            p.Type(row.typed);
            if (row.trigger == "Return") {
                QTest::keyClick(p.Input(), Qt::Key_Return);
                QVERIFY(p.Input()->hasFocus()); // registered without leaving the box
            } else if (row.trigger == "OK") {
                p.Focus(p.Child<QCheckBox>("registered")); // as the sheet's OK button takes the focus
                p.page.OnOK();
            } else {
                p.Focus(p.page.findChild<QWidget*>(row.trigger));
            }
            QVERIFY2(ItemTexts(p.Input()) == row.expected, row.name);
            const CScript saved = p.Saved();
            QVERIFY2(saved.m_InputStrings == row.expected && saved.GetSequenceCount() == row.expected.size(),
                     row.name);
        }
    }

    void addsCommandAndCommitsOnOK()
    {
        const struct
        {
            QByteArray input;
            QByteArray name;
            bool byButton;     // else by a double click
            QString arguments; // selected in the command field
            QByteArray command;
            QString preview;
        } rows[] = {
            // On an empty preview TrimLeft strips leading blanks.
            {"  12.5 mg", "TrimLeft", false, "", "TrimLeft()", "12.5 mg"},
            // RemoveCharacters works on the decoded control codes.
            {"<STX>x<ETX>", "RemoveCharacters", true, "0, 1", "RemoveCharacters(0, 1)", "x<ETX>"},
        };
        for (const auto& row : rows) {
            Page p(MakeScript({row.input}, {{}}));
            QVERIFY(p.active);
            const int index = p.CommandRow(row.name);
            if (row.byButton) {
                p.ClickRow(p.Commands(), index);
                p.Click(p.Add());
            } else {
                p.DoubleClickRow(p.Commands(), index);
            }
            QCOMPARE(p.Command()->text(), QString::fromLatin1(row.command));
            QVERIFY(p.Command()->hasFocus());
            QCOMPARE(p.Command()->selectedText(), row.arguments);
            QVERIFY(p.SavedSequence(0).isEmpty()); // nothing is added before OK

            p.page.OnOK();
            QVERIFY(!p.page.IsPending());
            QCOMPARE(ItemTexts(p.Sequence()), QByteArrayList{row.command});
            QCOMPARE(p.Output()->text(), row.preview);
            QCOMPARE(p.SavedSequence(0), QByteArrayList{row.command});
        }
    }

    void changesSelectedCommandAndPreviewExplainsFailure()
    {
        Page p(MakeScript({"abc"}, {{"InsertCharacter(0, a)", "TrimAll()"}}));
        QVERIFY(p.active);
        p.ChooseInput(0);
        QCOMPARE(p.Output()->text(), QStringLiteral("aabc"));
        p.ClickRow(p.Sequence(), 0);
        QCOMPARE(p.Command()->text(), QStringLiteral("InsertCharacter(0, a)"));
        QCOMPARE(p.Command()->selectedText(), QStringLiteral("0, a"));
        QCOMPARE(p.Syntax()->text(), QStringLiteral("InsertCharacter(Position, Character)"));
        p.Focus(p.Command());
        p.Command()->setText(QStringLiteral("InsertCharacter(3, #)"));
        QTest::keyClick(p.Command(), Qt::Key_Return);
        QVERIFY(!p.page.IsPending());
        QCOMPARE(ItemTexts(p.Sequence()), QByteArrayList({"InsertCharacter(3, #)", "TrimAll()"}));
        // The whole sequence runs again: the old command leaves no trace.
        QCOMPARE(p.Output()->text(), QStringLiteral("abc#"));
        QCOMPARE(p.SavedSequence(0), QByteArrayList({"InsertCharacter(3, #)", "TrimAll()"}));

        p.ClickRow(p.Sequence(), 1);
        p.Command()->setText(QStringLiteral("ChangeCharacter(9, X, Y)"));
        p.page.OnOK();
        // The preview ends at the failing command with what was reached.
        QCOMPARE(p.Output()->text(), QStringLiteral("abc#"));
        QVERIFY(p.PreviewError()->isVisibleTo(&p.page));
        const QString message = p.PreviewError()->text();
        QVERIFY2(message.contains(QStringLiteral("command 2")) &&
                     message.contains(QStringLiteral("ChangeCharacter(9, X, Y)")) &&
                     message.contains(QStringLiteral("position 9")),
                 qPrintable(message));
        // A good command afterwards clears the message.
        p.ClickRow(p.Sequence(), 1);
        p.Command()->setText(QStringLiteral("ChangeCharacter(3, Z, Y)"));
        p.page.OnOK();
        QCOMPARE(p.Output()->text(), QStringLiteral("abcZ"));
        QVERIFY(p.PreviewError()->isHidden());
    }

    void removes()
    {
        // Steps: "i" leaves the input box, "s<n>" clicks command n of the sequence list.
        const struct
        {
            const char* name;
            QString steps;
            QByteArrayList inputs;
            QByteArrayList firstSequence;
            QString focusAfter;
        } rows[] = {
            {"the selected command", "s1", {"A", "B"}, {"TrimAll()", "SkipCharacters(2)"}, "sequence"},
            {"the selected input string, the next shown", "i", {"B"}, {"SkipCharacters(1)"}, "inputString"},
            // The one touched last goes: the command, then the input string.
            {"input box, command", "i s0", {"A", "B"}, {"TrimLeft()", "SkipCharacters(2)"}, "sequence"},
            {"command, input box", "s0 i", {"B"}, {"SkipCharacters(1)"}, "inputString"},
        };
        for (const auto& row : rows) {
            Page p(MakeScript({"A", "B"},
                              {{"TrimAll()", "TrimLeft()", "SkipCharacters(2)"}, {"SkipCharacters(1)"}}));
            QVERIFY(p.active);
            for (const QString& step : row.steps.split(QLatin1Char(' '))) {
                if (step == "i")
                    p.Focus(p.Input());
                else
                    p.ClickRow(p.Sequence(), step.mid(1).toInt());
            }
            p.Click(p.Remove());
            QVERIFY2(p.Saved().m_InputStrings == row.inputs, row.name);
            QVERIFY2(p.SavedSequence(0) == row.firstSequence, row.name);
            QVERIFY2(ItemTexts(p.Sequence()) == row.firstSequence, row.name);
            QVERIFY(!p.page.IsPending());
            QVERIFY2(QApplication::focusWidget() == p.page.findChild<QWidget*>(row.focusAfter), row.name);
        }
    }

    void opensWithListsFilledAndButtonsOffAndRoundTrips()
    {
        CScript script = MakeScript({"~", "S", "<STX>x<ETX>"},
                                    {{"TrimLeft()"}, {}, {"RemoveCharacters(0, 1)", "TrimAll()"}});
        script.m_Sequences[1] = nullptr; // an absent sequence of the file
        script.m_bRegistered = 1;
        script.m_strEndOfString = "<CR><LF>";
        // Before the page is shown: the sheet's first focus then enables Remove.
        Page p(script, false);
        QCOMPARE(ItemTexts(p.Input()), script.m_InputStrings);
        QCOMPARE(ItemTexts(p.Sequence()), QByteArrayList{"TrimLeft()"});
        QVERIFY(!p.Add()->isEnabled() && !p.Remove()->isEnabled());
        CScript saved;
        saved.m_InputStrings = {"old"};
        p.page.SaveTo(saved);
        QCOMPARE(saved.m_InputStrings, script.m_InputStrings);
        QCOMPARE(saved.GetCommandCount(1), 0);
        QCOMPARE(saved.GetCommand(2, 1), QByteArray("TrimAll()"));
        // The saved script owns its own sequences; edits stay on the page until saved.
        p.Show();
        QVERIFY(p.active);
        p.ChooseInput(0);
        p.DoubleClickRow(p.Commands(), p.CommandRow("TrimAll"));
        p.page.OnOK();
        QCOMPARE(*script.m_Sequences[0], QByteArrayList{"TrimLeft()"});
        QCOMPARE(p.SavedSequence(0), (QByteArrayList{"TrimLeft()", "TrimAll()"}));
    }
};

QTEST_MAIN(tst_CScriptPage)
#include "tst_CScriptPage.moc"
