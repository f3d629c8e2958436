#include "CAboutDlg.h"

#include "CAppIcon.h"
#include "CModuleVersion.h"

#include <QDialogButtonBox>
#include <QGridLayout>
#include <QLabel>
#include <QPushButton>

CAboutDlg::CAboutDlg(QWidget* parent)
    : QDialog(parent)
    , m_pTitle(new QLabel(QStringLiteral("Title from version info")))
    , m_pVersion(new QLabel(QStringLiteral("Version number from version info")))
    , m_pLegal(new QLabel(QStringLiteral("Copyright from version info")))
{
    setWindowTitle(QStringLiteral("About Orvalis"));
    setObjectName(QStringLiteral("CAboutDlg"));
    auto* icon = new QLabel;
    icon->setPixmap(CAppIcon::Pixmap(48));
    icon->setAlignment(Qt::AlignTop);
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok);
    connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
    // Labels of a dialog take "&" as a mnemonic marker: a buddy makes QLabel
    // do the same, so "&&" shows one ampersand.
    for (QLabel* label : {m_pTitle, m_pVersion, m_pLegal}) {
        label->setBuddy(buttons->button(QDialogButtonBox::Ok));
        label->setTextFormat(Qt::PlainText);
    }
    auto* layout = new QGridLayout(this);
    layout->setContentsMargins(20, 20, 20, 16);
    layout->setHorizontalSpacing(20);
    layout->setVerticalSpacing(6);
    layout->setRowMinimumHeight(3, 16);
    layout->addWidget(icon, 0, 0, 3, 1);
    layout->addWidget(m_pTitle, 0, 1);
    layout->addWidget(m_pVersion, 1, 1);
    layout->addWidget(m_pLegal, 2, 1);
    layout->addWidget(buttons, 4, 0, 1, 2);
    layout->setSizeConstraint(QLayout::SetFixedSize);
    OnInitDialog();
}

QString CAboutDlg::DoubleFirstAmpersand(const QString& text)
{
    const qsizetype at = text.indexOf(QLatin1Char('&'));
    if (at < 0)
        return text;
    return QStringLiteral("%1&%2").arg(text.left(at), text.mid(at));
}

void CAboutDlg::OnInitDialog()
{
    CModuleVersion version;
    if (!version.LoadVersionInfo())
        return;
    m_pTitle->setText(version.GetValue(QStringLiteral("FileDescription")));
    m_pVersion->setText(QStringLiteral("Version: %1").arg(version.GetValue(QStringLiteral("ProductVersion"))));
    m_pLegal->setText(DoubleFirstAmpersand(version.GetValue(QStringLiteral("LegalCopyright"))));
}
