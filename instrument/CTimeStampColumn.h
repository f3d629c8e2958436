#pragma once

#include "CCellSink.h"

#include <QDateTime>

#include <functional>

// Spreadsheet cells with the time of their row in front: switched on, the
// first cell of a row brings the local time ("2026-11-23 14:05:31.207") into
// column 1 and every cell of the row moves one column right, in the sheet
// and in its journal alike. Whether a row is stamped is settled by its first
// cell, so a switch between two cells of a row leaves that row as it began.
class CTimeStampColumn : public CCellSink
{
public:
    using Clock = std::function<QDateTime()>;

    explicit CTimeStampColumn(Clock clock = &QDateTime::currentDateTime)
        : m_clock(std::move(clock))
    {
    }

    void SetTarget(CCellSink* target) { m_pTarget = target; }
    void SetOn(bool on) { m_bOn = on; }

    bool PutCell(int row, int column, const QByteArray& text) override;
    void EndRow(int row) override;

private:
    CCellSink* m_pTarget = nullptr;
    Clock m_clock;
    bool m_bOn = false;
    int m_nRow = 0;            // the row whose first cell was written last
    bool m_bRowStamped = false;
};
