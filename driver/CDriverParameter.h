#pragma once

#include "CRecord.h"

#include <QByteArray>

// The driver's own record: display name, file name (without folder) and
// the spreadsheet switch.
class CDriverParameter : public CRecord
{
public:
    QByteArray GetName() const { return m_strName; }
    QByteArray GetFileName() const { return m_strFileName; }
    int GetExcel() const { return m_bExcel; }
    void SetName(const QByteArray& name) { m_strName = name; }
    void SetFileName(const QByteArray& fileName) { m_strFileName = fileName; }
    void SetExcel(int excel) { m_bExcel = excel; }

    QByteArray m_strName;
    QByteArray m_strFileName;
    int m_bExcel = 0;

protected:
    void SerializeFields(CArchive& ar) override;
};
