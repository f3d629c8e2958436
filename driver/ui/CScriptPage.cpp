#include "CScriptPage.h"

#include "CCodePage.h"
#include "CControlCode.h"
#include "CParse.h"
#include "CScript.h"
#include "ResourceIds.h"

#include <QCheckBox>
#include <QComboBox>
#include <QEvent>
#include <QFocusEvent>
#include <QFontDatabase>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QSignalBlocker>
#include <QVBoxLayout>

#include <exception>

namespace {

QString Text(const QByteArray& bytes)
{
    return CCodePage::ToUnicode(bytes);
}

QByteArray Bytes(const QString& text)
{
    return CCodePage::FromUnicode(text);
}

struct CommandHelp
{
    QByteArray name, syntax, example, description;
};

CommandHelp HelpOf(int commandIndex)
{
    CommandHelp help;
    CParse().SplitResource(IDS_CMD_FIRST + commandIndex, help.name, help.syntax, help.example,
                           help.description);
    return help;
}

// "ChangeCharacter: position 9 is ..." -> "position 9 is ..."
QString PlainReason(const char* what)
{
    QString reason = QString::fromUtf8(what);
    const int colon = int(reason.indexOf(QLatin1String(": ")));
    if (colon > 0 && !reason.left(colon).contains(QLatin1Char(' ')))
        reason = reason.mid(colon + 2);
    return reason;
}

} // namespace

CScriptPage::CScriptPage(QWidget* parent)
    : CPropertyPage(QStringLiteral("Script Language"), parent)
{
    CreateControls();
    LayOutControls();
    FillCommandNames();
    FillControlCodes();
    ShowWorkingCopy();
}

