#pragma once

#include "CCellSink.h"

#include <QFile>
#include <QMap>
#include <QString>

// Writes the pipeline's spreadsheet cells as a CSV file (UTF-8, one line per
// row, fields quoted where needed). A row is written and flushed as soon as
// it ends (or the next one begins), so a killed program loses at most the
// row in progress.
class CCsvCellSink : public CCellSink
{
public:
    enum OpenMode { Replace, Append };

    ~CCsvCellSink() override { Finish(); }

    // Replace creates or empties the file; Append adds to its end. False
    // with ErrorString() on failure.
    bool Open(const QString& path, OpenMode mode = Replace);
    bool IsOpen() const { return m_file.isOpen(); }
    bool PutCell(int row, int column, const QByteArray& text) override;
    void EndRow(int row) override;
    // Writes the row in progress and closes the file; false when any write failed.
    bool Finish();
    QString ErrorString() const { return m_strError; }

    // One CSV field: quoted when it holds a comma, a quote or a line end.
    static QByteArray Field(const QString& text);

private:
    bool WriteRow();
    bool Fail();

    QFile m_file;
    bool m_bStarted = false;
    int m_nRow = 1;
    QMap<int, QByteArray> m_cells; // column -> text of the row in progress
    QString m_strError;
};
