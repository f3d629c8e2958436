#pragma once

#include <QByteArray>

// The spreadsheet the received strings are written into: the window's sheet,
// a CSV file of the command line tool, a recorder in the tests.
class CCellSink
{
public:
    virtual ~CCellSink() = default;

    // Row and column count from 1. The text is in the program's code page.
    // False when the sheet refused the cell or is gone; the pipeline goes on
    // as if the cell had been written.
    virtual bool PutCell(int row, int column, const QByteArray& text) = 0;
    // The row's last cell was written (its CR passed); the next cell opens
    // the following row.
    virtual void EndRow(int row) { Q_UNUSED(row); }
};