void CScriptPage::CreateControls()
{
    const QFont fixed = QFontDatabase::systemFont(QFontDatabase::FixedFont);

    m_pInput = new QComboBox(this);
    m_pInput->setObjectName(QStringLiteral("inputString"));
    m_pInput->setEditable(true);
    // Registration follows the page's own rule, not the combo box's.
    m_pInput->setInsertPolicy(QComboBox::NoInsert);
    m_pInput->setCompleter(nullptr);
    m_pInput->lineEdit()->setMaxLength(MaxInputLength);
    m_pInput->setFont(fixed);

    m_pOutput = new QLineEdit(this);
    m_pOutput->setObjectName(QStringLiteral("outputString"));
    m_pOutput->setReadOnly(true);
    m_pOutput->setFont(fixed);
    // A preview, not a field to type in: shown on the window colour.
    QPalette preview = m_pOutput->palette();
    preview.setColor(QPalette::Base, preview.color(QPalette::Window));
    m_pOutput->setPalette(preview);

    m_pPreviewError = new QLabel(this);
    m_pPreviewError->setObjectName(QStringLiteral("previewError"));
    m_pPreviewError->setWordWrap(true);
    m_pPreviewError->setStyleSheet(QStringLiteral("color: #b00020;"));
    m_pPreviewError->hide();

    m_pCommands = new QListWidget(this);
    m_pCommands->setObjectName(QStringLiteral("commands"));

    m_pSequence = new QListWidget(this);
    m_pSequence->setObjectName(QStringLiteral("sequence"));
    m_pSequence->setFont(fixed);

    m_pCommand = new QLineEdit(this);
    m_pCommand->setObjectName(QStringLiteral("command"));
    m_pCommand->setFont(fixed);
    m_pCommand->setPlaceholderText(QStringLiteral("Command"));

    m_pSyntax = new QLabel(this);
    m_pSyntax->setObjectName(QStringLiteral("syntax"));
    m_pSyntax->setFont(fixed);
    m_pSyntax->setTextInteractionFlags(Qt::TextSelectableByMouse);

    m_pDescription = new QLabel(this);
    m_pDescription->setObjectName(QStringLiteral("description"));
    m_pDescription->setWordWrap(true);
    m_pDescription->setAlignment(Qt::AlignLeft | Qt::AlignTop);

    m_pControlCodes = new QListWidget(this);
    m_pControlCodes->setObjectName(QStringLiteral("controlCodes"));
    m_pControlCodes->setFont(fixed);

    m_pAdd = new QPushButton(QStringLiteral("&Add"), this);
    m_pAdd->setObjectName(QStringLiteral("add"));
    m_pAdd->setAutoDefault(false);
    m_pRemove = new QPushButton(QStringLiteral("&Remove"), this);
    m_pRemove->setObjectName(QStringLiteral("remove"));
    m_pRemove->setAutoDefault(false);

    m_pRegistered = new QCheckBox(QStringLiteral("Registered Input Strings"), this);
    m_pRegistered->setObjectName(QStringLiteral("registered"));

    m_pEndOfString = new QLineEdit(this);
    m_pEndOfString->setObjectName(QStringLiteral("endOfString"));
    m_pEndOfString->setFont(fixed);

    for (QWidget* tracked : std::initializer_list<QWidget*> { m_pInput, m_pOutput, m_pCommands, m_pSequence,
                                                              m_pCommand, m_pControlCodes, m_pEndOfString })
        tracked->installEventFilter(this);

    connect(m_pInput, &QComboBox::activated, this, &CScriptPage::OnInputChosen);
    connect(m_pCommands, &QListWidget::currentRowChanged, this, &CScriptPage::OnCommandChosen);
    connect(m_pCommands, &QListWidget::itemDoubleClicked, this, [this] {
        m_lastLeft = Control::Commands;
        OnAdd();
    });
    connect(m_pControlCodes, &QListWidget::itemDoubleClicked, this, [this] {
        m_lastLeft = Control::ControlCodes;
        OnAdd();
    });
    connect(m_pSequence, &QListWidget::currentRowChanged, this, &CScriptPage::OnSequenceCommandSelected);
    // A click on the row that is already current selects it again.
    connect(m_pSequence, &QListWidget::itemClicked, this,
            [this](QListWidgetItem* item) { OnSequenceCommandSelected(m_pSequence->row(item)); });
    connect(m_pAdd, &QPushButton::clicked, this, &CScriptPage::OnAdd);
    connect(m_pRemove, &QPushButton::clicked, this, &CScriptPage::OnRemove);
}

