#include "CSerialNumberDlg.h"

#include "CSerialNumberRecord.h"
#include "CStringTable.h"
#include "ResourceIds.h"

#include <QDialogButtonBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>
#include <QPushButton>
#include <QVBoxLayout>

CSerialNumberDlg::CSerialNumberDlg(QWidget* parent)
    : QDialog(parent)
    , m_pNumber(new QLineEdit(QString::number(m_nSerialNumber), this))
{
    setWindowTitle(QStringLiteral("Serial Number"));
    m_pNumber->setObjectName(QStringLiteral("3080"));
    m_pNumber->selectAll();
    m_pNumber->setMinimumWidth(m_pNumber->fontMetrics().horizontalAdvance(QLatin1Char('0')) * 16);
    auto* label = new QLabel(QStringLiteral("Serial #:"), this);
    label->setBuddy(m_pNumber);

    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this);
    buttons->button(QDialogButtonBox::Ok)->setObjectName(QStringLiteral("1"));
    buttons->button(QDialogButtonBox::Cancel)->setObjectName(QStringLiteral("2"));
    connect(buttons, &QDialogButtonBox::accepted, this, &CSerialNumberDlg::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &CSerialNumberDlg::reject);

    auto* field = new QHBoxLayout;
    field->addWidget(label);
    field->addWidget(m_pNumber, 1);
    auto* layout = new QVBoxLayout(this);
    layout->addLayout(field);
    layout->addSpacing(8);
    layout->addWidget(buttons);
    layout->setSizeConstraint(QLayout::SetFixedSize);
}

void CSerialNumberDlg::BuildRecord(QByteArray& out, const QByteArray& addressText, int serialNumber)
{
    out = CSerialNumberRecord::BuildRecord(addressText, serialNumber);
}

void CSerialNumberDlg::accept()
{
    int number = 0;
    QString error;
    if (!CSerialNumberRecord::ParseSerialNumber(m_pNumber->text(), number, &error)) {
        QMessageBox::warning(this, CStringTable::Text(AFX_IDS_APP_TITLE),
                             QStringLiteral("\"%1\" is not a serial number. %2").arg(m_pNumber->text(), error));
        m_pNumber->setFocus();
        m_pNumber->selectAll();
    m_pNumber->setMinimumWidth(m_pNumber->fontMetrics().horizontalAdvance(QLatin1Char('0')) * 16);
        return;
    }
    m_nSerialNumber = number;
    QDialog::accept();
}
