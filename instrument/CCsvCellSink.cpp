#include "CCsvCellSink.h"

#include "CCodePage.h"

bool CCsvCellSink::Open(const QString& path, OpenMode mode)
{
    m_file.setFileName(path);
    m_strError.clear();
    // Append opens with O_APPEND: each row goes to the end in one write.
    const QIODevice::OpenMode how = mode == Append ? QIODevice::Append : QIODevice::WriteOnly | QIODevice::Truncate;
    if (m_file.open(how))
        return true;
    return Fail();
}

bool CCsvCellSink::PutCell(int row, int column, const QByteArray& text)
{
    if (!m_file.isOpen())
        return false;
    // The file begins with the first row written (the window may have
    // written rows before the file was opened).
    if (!m_bStarted) {
        m_bStarted = true;
        m_nRow = row;
    }
    // Rows only move forward; the rows skipped in between stay empty lines.
    for (; m_nRow < row; ++m_nRow) {
        if (!WriteRow())
            return false;
    }
    m_cells.insert(column, text);
    return true;
}

void CCsvCellSink::EndRow(int row)
{
    if (!m_file.isOpen() || row != m_nRow)
        return;
    WriteRow();
    ++m_nRow;
}

bool CCsvCellSink::Finish()
{
    if (!m_file.isOpen())
        return m_strError.isEmpty();
    const bool written = m_cells.isEmpty() || WriteRow();
    m_file.close();
    return written && m_strError.isEmpty();
}

bool CCsvCellSink::WriteRow()
{
    QByteArray line;
    const int columns = m_cells.isEmpty() ? 0 : m_cells.lastKey();
    for (int column = 1; column <= columns; ++column) {
        if (column > 1)
            line += ',';
        line += Field(CCodePage::ToUnicode(m_cells.value(column)));
    }
    line += '\n';
    m_cells.clear();
    if (m_file.write(line) != line.size() || !m_file.flush())
        return Fail();
    return true;
}

bool CCsvCellSink::Fail()
{
    if (m_strError.isEmpty())
        m_strError = QStringLiteral("Cannot write %1: %2").arg(m_file.fileName(), m_file.errorString());
    return false;
}

QByteArray CCsvCellSink::Field(const QString& text)
{
    QByteArray field = text.toUtf8();
    if (!field.contains(',') && !field.contains('"') && !field.contains('\n') && !field.contains('\r'))
        return field;
    field.replace("\"", "\"\"");
    return '"' + field + '"';
}