void CScriptPage::LayOutControls()
{
    auto label = [this](const QString& text, QWidget* buddy) {
        auto* l = new QLabel(text, this);
        l->setBuddy(buddy);
        return l;
    };

    auto* strings = new QGridLayout;
    strings->addWidget(label(QStringLiteral("&Input String:"), m_pInput), 0, 0);
    strings->addWidget(m_pInput, 0, 1);
    strings->addWidget(label(QStringLiteral("&Output String:"), m_pOutput), 1, 0);
    strings->addWidget(m_pOutput, 1, 1);
    strings->addWidget(m_pPreviewError, 2, 1);
    strings->setColumnStretch(1, 1);

    const int listHeight = m_pCommands->fontMetrics().height() * 9;
    m_pCommands->setMinimumHeight(listHeight);
    m_pSequence->setMinimumHeight(listHeight);
    m_pControlCodes->setMinimumHeight(listHeight);
    m_pControlCodes->setMaximumWidth(m_pControlCodes->fontMetrics().horizontalAdvance(QStringLiteral("<NUL>")) * 2 + 24);
    m_pCommands->setMinimumWidth(m_pCommands->fontMetrics().horizontalAdvance(QStringLiteral("ChangeCharacters")) + 32);
    m_pSequence->setMinimumWidth(m_pSequence->fontMetrics().horizontalAdvance(QStringLiteral("RemoveCharacters(0, 1)")) + 32);

    auto* lists = new QGridLayout;
    lists->addWidget(label(QStringLiteral("&Commands:"), m_pCommands), 0, 0);
    lists->addWidget(label(QStringLiteral("&Sequence:"), m_pSequence), 0, 1);
    lists->addWidget(label(QStringLiteral("Control Codes:"), m_pControlCodes), 0, 2);
    lists->addWidget(m_pCommands, 1, 0);
    lists->addWidget(m_pSequence, 1, 1);
    lists->addWidget(m_pControlCodes, 1, 2, 3, 1);
    lists->addWidget(m_pCommand, 2, 0, 1, 2);
    auto* help = new QVBoxLayout;
    help->setSpacing(4);
    help->addWidget(m_pSyntax);
    help->addWidget(m_pDescription);
    help->addStretch(1);
    m_pDescription->setMinimumHeight(m_pDescription->fontMetrics().lineSpacing() * 2);
    lists->addLayout(help, 3, 0, 1, 2);
    auto* buttons = new QVBoxLayout;
    buttons->addWidget(m_pAdd);
    buttons->addWidget(m_pRemove);
    buttons->addStretch(1);
    lists->addLayout(buttons, 1, 3, 3, 1);
    lists->setColumnStretch(0, 2);
    lists->setColumnStretch(1, 3);
    lists->setRowStretch(1, 1);

    auto* switches = new QHBoxLayout;
    switches->addWidget(m_pRegistered);
    switches->addStretch(1);
    switches->addWidget(label(QStringLiteral("End of String:"), m_pEndOfString));
    m_pEndOfString->setMaximumWidth(m_pEndOfString->fontMetrics().horizontalAdvance(QLatin1Char('M')) * 16);
    switches->addWidget(m_pEndOfString);

    auto* page = new QVBoxLayout(this);
    page->addLayout(strings);
    page->addSpacing(6);
    page->addLayout(lists, 1);
    page->addSpacing(6);
    page->addLayout(switches);
}

void CScriptPage::FillCommandNames()
{
    for (int i = 0; i < IDS_CMD_COUNT; ++i) {
        const QByteArray name = HelpOf(i).name;
        m_CommandNames.append(name);
        m_pCommands->addItem(Text(name));
    }
}

void CScriptPage::FillControlCodes()
{
    const CControlCode codes;
    for (int code = 0; code < codes.GetCount(); ++code)
        m_pControlCodes->addItem(Text('<' + codes.GetName(code) + '>'));
}

// The input box refilled with the first input string and its sequence.
void CScriptPage::ShowFirstInputString()
{
    FillInputBox();
    m_nInput = m_InputStrings.isEmpty() ? -1 : 0;
    {
        const QSignalBlocker blocker(m_pInput);
        m_pInput->setCurrentIndex(m_nInput);
        if (m_nInput < 0)
            m_pInput->setEditText(QString());
    }
    FillSequenceList(m_nInput);
    m_nShownInput = m_nInput;
}

// The state of a freshly opened page: the first input string and its
// sequence, nothing chosen, help and preview empty, Add and Remove disabled.
void CScriptPage::ShowWorkingCopy()
{
    ShowFirstInputString();
    {
        const QSignalBlocker blocker(m_pCommands);
        m_pCommands->setCurrentRow(-1);
    }
    m_nName = -1;
    m_pSyntax->clear();
    m_pDescription->clear();
    m_pCommand->clear();
    ClearPreview();
    m_pRegistered->setChecked(m_bRegistered != 0);
    m_pEndOfString->setText(Text(m_strEndOfString));
    m_pAdd->setEnabled(false);
    m_pRemove->setEnabled(false);
    m_lastLeft = m_insertionTarget = m_lastActive = Control::None;
    SetPending(false);
}

