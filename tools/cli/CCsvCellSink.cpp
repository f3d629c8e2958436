#include "CCsvCellSink.h"

#include "CCodePage.h"

bool CCsvCellSink::Open(const QString& path)
{
    m_file.setFileName(path);
    if (m_file.open(QIODevice::WriteOnly | QIODevice::Truncate))
        return true;
    return Fail();
}

bool CCsvCellSink::PutCell(int row, int column, const QByteArray& text)
{
    if (!m_file.isOpen())
        return false;
    // Rows only move forward; the rows skipped in between stay empty lines.
    for (; m_nRow < row; ++m_nRow) {
        if (!WriteRow())
            return false;
    }
    m_cells.insert(column, text);
    return true;
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
