#pragma once

#include "CConsoleTextSink.h"
#include "CCsvCellSink.h"
#include "CDriverFile.h"
#include "CLineStamper.h"
#include "CPublishingSink.h"
#include "CReceivePipeline.h"

#include <QString>

#include <memory>

class QTextStream;

// An instrument window without a window, shared by "capture" and "replay":
// the driver's records, the received-data pipeline, standard output as the
// window text and, when asked for, a CSV file as the spreadsheet.
class CInstrumentSession
{
public:
    explicit CInstrumentSession(QTextStream& out);

    // False with the message for the user when the driver cannot be used.
    bool LoadDriver(const QString& path, QString& error);
    // Writes the cells to a CSV file; the driver's spreadsheet switch is
    // turned on for this session (the file on disk is not changed).
    bool OpenCells(const QString& path, QString& error);
    // Ends the CSV file; false with the message when a cell was not written.
    bool Finish(QString& error);
    // Puts the local time in front of every line on the console (before
    // PublishTo: the readings published stay as the instrument sent them).
    void EnableTimestamps();
    // Writes the text of the last processing pass through to the console.
    void FlushText() { m_text.Flush(); }
    // Every line shown also goes to send as a reading of driverName.
    void PublishTo(CPublishingSink::Sender send, const QString& driverName);
    // Sends the line still open.
    void FlushPublishing();
    // The first failed write of a cell, "" while all went well.
    QString WriteError() const { return m_cells.ErrorString(); }

    CDriverFile& Driver() { return m_driver; }
    CReceivePipeline& Pipeline() { return m_pipeline; }

private:
    CDriverFile m_driver;
    CConsoleTextSink m_text;
    CLineStamper m_stamper{m_text};
    CTextSink* m_pConsole = &m_text;
    CCsvCellSink m_cells;
    bool m_bCells = false;
    std::unique_ptr<CPublishingSink> m_pPublishing;
    CReceivePipeline m_pipeline;
};