void CScriptPage::LoadFrom(const CScript& script)
{
    m_InputStrings = script.m_InputStrings;
    m_Sequences.clear();
    // Deep copies: nothing done on the page reaches the script before
    // SaveTo. An absent sequence of the file is an empty one here.
    for (const auto& sequence : script.m_Sequences)
        m_Sequences.append(std::make_shared<CStringArray>(sequence ? *sequence : CStringArray()));
    m_bRegistered = script.m_bRegistered;
    m_strEndOfString = script.m_strEndOfString;
    ShowWorkingCopy();
}

void CScriptPage::SaveTo(CScript& script) const
{
    script.DeleteContents();
    // Input strings and sequences stay index-aligned: an input string that
    // is empty (it can never match) goes together with its sequence.
    for (int i = 0; i < m_InputStrings.size(); ++i) {
        if (m_InputStrings.at(i).isEmpty())
            continue;
        script.m_InputStrings.append(m_InputStrings.at(i));
        const auto sequence = SequenceAt(i);
        script.m_Sequences.append(std::make_shared<CStringArray>(sequence ? *sequence : CStringArray()));
    }
    script.m_bRegistered = m_pRegistered->isChecked() ? 1 : 0;
    script.m_strEndOfString = Bytes(m_pEndOfString->text());
}

bool CScriptPage::OnApply()
{
    RegisterInputString();
    if (!m_bPending)
        return true;
    if (m_lastActive == Control::Sequence)
        CommitChangedCommand();
    else
        CommitAddedCommand();
    SetPending(false);
    return true;
}

void CScriptPage::OnOK()
{
    OnApply();
}

CScriptPage::Control CScriptPage::ControlOf(QObject* object) const
{
    if (object == m_pInput)
        return Control::Input;
    if (object == m_pOutput)
        return Control::Output;
    if (object == m_pCommands)
        return Control::Commands;
    if (object == m_pSequence)
        return Control::Sequence;
    if (object == m_pCommand)
        return Control::Command;
    if (object == m_pControlCodes)
        return Control::ControlCodes;
    if (object == m_pEndOfString)
        return Control::EndOfString;
    return Control::None;
}

bool CScriptPage::eventFilter(QObject* watched, QEvent* event)
{
    const Control control = ControlOf(watched);
    switch (event->type()) {
    case QEvent::FocusIn:
    case QEvent::FocusOut: {
        // A drop-down list or another window that takes the focus and gives
        // it back to the same control neither leaves nor enters it: a
        // command waiting to be committed stays pending.
        const Qt::FocusReason reason = static_cast<QFocusEvent*>(event)->reason();
        const bool passing = reason == Qt::PopupFocusReason || reason == Qt::ActiveWindowFocusReason;
        if (event->type() == QEvent::FocusOut && passing) {
            m_pFocusAway = watched;
            break;
        }
        const bool returning = passing && watched == m_pFocusAway;
        m_pFocusAway = nullptr;
        if (returning)
            break;
        if (event->type() == QEvent::FocusIn)
            OnFocusIn(control);
        else
            OnFocusOut(control);
        break;
    }
    case QEvent::KeyPress: {
        const int key = static_cast<QKeyEvent*>(event)->key();
        if (key != Qt::Key_Return && key != Qt::Key_Enter)
            break;
        // Enter registers the typed input string or commits the composed
        // command, like Apply, instead of closing the sheet.
        if (control == Control::Input) {
            OnFocusOut(Control::Input);
            RegisterInputString();
            return true;
        }
        if (control == Control::Command) {
            OnApply();
            return true;
        }
        break;
    }
    default:
        break;
    }
    return CPropertyPage::eventFilter(watched, event);
}

void CScriptPage::OnFocusOut(Control control)
{
    switch (control) {
    case Control::Input:
        m_lastLeft = m_insertionTarget = Control::Input;
        m_nInputLeftAt = ++m_nFocusClock;
        break;
    case Control::EndOfString:
        m_lastLeft = m_insertionTarget = Control::EndOfString;
        break;
    case Control::Commands:
    case Control::ControlCodes:
        m_lastLeft = control;
        break;
    case Control::Command:
        m_nCommandSelStart = m_pCommand->hasSelectedText() ? m_pCommand->selectionStart() : m_pCommand->cursorPosition();
        m_nCommandSelLength = int(m_pCommand->selectedText().size());
        break;
    default:
        break;
    }
}

