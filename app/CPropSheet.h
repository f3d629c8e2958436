#pragma once

#include <QDialog>
#include <QList>

class CPropertyPage;
class QTabWidget;

// The modal property sheet of every settings dialog, captioned "Communication
// Setup" (string 1002). Records the page that was active when it closed.
class CPropSheet : public QDialog
{
    Q_OBJECT

public:
    explicit CPropSheet(QWidget* parent = nullptr);

    void AddPage(CPropertyPage* page);
    void SetActivePage(int index);
    int GetActiveIndex() const;
    CPropertyPage* GetPage(int index) const;
    int GetPageCount() const;

    void accept() override; // OK: every page's OnKillActive, then OnOK
    void done(int result) override; // records the active page

    int m_nLastActivePage = 0;

private:
    QTabWidget* m_pTabs;
    QList<CPropertyPage*> m_pages;
};
