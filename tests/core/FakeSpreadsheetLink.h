#pragma once

// A spreadsheet program for the connection thread's tests: records what it
// is asked, can refuse to connect, hang, lose its document or refuse rows.

#include "CSpreadsheetLink.h"
#include "TestIncludes.h"

#include <condition_variable>

struct CFakeSpreadsheet
{
    std::mutex mutex;
    std::condition_variable released;
    QStringList calls; // "connect", "visible", "open", "cell", "block"
    QStringList cells; // "row,column:text" in the order written
    bool bConnects = true;
    QString strConnectError = QStringLiteral("LibreOffice Calc is not installed");
    bool bHung = false;    // writes wait until Release()
    bool bConnectHangs = false; // Connect waits until Release()
    int nGoneAfter = -1;   // cells written before the document goes
    int nRefuseFromRow = 0; // cells from this row on are refused

    void Hang()
    {
        std::lock_guard lock(mutex);
        bHung = true;
    }
    void Release()
    {
        {
            std::lock_guard lock(mutex);
            bHung = false;
            bConnectHangs = false;
        }
        released.notify_all();
    }
    QStringList Cells()
    {
        std::lock_guard lock(mutex);
        return cells;
    }
    QStringList Calls()
    {
        std::lock_guard lock(mutex);
        return calls;
    }
};

class CFakeSpreadsheetLink : public CSpreadsheetLink
{
public:
    explicit CFakeSpreadsheetLink(std::shared_ptr<CFakeSpreadsheet> sheet)
        : m_sheet(std::move(sheet))
    {
    }

    bool Connect() override
    {
        std::unique_lock lock(m_sheet->mutex);
        m_sheet->calls.append(QStringLiteral("connect"));
        m_sheet->released.wait(lock, [this] { return !m_sheet->bConnectHangs; });
        m_strError = m_sheet->bConnects ? QString() : m_sheet->strConnectError;
        return m_sheet->bConnects;
    }
    bool SetVisible(bool) override
    {
        std::lock_guard lock(m_sheet->mutex);
        m_sheet->calls.append(QStringLiteral("visible"));
        return true;
    }
    bool OpenWorkbook(const QString&) override
    {
        std::lock_guard lock(m_sheet->mutex);
        m_sheet->calls.append(QStringLiteral("open"));
        return true;
    }
    Result PutCell(int row, int column, const QString& text) override
    {
        std::unique_lock lock(m_sheet->mutex);
        m_sheet->calls.append(QStringLiteral("cell"));
        return Write(lock, row, column, text);
    }
    Result PutBlock(int row, int column, const QList<QStringList>& rows) override
    {
        std::unique_lock lock(m_sheet->mutex);
        m_sheet->calls.append(QStringLiteral("block"));
        for (qsizetype r = 0; r < rows.size(); ++r) {
            for (qsizetype c = 0; c < rows.at(r).size(); ++c) {
                const Result result = Write(lock, row + int(r), column + int(c), rows.at(r).at(c));
                if (result != Written)
                    return result;
            }
        }
        return Written;
    }
    QString ErrorString() const override { return m_strError; }

private:
    Result Write(std::unique_lock<std::mutex>& lock, int row, int column, const QString& text)
    {
        m_sheet->released.wait(lock, [this] { return !m_sheet->bHung; });
        if (m_sheet->nGoneAfter >= 0 && m_sheet->cells.size() >= m_sheet->nGoneAfter) {
            m_strError = QStringLiteral("the document was closed");
            return Gone;
        }
        if (m_sheet->nRefuseFromRow > 0 && row >= m_sheet->nRefuseFromRow) {
            m_strError = QStringLiteral("beyond the last row or column of the sheet");
            return Refused;
        }
        m_sheet->cells.append(QStringLiteral("%1,%2:%3").arg(row).arg(column).arg(text));
        return Written;
    }

    std::shared_ptr<CFakeSpreadsheet> m_sheet;
    QString m_strError;
};
