#pragma once

#include "CPropertyPage.h"

class CTerminalParameter;
class QCheckBox;
class QGroupBox;
class QRadioButton;

// Page "Terminal Settings" of an instrument driver: the display switches of
// its terminal record. Local echo, line wrapping and the column buttons
// exist but are never shown; they carry their loaded values back, so the
// page keeps those fields unchanged.
class CSettingsPage : public CPropertyPage
{
    Q_OBJECT

public:
    explicit CSettingsPage(QWidget* parent = nullptr);

    void LoadFrom(const CTerminalParameter& terminal);
    void SaveTo(CTerminalParameter& terminal) const;

    QCheckBox* m_pLocalEcho;
    QCheckBox* m_pShowControlChars;
    QCheckBox* m_pLineWrap;
    QCheckBox* m_pReceiveCRLF;
    QCheckBox* m_pSendCRLF;
    QGroupBox* m_pColumnsGroup;
    QRadioButton* m_p80;
    QRadioButton* m_p132;

private:
    // 0 "80", 1 "132", -1 none chosen (a page never loaded).
    int ColumnsIndex() const;
};