void CScriptPage::OnFocusIn(Control control)
{
    switch (control) {
    case Control::Input:
        m_pAdd->setEnabled(false);
        m_pRemove->setEnabled(true);
        break;
    case Control::Output:
        m_lastActive = Control::Output;
        RegisterInputString();
        break;
    case Control::Commands:
    case Control::ControlCodes:
        if (control == Control::Commands) {
            m_lastActive = Control::Commands;
            RegisterInputString();
        }
        m_pAdd->setEnabled(true);
        m_pRemove->setEnabled(false);
        SetPending(false);
        break;
    case Control::Sequence:
        m_lastActive = Control::Sequence;
        m_nSequenceActiveAt = ++m_nFocusClock;
        RegisterInputString();
        m_pAdd->setEnabled(false);
        m_pRemove->setEnabled(m_pSequence->count() > 0);
        break;
    case Control::Command:
        RegisterInputString();
        m_lastLeft = m_insertionTarget = Control::Command;
        if (!m_pCommand->text().isEmpty())
            SetPending(true);
        break;
    default:
        break;
    }
}

// Registers the input box's text when the user has just left the input
// box, then shows the sequence of the selected input string.
void CScriptPage::RegisterInputString()
{
    if (m_lastLeft != Control::Input)
        return;
    const QString text = m_pInput->currentText().left(MaxInputLength);
    bool listed = false;
    for (const QByteArray& input : std::as_const(m_InputStrings))
        listed = listed || Text(input).startsWith(text, Qt::CaseInsensitive);
    if (!text.isEmpty() && !listed) {
        m_InputStrings.append(Bytes(text));
        m_nInput = int(m_InputStrings.size()) - 1;
        {
            const QSignalBlocker blocker(m_pInput);
            m_pInput->addItem(text);
            m_pInput->setCurrentIndex(m_nInput);
        }
        if (m_Sequences.size() <= m_nInput) {
            while (m_Sequences.size() <= m_nInput)
                m_Sequences.append(std::make_shared<CStringArray>());
            ClearPreview();
        }
    }
    ShowSequenceOfSelected();
}

void CScriptPage::ShowSequenceOfSelected()
{
    if (m_nInput == m_nShownInput)
        return;
    FillSequenceList(m_nInput);
    m_nShownInput = m_nInput;
}

void CScriptPage::OnInputChosen(int index)
{
    m_nInput = index;
    FillSequenceList(index);
    m_nShownInput = index;
    UpdatePreview();
}

void CScriptPage::OnCommandChosen(int row)
{
    m_nName = row;
    if (row >= 0)
        ShowCommandHelp(row);
}

void CScriptPage::OnSequenceCommandSelected(int row)
{
    const auto sequence = SequenceAt(m_nInput);
    if (row < 0 || !sequence || row >= sequence->size())
        return;
    m_nCommand = row;
    const QByteArray command = sequence->at(row);
    QByteArray name;
    CParse(QByteArrayLiteral("(")).GetFirstToken(command, name);
    const int nameIndex = int(m_CommandNames.indexOf(name));
    if (nameIndex >= 0 && command.startsWith(name))
        ShowCommandHelp(nameIndex);
    PutCommandText(command, false);
    SetPending(true);
}

void CScriptPage::OnAdd()
{
    if (m_lastLeft == Control::Commands)
        AddExample();
    else if (m_lastLeft == Control::ControlCodes)
        InsertControlCode();
}

void CScriptPage::AddExample()
{
    if (m_nName < 0)
        return;
    ShowCommandHelp(m_nName);
    PutCommandText(HelpOf(m_nName).example, true);
    SetPending(true);
}

