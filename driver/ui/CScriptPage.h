#pragma once

#include "CArchive.h"
#include "CPropertyPage.h"

#include <QByteArray>
#include <QByteArrayList>
#include <QList>

#include <memory>

class CScript;
class QCheckBox;
class QComboBox;
class QLabel;
class QLineEdit;
class QListWidget;
class QPushButton;

// The page "Script Language" (dialog 203): registers input strings, composes
// a command sequence for each, previews the output string and edits the
// end-of-string setting and the "Registered Input Strings" switch.
//
// The page works on a working copy of a CScript: LoadFrom() before the sheet
// is shown, OnOK() when the sheet ends with OK (commits what is pending),
// SaveTo() afterwards. Child objects are named for tests: "inputString",
// "outputString", "previewError", "commands", "sequence", "command",
// "syntax", "description", "controlCodes", "add", "remove", "registered",
// "endOfString".
class CScriptPage : public CPropertyPage
{
    Q_OBJECT

public:
    // An input string or an insertion into one keeps at most this many characters.
    static constexpr int MaxInputLength = 99;

    explicit CScriptPage(QWidget* parent = nullptr);

    // Replaces the working copy with a deep copy of script and shows it.
    void LoadFrom(const CScript& script);
    // Stores the working copy: every non-empty input string with its
    // sequence (an empty one where none exists), the switch and the
    // end-of-string text. The page keeps its own copy.
    void SaveTo(CScript& script) const;

    // Apply and OK: registers an input string still being typed and commits
    // the pending command. Always true.
    bool OnApply();
    void OnOK() override;

    bool IsPending() const { return m_bPending; }

Q_SIGNALS:
    // The sheet's modified state (its Apply button) follows the pending flag.
    void PendingChanged(bool pending);

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    enum class Control { None, Input, Output, Commands, Sequence, Command, ControlCodes, EndOfString };

    void CreateControls();
    void LayOutControls();
    void FillCommandNames();
    void FillControlCodes();
    void ShowWorkingCopy();
    void ShowFirstInputString();

    void OnFocusIn(Control control);
    void OnFocusOut(Control control);
    void RegisterInputString();
    void ShowSequenceOfSelected();
    void OnInputChosen(int index);
    void OnCommandChosen(int row);
    void OnSequenceCommandSelected(int row);
    void OnAdd();
    void AddExample();
    void InsertControlCode();
    void OnRemove();
    void RemoveInputString();
    void RemoveCommand();
    void CommitChangedCommand();
    void CommitAddedCommand();

    void SetPending(bool pending);
    void ShowCommandHelp(int commandIndex);
    void PutCommandText(const QByteArray& command, bool focus);
    void FillInputBox();
    void FillSequenceList(int inputIndex);
    std::shared_ptr<CStringArray> SequenceAt(int inputIndex) const;
    void UpdatePreview();
    void ClearPreview();
    Control ControlOf(QObject* object) const;

    // Working copy: index-aligned like the script's arrays.
    QByteArrayList m_InputStrings;
    QList<std::shared_ptr<CStringArray>> m_Sequences;
    QByteArray m_strEndOfString;
    int m_bRegistered = 0;

    // Names of the command table, 2000 + index.
    QByteArrayList m_CommandNames;

    int m_nInput = -1;   // selected input string
    int m_nCommand = -1; // selected command of the sequence list
    int m_nName = -1;    // chosen command name
    int m_nShownInput = -1;

    // The control trackers. The two stamps order the trackers that Remove
    // looks at, so that one click removes only what the user touched last.
    Control m_lastLeft = Control::None;
    Control m_insertionTarget = Control::None;
    Control m_lastActive = Control::None;
    quint64 m_nFocusClock = 0;
    quint64 m_nInputLeftAt = 0;
    quint64 m_nSequenceActiveAt = 0;
    // The command field loses its selection with the focus; kept for inserts.
    int m_nCommandSelStart = 0;
    int m_nCommandSelLength = 0;
    bool m_bPending = false;
    // The control that had the focus when a popup or another window took it.
    QObject* m_pFocusAway = nullptr;

    QComboBox* m_pInput = nullptr;
    QLineEdit* m_pOutput = nullptr;
    QLabel* m_pPreviewError = nullptr;
    QListWidget* m_pCommands = nullptr;
    QListWidget* m_pSequence = nullptr;
    QLineEdit* m_pCommand = nullptr;
    QLabel* m_pSyntax = nullptr;
    QLabel* m_pDescription = nullptr;
    QListWidget* m_pControlCodes = nullptr;
    QPushButton* m_pAdd = nullptr;
    QPushButton* m_pRemove = nullptr;
    QCheckBox* m_pRegistered = nullptr;
    QLineEdit* m_pEndOfString = nullptr;
};
