#include "CFunctionKeysPage.h"

#include "CCodePage.h"
#include "CControlCode.h"
#include "CFunctionKeysParameter.h"
#include "CParse.h"

#include <QCheckBox>
#include <QFocusEvent>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QVBoxLayout>

#include <stdexcept>

CFunctionKeysPage::CFunctionKeysPage(QWidget* parent)
    : CPropertyPage(QStringLiteral("Function Keys"), parent)
    , m_pShowKeys(new QCheckBox(QStringLiteral("&Show Keys")))
    , m_pControlCodes(new QListWidget)
    , m_pAdd(new QPushButton(QStringLiteral("&Add")))
{
    setObjectName(QStringLiteral("CFunctionKeysPage"));
    auto* keys = new QGridLayout;
    auto* nameHeader = new QLabel(QStringLiteral("&Key Name:"));
    auto* commandHeader = new QLabel(QStringLiteral("&Command:"));
    keys->addWidget(nameHeader, 0, 1);
    keys->addWidget(commandHeader, 0, 2);
    for (int i = 0; i < KeyCount; ++i) {
        auto* label = new QLabel(QStringLiteral("F&%1:").arg(i + 1));
        auto* name = new QLineEdit;
        auto* command = new QLineEdit;
        name->setObjectName(QStringLiteral("Name%1").arg(i + 1));
        command->setObjectName(QStringLiteral("Command%1").arg(i + 1));
        label->setBuddy(name);
        command->installEventFilter(this);
        keys->addWidget(label, i + 1, 0);
        keys->addWidget(name, i + 1, 1);
        keys->addWidget(command, i + 1, 2);
        m_names.append(name);
        m_commands.append(command);
    }
    nameHeader->setBuddy(m_names.constFirst());
    commandHeader->setBuddy(m_commands.constFirst());
    keys->setColumnStretch(1, 2);
    keys->setColumnStretch(2, 3);
    keys->setRowStretch(KeyCount + 1, 1);

    // '<NUL>' .. '<US>': "SPC" is typed, not offered.
    const CControlCode codes;
    for (int code = 0; code < 32; ++code)
        m_pControlCodes->addItem(QStringLiteral("<%1>").arg(QString::fromLatin1(codes.GetName(code))));
    m_pControlCodes->setObjectName(QStringLiteral("ControlCodes"));
    m_pControlCodes->setCurrentRow(0);
    m_pControlCodes->setMaximumWidth(fontMetrics().horizontalAdvance(QStringLiteral("<ESC>")) * 3);
    auto* listLabel = new QLabel(QStringLiteral("Control Codes:"));
    connect(m_pControlCodes, &QListWidget::itemDoubleClicked, this, &CFunctionKeysPage::OnAddControlCode);
    connect(m_pAdd, &QPushButton::clicked, this, &CFunctionKeysPage::OnAddControlCode);

    auto* side = new QVBoxLayout;
    side->addWidget(m_pShowKeys);
    side->addSpacing(8);
    side->addWidget(listLabel);
    side->addWidget(m_pControlCodes, 1);
    side->addWidget(m_pAdd);

    auto* layout = new QHBoxLayout(this);
    layout->addLayout(keys, 1);
    layout->addLayout(side);
}

bool CFunctionKeysPage::eventFilter(QObject* watched, QEvent* event)
{
    if (event->type() == QEvent::FocusOut) {
        if (auto* command = qobject_cast<QLineEdit*>(watched); command && m_commands.contains(command))
            m_pInsertTarget = command;
    }
    return CPropertyPage::eventFilter(watched, event);
}

void CFunctionKeysPage::OnAddControlCode()
{
    QLineEdit* target = m_pInsertTarget;
    const QListWidgetItem* item = m_pControlCodes->currentItem();
    if (!target || !item)
        return;
    target->setText(target->text().left(InsertReadLimit) + item->text());
    target->setFocus(Qt::OtherFocusReason);
    target->setCursorPosition(int(target->text().size()));
    m_pInsertTarget = nullptr;
}

void CFunctionKeysPage::LoadFrom(const CFunctionKeysParameter& keys)
{
    const CParse parse;
    for (int i = 0; i < KeyCount; ++i) {
        m_names.at(i)->setText(CCodePage::ToUnicode(keys.GetName(i)));
        QByteArray command = keys.GetCommand(i);
        parse.EncodeControlCodes(command);
        m_commands.at(i)->setText(CCodePage::ToUnicode(command));
    }
    m_pShowKeys->setChecked(keys.m_bShowKeys != 0);
}

void CFunctionKeysPage::SaveTo(CFunctionKeysParameter& keys) const
{
    if (keys.m_Names.size() < KeyCount || keys.m_Commands.size() < KeyCount)
        throw std::invalid_argument("the function keys record holds fewer than eight keys");
    const CParse parse;
    for (int i = 0; i < KeyCount; ++i) {
        QByteArray command = CCodePage::FromUnicode(m_commands.at(i)->text());
        parse.DecodeControlCodes(command);
        keys.m_Commands[i] = command;
        keys.m_Names[i] = CCodePage::FromUnicode(m_names.at(i)->text());
    }
    keys.m_bShowKeys = m_pShowKeys->isChecked() ? 1 : 0;
}