void CScriptPage::InsertControlCode()
{
    const int code = m_pControlCodes->currentRow();
    if (code < 0 || !m_pControlCodes->currentItem()->isSelected())
        return;
    const QString name = Text('<' + CControlCode().GetName(code) + '>');
    if (m_insertionTarget == Control::Command) {
        int start = m_nCommandSelStart;
        int length = m_nCommandSelLength;
        if (m_pCommand->hasFocus()) {
            start = m_pCommand->hasSelectedText() ? m_pCommand->selectionStart() : m_pCommand->cursorPosition();
            length = int(m_pCommand->selectedText().size());
        }
        QString text = m_pCommand->text();
        start = qBound(0, start, int(text.size()));
        text.replace(start, length, name);
        m_pCommand->setText(text);
        m_pCommand->setCursorPosition(start + int(name.size()));
        m_nCommandSelStart = start + int(name.size());
        m_nCommandSelLength = 0;
        SetPending(true);
        return;
    }
    QWidget* field = nullptr;
    if (m_insertionTarget == Control::Input) {
        m_pInput->setEditText((m_pInput->currentText() + name).left(MaxInputLength));
        field = m_pInput;
    } else if (m_insertionTarget == Control::EndOfString) {
        m_pEndOfString->setText((m_pEndOfString->text() + name).left(MaxInputLength));
        field = m_pEndOfString;
    }
    if (field)
        field->setFocus(Qt::OtherFocusReason);
}

void CScriptPage::OnRemove()
{
    // Both trackers may point at their lists; only what the user touched
    // last is removed.
    const bool inputLeft = m_lastLeft == Control::Input;
    const bool sequenceActive = m_lastActive == Control::Sequence;
    if (inputLeft && (!sequenceActive || m_nInputLeftAt > m_nSequenceActiveAt))
        RemoveInputString();
    else if (sequenceActive)
        RemoveCommand();
}

void CScriptPage::RemoveInputString()
{
    if (m_nInput < 0 || m_nInput >= m_InputStrings.size())
        return;
    m_InputStrings.removeAt(m_nInput);
    if (m_nInput < m_Sequences.size())
        m_Sequences.removeAt(m_nInput);
    ShowFirstInputString();
    UpdatePreview();
    SetPending(false);
    m_pInput->setFocus(Qt::OtherFocusReason);
    m_pInput->lineEdit()->selectAll();
}

void CScriptPage::RemoveCommand()
{
    const auto sequence = SequenceAt(m_nInput);
    if (!sequence || m_nCommand < 0 || m_nCommand >= sequence->size())
        return;
    sequence->removeAt(m_nCommand);
    FillSequenceList(m_nInput);
    UpdatePreview();
    SetPending(false);
    if (m_pSequence->count() > 0) {
        const QSignalBlocker blocker(m_pSequence);
        m_pSequence->setCurrentRow(0);
        m_nCommand = 0;
    }
    m_pSequence->setFocus(Qt::OtherFocusReason);
}

void CScriptPage::CommitChangedCommand()
{
    const auto sequence = SequenceAt(m_nInput);
    const QByteArray command = Bytes(m_pCommand->text());
    if (!sequence || m_nCommand < 0 || m_nCommand >= sequence->size() || command.isEmpty())
        return;
    (*sequence)[m_nCommand] = command;
    const int changed = m_nCommand;
    FillSequenceList(m_nInput);
    {
        const QSignalBlocker blocker(m_pSequence);
        m_pSequence->setCurrentRow(changed);
    }
    m_nCommand = changed;
    UpdatePreview();
}

