#include "CPropSheet.h"

#include "CPropertyPage.h"
#include "CStringTable.h"
#include "ResourceIds.h"

#include <QDialogButtonBox>
#include <QPushButton>
#include <QTabWidget>
#include <QVBoxLayout>

CPropSheet::CPropSheet(QWidget* parent)
    : CPropSheet(CStringTable::Text(IDS_COMMUNICATION_SETUP), parent, 0)
{
}

CPropSheet::CPropSheet(const QString& caption, QWidget* parent, int startPage)
    : QDialog(parent)
    , m_pTabs(new QTabWidget(this))
    , m_nStartPage(startPage)
{
    setWindowTitle(caption);
    setObjectName(QStringLiteral("CPropSheet"));
    // Every page title stays visible: the sheet grows instead of scrolling its tabs.
    m_pTabs->setUsesScrollButtons(false);
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this);
    connect(buttons, &QDialogButtonBox::accepted, this, &CPropSheet::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &CPropSheet::reject);
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(m_pTabs);
    layout->addWidget(buttons);
    connect(m_pTabs, &QTabWidget::currentChanged, this, &CPropSheet::OnCurrentChanged);
}

void CPropSheet::AddPage(CPropertyPage* page)
{
    m_pages.append(page);
    m_pTabs->blockSignals(true);
    m_pTabs->addTab(page, page->Caption());
    m_pTabs->blockSignals(false);
    // The start page is selected as soon as it exists; a start page beyond
    // the pages (remembered from a larger sheet) leaves the first one.
    SelectQuietly(m_pages.size() - 1 == m_nStartPage ? m_nStartPage : m_pTabs->currentIndex());
}

void CPropSheet::SetActivePage(int index)
{
    if (index < 0 || index >= m_pages.size())
        return;
    SelectQuietly(index);
}

int CPropSheet::GetActiveIndex() const
{
    return m_pTabs->currentIndex();
}

CPropertyPage* CPropSheet::GetPage(int index) const
{
    return index >= 0 && index < m_pages.size() ? m_pages.at(index) : nullptr;
}

int CPropSheet::GetPageCount() const
{
    return int(m_pages.size());
}

void CPropSheet::SelectQuietly(int index)
{
    m_pTabs->blockSignals(true);
    m_pTabs->setCurrentIndex(index);
    m_pTabs->blockSignals(false);
    m_nShownPage = m_pTabs->currentIndex();
}

void CPropSheet::OnCurrentChanged(int index)
{
    // The page being left must accept its values first; it stays in front
    // while it shows its message.
    const int leaving = m_nShownPage;
    CPropertyPage* page = GetPage(leaving);
    if (!page) {
        m_nShownPage = index;
        return;
    }
    SelectQuietly(leaving);
    if (page->OnKillActive())
        SelectQuietly(index);
}

void CPropSheet::accept()
{
    const int active = GetActiveIndex();
    QList<int> order{active};
    for (int i = 0; i < m_pages.size(); ++i) {
        if (i != active)
            order.append(i);
    }
    for (const int i : order) {
        if (i < 0)
            continue;
        // A page with a bad value is brought to the front before it complains.
        SelectQuietly(i);
        if (!m_pages.at(i)->OnKillActive())
            return;
    }
    SelectQuietly(active);
    for (CPropertyPage* page : std::as_const(m_pages))
        page->OnOK();
    QDialog::accept();
}

void CPropSheet::done(int result)
{
    m_nLastActivePage = GetActiveIndex();
    QDialog::done(result);
}
