#include "CCommGeneralPage.h"

#include "CCodePage.h"
#include "CDriverFileName.h"
#include "CDriverParameter.h"

#include <QCheckBox>
#include <QFormLayout>
#include <QGroupBox>
#include <QLineEdit>
#include <QVBoxLayout>

CCommGeneralPage::CCommGeneralPage(bool bModifyMode, QWidget* parent)
    : CPropertyPage(QStringLiteral("General"), parent)
    , m_pName(new QLineEdit)
    , m_pFileName(new QLineEdit)
    , m_pExcel(new QCheckBox(QStringLiteral("Use Excel OLE &Automation")))
{
    setObjectName(QStringLiteral("CCommGeneralPage"));
    m_pName->setObjectName(QStringLiteral("Name"));
    m_pFileName->setObjectName(QStringLiteral("FileName"));
    m_pExcel->setObjectName(QStringLiteral("Excel"));

    auto* driverGroup = new QGroupBox(QStringLiteral("Driver information"));
    auto* driverForm = new QFormLayout(driverGroup);
    driverForm->addRow(QStringLiteral("&Name:"), m_pName);
    auto* fileGroup = new QGroupBox(QStringLiteral("File"));
    auto* fileForm = new QFormLayout(fileGroup);
    fileForm->addRow(QStringLiteral("&Filename:"), m_pFileName);
    auto* excelGroup = new QGroupBox(QStringLiteral("Excel OLE Automation"));
    auto* excelLayout = new QVBoxLayout(excelGroup);
    excelLayout->addWidget(m_pExcel);
    // Both labels line up in the two groups.
    const int labelWidth = qMax(fontMetrics().horizontalAdvance(QStringLiteral("Filename:")),
                                fontMetrics().horizontalAdvance(QStringLiteral("Name:")));
    for (QFormLayout* form : {driverForm, fileForm}) {
        form->itemAt(0, QFormLayout::LabelRole)->widget()->setMinimumWidth(labelWidth);
        form->setFieldGrowthPolicy(QFormLayout::AllNonFixedFieldsGrow);
    }

    auto* layout = new QVBoxLayout(this);
    layout->addWidget(driverGroup);
    layout->addWidget(fileGroup);
    layout->addWidget(excelGroup);
    layout->addStretch(1);

    m_pName->setEnabled(!bModifyMode);
    m_pFileName->setEnabled(!bModifyMode);
    // Only the user's typing rewrites the file name, not loading a record.
    connect(m_pName, &QLineEdit::textEdited, this, &CCommGeneralPage::OnChangeName);
}

void CCommGeneralPage::OnChangeName(const QString& name)
{
    m_pFileName->setText(CCodePage::ToUnicode(CDriverFileName::ForName(CCodePage::FromUnicode(name))));
}

void CCommGeneralPage::SetData(const CDriverParameter& driver)
{
    m_pFileName->setText(CCodePage::ToUnicode(driver.m_strFileName));
    m_pName->setText(CCodePage::ToUnicode(driver.m_strName));
    m_pExcel->setChecked(driver.m_bExcel != 0);
}

void CCommGeneralPage::GetData(CDriverParameter& driver) const
{
    driver.m_strFileName = CCodePage::FromUnicode(m_pFileName->text());
    driver.m_strName = CCodePage::FromUnicode(m_pName->text());
    driver.m_bExcel = m_pExcel->isChecked() ? 1 : 0;
}