void CScriptPage::CommitAddedCommand()
{
    const QByteArray command = Bytes(m_pCommand->text());
    if (m_nInput < 0 || m_nInput >= m_InputStrings.size() || command.isEmpty())
        return;
    while (m_Sequences.size() <= m_nInput)
        m_Sequences.append(std::make_shared<CStringArray>());
    m_Sequences[m_nInput]->append(command);
    FillSequenceList(m_nInput);
    m_nShownInput = m_nInput;
    {
        const QSignalBlocker blocker(m_pSequence);
        m_pSequence->setCurrentRow(m_pSequence->count() - 1);
    }
    m_nCommand = m_pSequence->count() - 1;
    UpdatePreview();
}

void CScriptPage::SetPending(bool pending)
{
    if (pending == m_bPending)
        return;
    m_bPending = pending;
    Q_EMIT PendingChanged(pending);
}

void CScriptPage::ShowCommandHelp(int commandIndex)
{
    const CommandHelp help = HelpOf(commandIndex);
    m_pSyntax->setText(Text(help.syntax));
    m_pDescription->setText(Text(help.description));
}

// Shows a command text with its arguments (the text between the
// parentheses) selected, ready to be overtyped.
void CScriptPage::PutCommandText(const QByteArray& command, bool focus)
{
    const QString text = Text(command);
    m_pCommand->setText(text);
    const int open = int(text.indexOf(QLatin1Char('(')));
    int start = int(text.size());
    int length = 0;
    if (open >= 0) {
        const int close = int(text.indexOf(QLatin1Char(')'), open + 1));
        start = open + 1;
        length = (close < 0 ? int(text.size()) : close) - start;
    }
    if (focus)
        m_pCommand->setFocus(Qt::OtherFocusReason);
    m_pCommand->setSelection(start, length);
    m_nCommandSelStart = start;
    m_nCommandSelLength = length;
}

void CScriptPage::FillInputBox()
{
    const QSignalBlocker blocker(m_pInput);
    m_pInput->clear();
    for (const QByteArray& input : std::as_const(m_InputStrings))
        m_pInput->addItem(Text(input));
}

void CScriptPage::FillSequenceList(int inputIndex)
{
    const QSignalBlocker blocker(m_pSequence);
    m_pSequence->clear();
    m_nCommand = -1;
    if (const auto sequence = SequenceAt(inputIndex)) {
        for (const QByteArray& command : std::as_const(*sequence))
            m_pSequence->addItem(Text(command));
    }
}

std::shared_ptr<CStringArray> CScriptPage::SequenceAt(int inputIndex) const
{
    if (inputIndex < 0 || inputIndex >= m_Sequences.size())
        return nullptr;
    return m_Sequences.at(inputIndex);
}

// The preview runs the whole sequence on the decoded input string, as the
// instrument window does with a received string, and shows the result in
// the control-code notation. A command that fails ends the preview with
// the output reached so far and a message saying why.
void CScriptPage::UpdatePreview()
{
    if (m_nInput < 0 || m_nInput >= m_InputStrings.size()) {
        ClearPreview();
        return;
    }
    const CParse parse;
    QByteArray output = m_InputStrings.at(m_nInput);
    parse.DecodeControlCodes(output);
    QString error;
    const CScript executor;
    if (const auto sequence = SequenceAt(m_nInput)) {
        for (int i = 0; i < sequence->size(); ++i) {
            const QByteArray input = output;
            try {
                executor.ExecuteCommand(sequence->at(i), input, output);
            } catch (const std::exception& failure) {
                error = QStringLiteral("The preview stops at command %1, \"%2\": %3.")
                            .arg(i + 1)
                            .arg(Text(sequence->at(i)), PlainReason(failure.what()));
                break;
            }
        }
    }
    parse.EncodeControlCodes(output);
    m_pOutput->setText(Text(output));
    m_pOutput->setCursorPosition(0);
    m_pPreviewError->setText(error);
    m_pPreviewError->setVisible(!error.isEmpty());
}

void CScriptPage::ClearPreview()
{
    m_pOutput->clear();
    m_pPreviewError->clear();
    m_pPreviewError->hide();
}
