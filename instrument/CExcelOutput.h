#pragma once

#include "CCellSink.h"
#include "CCsvCellSink.h"
#include "CExcelThread.h"

#include <QDate>
#include <QObject>
#include <QString>

#include <memory>

// Where an instrument window's cells go while its spreadsheet switch is on:
// into the spreadsheet program through the connection thread, and every
// row also into a CSV journal ("<driver> <date>.csv" beside the driver,
// flushed per row), so no value depends on the program staying up. The
// program gets the cells of a processing pass when it is over, from the
// window's event loop. What goes wrong is said once per occurrence through
// message(), naming the journal.
class CExcelOutput : public QObject, public CCellSink
{
    Q_OBJECT

public:
    enum State { Connecting, Linked, Unreachable, Lost };
    // A program that has not answered by then is taken as unreachable (a
    // hung one never ends the attempt); should it answer later, the cells
    // go to it again.
    static constexpr int DefaultConnectTimeoutMilliseconds = 30000;

    // The journal belongs to the driver at driverPath (an empty path: the
    // user's data folder; a folder that refuses it moves it there too).
    CExcelOutput(std::unique_ptr<CSpreadsheetLink> link, const QString& driverPath,
                 const QDate& date = QDate::currentDate(), QObject* parent = nullptr);
    // Writes the row in progress to the journal; an empty journal is removed.
    ~CExcelOutput() override;

    // Opens the journal and starts connecting; the cells are queued meanwhile.
    void Start(int connectTimeoutMilliseconds = DefaultConnectTimeoutMilliseconds);
    bool PutCell(int row, int column, const QByteArray& text) override;
    void EndRow(int row) override;
    // Hands the collected cells to the thread (runs by itself once the
    // current event is handled).
    void Flush();

    State GetState() const { return m_state; }
    // Empty when no journal could be written.
    QString JournalPath() const { return m_strJournal; }
    const CExcelThread& Thread() const { return m_thread; }

    // "<folder of the driver>/<driver base name> <yyyy-MM-dd>.csv"; n > 1 adds " (n)".
    static QString JournalPathFor(const QString& driverPath, const QDate& date, int n = 1);

Q_SIGNALS:
    // A sentence for the status bar.
    void message(const QString& text);

private:
    void ScheduleFlush();
    void OpenJournal(const QString& driverPath, const QDate& date);
    bool TryJournal(const QString& driverPath, const QDate& date);
    void OnConnected();
    void OnConnectFailed(const QString& reason);
    void OnConnectTimeout(int seconds);
    void OnLost(const QString& reason);
    void OnRefused(int row, int column, const QString& reason);
    void ReportJournalError();
    QString ValuesGoTo() const;

    CExcelThread m_thread;
    const QString m_strDriverPath;
    const QDate m_date;
    CCsvCellSink m_journal;
    QList<CExcelThread::Cell> m_pending;
    QString m_strJournal;
    State m_state = Connecting;
    bool m_bStarted = false;
    bool m_bFlushScheduled = false;
    bool m_bConnectTimedOut = false;
    bool m_bBehind = false;
    bool m_bJournalErrorShown = false;
    bool m_bJournalWritten = false;
    bool m_bJournalCreated = false;
};
