#pragma once

#include <QList>
#include <QString>
#include <QStringList>

// A spreadsheet program as the connection thread drives it: attach or
// start, show, open a workbook, write cells of its first sheet. Every call
// may wait for another process; only the connection thread makes them
// (except Cancel). Rows and columns count from 1.
class CSpreadsheetLink
{
public:
    enum Result {
        Written,
        Refused, // the sheet refused the cells (beyond its last row); the link goes on
        Gone,    // the document or the program is gone; later writes fail too
    };

    virtual ~CSpreadsheetLink() = default;

    // False with ErrorString() when no program can be reached.
    virtual bool Connect() = 0;
    virtual bool SetVisible(bool bVisible) = 0;
    // An empty path opens a new workbook.
    virtual bool OpenWorkbook(const QString& path) = 0;
    virtual Result PutCell(int row, int column, const QString& text) = 0;
    // A rectangle of cells, row by row, all rows as wide as the first.
    virtual Result PutBlock(int row, int column, const QList<QStringList>& rows)
    {
        for (qsizetype r = 0; r < rows.size(); ++r) {
            for (qsizetype c = 0; c < rows.at(r).size(); ++c) {
                const Result result = PutCell(row + int(r), column + int(c), rows.at(r).at(c));
                if (result != Written)
                    return result;
            }
        }
        return Written;
    }
    // Why the last call failed, for the user.
    virtual QString ErrorString() const = 0;
    // From any thread: a Connect that is waiting for a program to start
    // gives up soon.
    virtual void Cancel() {}
};
