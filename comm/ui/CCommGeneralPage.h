#pragma once

#include "CPropertyPage.h"

class CDriverParameter;
class QCheckBox;
class QLineEdit;

// Page "General" of the instrument sheets: the driver's name, its file name
// and the spreadsheet switch. While the name is typed the file name follows
// it ("Lab 1" -> "Lab 1.tbb"); loading a record keeps its file name. In
// modify mode (an open instrument window's Options) neither can be edited.
class CCommGeneralPage : public CPropertyPage
{
    Q_OBJECT

public:
    explicit CCommGeneralPage(bool bModifyMode = false, QWidget* parent = nullptr);

    void SetData(const CDriverParameter& driver);
    void GetData(CDriverParameter& driver) const;

    QLineEdit* m_pName;     // 3043
    QLineEdit* m_pFileName; // 3044
    QCheckBox* m_pExcel;    // 3078

private:
    void OnChangeName(const QString& name);
};
