#include "CSettingsPage.h"

#include "CTerminalParameter.h"

#include <QButtonGroup>
#include <QCheckBox>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QRadioButton>
#include <QVBoxLayout>

CSettingsPage::CSettingsPage(QWidget* parent)
    : CPropertyPage(QStringLiteral("Terminal Settings"), parent)
    , m_pLocalEcho(new QCheckBox(QStringLiteral("Local &Echo")))
    , m_pShowControlChars(new QCheckBox(QStringLiteral("Show Control Characters")))
    , m_pLineWrap(new QCheckBox(QStringLiteral("&Line wrapping")))
    , m_pReceiveCRLF(new QCheckBox(QStringLiteral("&Receiving")))
    , m_pSendCRLF(new QCheckBox(QStringLiteral("&Transmitting")))
    , m_pColumnsGroup(new QGroupBox(QStringLiteral("Columns")))
    , m_p80(new QRadioButton(QStringLiteral("80")))
    , m_p132(new QRadioButton(QStringLiteral("132")))
{
    setObjectName(QStringLiteral("CSettingsPage"));
    auto* modeGroup = new QGroupBox(QStringLiteral("Terminal Mode"));
    auto* modeLayout = new QVBoxLayout(modeGroup);
    modeLayout->addWidget(m_pLocalEcho);
    modeLayout->addWidget(m_pShowControlChars);
    modeLayout->addWidget(m_pLineWrap);
    auto* crlfGroup = new QGroupBox(QStringLiteral("CR -> CR/LF"));
    auto* crlfLayout = new QVBoxLayout(crlfGroup);
    crlfLayout->addWidget(m_pReceiveCRLF);
    crlfLayout->addWidget(m_pSendCRLF);
    auto* columns = new QButtonGroup(this);
    columns->addButton(m_p80, 0);
    columns->addButton(m_p132, 1);
    auto* columnsLayout = new QHBoxLayout(m_pColumnsGroup);
    columnsLayout->addWidget(m_p80);
    columnsLayout->addWidget(m_p132);

    auto* layout = new QVBoxLayout(this);
    layout->addWidget(modeGroup);
    layout->addWidget(crlfGroup);
    layout->addWidget(m_pColumnsGroup);
    layout->addStretch(1);

    // Kept for the values they carry, never shown.
    m_pLocalEcho->hide();
    m_pLineWrap->hide();
    m_pColumnsGroup->hide();
}

int CSettingsPage::ColumnsIndex() const
{
    if (m_p132->isChecked())
        return 1;
    return m_p80->isChecked() ? 0 : -1;
}

void CSettingsPage::LoadFrom(const CTerminalParameter& terminal)
{
    (terminal.m_nColumns != 80 ? m_p132 : m_p80)->setChecked(true);
    m_pReceiveCRLF->setChecked(terminal.m_bReceiveCRLF != 0);
    m_pSendCRLF->setChecked(terminal.m_bSendCRLF != 0);
    m_pLocalEcho->setChecked(terminal.m_bLocalEcho != 0);
    m_pLineWrap->setChecked(terminal.m_bLineWrap != 0);
    m_pShowControlChars->setChecked(terminal.m_bShowControlChars != 0);
}

void CSettingsPage::SaveTo(CTerminalParameter& terminal) const
{
    terminal.m_nColumns = ColumnsIndex() > 0 ? 132 : 80;
    terminal.m_bReceiveCRLF = m_pReceiveCRLF->isChecked() ? 1 : 0;
    terminal.m_bSendCRLF = m_pSendCRLF->isChecked() ? 1 : 0;
    terminal.m_bLocalEcho = m_pLocalEcho->isChecked() ? 1 : 0;
    terminal.m_bLineWrap = m_pLineWrap->isChecked() ? 1 : 0;
    terminal.m_bShowControlChars = m_pShowControlChars->isChecked() ? 1 : 0;
}
