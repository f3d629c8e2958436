#include "CTerminalPage.h"

#include "CParse.h"
#include "CStringTable.h"
#include "CTerminalParameter.h"
#include "CUserDialogs.h"
#include "FrameworkIds.h"
#include "ResourceIds.h"

#include <QCheckBox>
#include <QComboBox>
#include <QGridLayout>
#include <QLabel>
#include <QLineEdit>
#include <QVBoxLayout>

CTerminalPage::CTerminalPage(QWidget* parent)
    : CPropertyPage(QStringLiteral("Terminal Settings"), parent)
    , m_pEmulation(new QComboBox)
    , m_pRows(new QLineEdit)
    , m_pColumns(new QLineEdit)
    , m_pLocalEcho(new QCheckBox(QStringLiteral("Local &Echo")))
    , m_pBlockCursor(new QCheckBox(QStringLiteral("&Block Cursor")))
    , m_pScrollbar(new QCheckBox(QStringLiteral("&Scrollbar")))
    , m_pReceiveCRLF(new QCheckBox(QStringLiteral("&Receiving CR to CR/LF")))
{
    setObjectName(QStringLiteral("CTerminalPage"));
    m_pEmulation->setObjectName(QStringLiteral("Emulation"));
    m_pRows->setObjectName(QStringLiteral("Rows"));
    m_pColumns->setObjectName(QStringLiteral("Columns"));
    // The list index is the emulation number: None, TTY, ANSI, VT52, VT100.
    QByteArrayList emulations;
    CParse().SplitResource(IDS_EMULATIONS, emulations);
    for (const QByteArray& emulation : std::as_const(emulations))
        m_pEmulation->addItem(QString::fromLatin1(emulation));
    m_pEmulation->setEditable(true);
    m_pEmulation->setInsertPolicy(QComboBox::NoInsert);
    const int fieldWidth = fontMetrics().horizontalAdvance(QStringLiteral("00000")) + 16;
    m_pRows->setMaximumWidth(fieldWidth);
    m_pColumns->setMaximumWidth(fieldWidth);

    auto* emulationLabel = new QLabel(QStringLiteral("&Terminal Emulation:"));
    auto* rowsLabel = new QLabel(QStringLiteral("&Rows:"));
    auto* columnsLabel = new QLabel(QStringLiteral("&Columns:"));
    emulationLabel->setBuddy(m_pEmulation);
    rowsLabel->setBuddy(m_pRows);
    columnsLabel->setBuddy(m_pColumns);
    auto* fields = new QGridLayout;
    fields->setHorizontalSpacing(24);
    fields->addWidget(emulationLabel, 0, 0);
    fields->addWidget(m_pEmulation, 0, 1, Qt::AlignLeft);
    fields->addWidget(rowsLabel, 1, 0);
    fields->addWidget(m_pRows, 1, 1, Qt::AlignLeft);
    fields->addWidget(columnsLabel, 2, 0);
    fields->addWidget(m_pColumns, 2, 1, Qt::AlignLeft);
    fields->setColumnStretch(2, 1);

    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(20, 20, 20, 20);
    layout->addLayout(fields);
    layout->addSpacing(16);
    layout->addWidget(m_pLocalEcho);
    layout->addWidget(m_pBlockCursor);
    layout->addWidget(m_pScrollbar);
    layout->addWidget(m_pReceiveCRLF);
    layout->addStretch(1);
}

void CTerminalPage::LoadFrom(const CTerminalParameter& terminal)
{
    m_nColumns = terminal.m_nColumns;
    m_nRows = terminal.m_nRows;
    m_nEmulation = terminal.m_nEmulation;
    m_bReceiveCRLF = terminal.m_bReceiveCRLF;
    m_bLocalEcho = terminal.m_bLocalEcho;
    m_bBlockCursor = terminal.m_bBlockCursor;
    m_bScrollbar = terminal.m_bScrollbar;

    m_pColumns->setText(QString::number(m_nColumns));
    m_pRows->setText(QString::number(m_nRows));
    m_pBlockCursor->setChecked(m_bBlockCursor != 0);
    m_pLocalEcho->setChecked(m_bLocalEcho != 0);
    m_pScrollbar->setChecked(m_bScrollbar != 0);
    m_pReceiveCRLF->setChecked(m_bReceiveCRLF != 0);
    // An emulation outside the list selects nothing.
    m_pEmulation->setCurrentIndex(m_nEmulation >= 0 && m_nEmulation < m_pEmulation->count() ? m_nEmulation : -1);
}

void CTerminalPage::SaveTo(CTerminalParameter& terminal) const
{
    terminal.m_nColumns = m_nColumns;
    terminal.m_nRows = m_nRows;
    terminal.m_nEmulation = m_nEmulation;
    terminal.m_bReceiveCRLF = m_bReceiveCRLF;
    terminal.m_bLocalEcho = m_bLocalEcho;
    terminal.m_bBlockCursor = m_bBlockCursor;
    terminal.m_bScrollbar = m_bScrollbar;
}

QString CTerminalPage::CheckInteger(const QString& text, int minimum, int maximum, int* value)
{
    bool bOk = false;
    const int number = text.trimmed().toInt(&bOk);
    if (!bOk)
        return CStringTable::Text(AFX_IDP_PARSE_INT);
    if (number < minimum || number > maximum)
        return CStringTable::Text(AFX_IDP_PARSE_INT_RANGE).arg(minimum).arg(maximum);
    if (value)
        *value = number;
    return QString();
}

bool CTerminalPage::TakeInteger(QLineEdit* field, int minimum, int maximum, int& value)
{
    const QString message = CheckInteger(field->text(), minimum, maximum, &value);
    if (message.isEmpty())
        return true;
    CUserDialogs::Current().ShowMessage(this, message);
    field->setFocus(Qt::OtherFocusReason);
    field->selectAll();
    return false;
}

bool CTerminalPage::OnKillActive()
{
    // Columns before rows, as the fields are checked in that order.
    int columns = m_nColumns;
    int rows = m_nRows;
    if (!TakeInteger(m_pColumns, MinColumns, MaxColumns, columns) || !TakeInteger(m_pRows, MinRows, MaxRows, rows))
        return false;
    m_nColumns = columns;
    m_nRows = rows;
    m_bBlockCursor = m_pBlockCursor->isChecked() ? 1 : 0;
    m_bLocalEcho = m_pLocalEcho->isChecked() ? 1 : 0;
    m_bScrollbar = m_pScrollbar->isChecked() ? 1 : 0;
    m_bReceiveCRLF = m_pReceiveCRLF->isChecked() ? 1 : 0;
    // A typed text that is not one of the entries selects none.
    m_nEmulation = m_pEmulation->findText(m_pEmulation->currentText(), Qt::MatchExactly);
    return true;
}
