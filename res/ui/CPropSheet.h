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
    // The start page is selected when the page of that index is added.
    CPropSheet(const QString& caption, QWidget* parent, int startPage);

    void AddPage(CPropertyPage* page);
    void SetActivePage(int index);
    int GetActiveIndex() const;
    CPropertyPage* GetPage(int index) const;
    int GetPageCount() const;

    void accept() override; // OK: every page's OnKillActive, then OnOK
    void done(int result) override; // records the active page

    int m_nLastActivePage = 0;

private:
    void OnCurrentChanged(int index);
    void SelectQuietly(int index);

    QTabWidget* m_pTabs;
    QList<CPropertyPage*> m_pages;
    int m_nStartPage = 0;
    int m_nShownPage = -1; // the page the user sees; left through OnKillActive
};
