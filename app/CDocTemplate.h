#pragma once

#include <QString>

// One registered document type: its resource number names its menu and its
// description string "\nOrvali\nOrvali\n\n\nOrvalis.Document\nOrvali Document"
// (window title, document name, new-file name, filter name, filter
// extension, registered type identifier, registered type name).
class CDocTemplate
{
public:
    explicit CDocTemplate(int nResourceId)
        : m_nResourceId(nResourceId)
    {
    }

    int ResourceId() const { return m_nResourceId; }
    // Field 0..6 of the description string; "" when it has no such field.
    QString GetDocString(int field) const;
    // The key by which the main window finds the type ("Orvali", "Terminal").
    QString NewFileName() const { return GetDocString(2); }

private:
    int m_nResourceId;
};
