#pragma once

#include <QString>
#include <QWidget>

// One page of a CPropSheet. Each page also offers LoadFrom(record) to fill its
// controls before the sheet is shown and SaveTo(record) to store them after OK.
class CPropertyPage : public QWidget
{
    Q_OBJECT

public:
    explicit CPropertyPage(const QString& caption, QWidget* parent = nullptr);

    QString Caption() const { return m_strCaption; }

    // Checks the controls when the page is left or the sheet ends with OK.
    // On a bad value the page shows its message, focuses the control and
    // returns false: the sheet stays open on this page.
    virtual bool OnKillActive() { return true; }
    // OK or Apply: commit any pending edit of the page.
    virtual void OnOK() {}

private:
    QString m_strCaption;
};
