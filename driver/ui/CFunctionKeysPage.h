#pragma once

#include "CPropertyPage.h"

#include <QList>

class CFunctionKeysParameter;
class QCheckBox;
class QLineEdit;
class QListWidget;
class QPushButton;

// Page "Function Keys": names and commands of F1..F8 and the "&Show Keys"
// switch. Commands are edited in the control-code notation ("R<CR>") and
// stored as raw bytes. A control code picked from the list ("&Add" or a
// double click) is appended to the command field that was left last; after
// each insertion the field must be left again before the next one.
class CFunctionKeysPage : public CPropertyPage
{
    Q_OBJECT

public:
    static constexpr int KeyCount = 8;
    // A command field is read up to this many characters for an insertion.
    static constexpr int InsertReadLimit = 99;

    explicit CFunctionKeysPage(QWidget* parent = nullptr);

    void LoadFrom(const CFunctionKeysParameter& keys);
    // Throws std::invalid_argument when the record holds fewer than eight
    // names or commands.
    void SaveTo(CFunctionKeysParameter& keys) const;

    // "&Add" and a double click in the list.
    void OnAddControlCode();

    QList<QLineEdit*> m_names;
    QList<QLineEdit*> m_commands;
    QCheckBox* m_pShowKeys;
    QListWidget* m_pControlCodes;
    QPushButton* m_pAdd;
    QLineEdit* m_pInsertTarget = nullptr;

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;
};
