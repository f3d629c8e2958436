#pragma once

#include "CExcel.h"

#include <QDeadlineTimer>
#include <QProcess>
#include <QString>
#include <QTemporaryDir>
#include <QVariant>

#include <memory>

// A headless LibreOffice of a test's own: a private pipe and profile
// folder, started from soffice.bin (so the process is the office itself)
// and killed when the object goes. Reads the spreadsheets it holds back
// through UNO.
class CTestOffice
{
public:
    CTestOffice();
    ~CTestOffice();

    // Empty when LibreOffice Calc can run here, else why not.
    static QString Missing();

    // Before Start: an office with windows (on the display of $DISPLAY)
    // instead of a headless one.
    void SetVisible(bool bVisible) { m_bVisible = bVisible; }
    QString ProfilePath() const { return m_profile.path(); }

    // Starts the office and waits until it answers; false with Error().
    bool Start(int seconds = 90);
    // SIGKILL, as a crash would end it (an office started on this pipe and
    // profile by someone else is the caller's to end); the sockets it leaves
    // are removed.
    void Kill();
    QString Error() const { return m_strError; }
    qint64 ProcessId() const { return m_process.processId(); }
    // The office for CExcel: this pipe, headless, started like this one if
    // it is not running.
    CExcel::COffice Office() const;

    // Spreadsheet documents open in the office (-1 when it does not answer).
    int SpreadsheetCount();
    // A cell of the first sheet of document n (rows and columns from 1):
    // a double, a QString, or an invalid QVariant for an empty cell (or a
    // formula, which received text never is); a failed read gives the text
    // "read failed: <reason>".
    QVariant Cell(int document, int row, int column);
    // The document whose A1 holds the text marker, or -1.
    int DocumentWith(const QString& marker);
    // Closes every document (a user closing the windows).
    void CloseDocuments();

private:
    struct CUno;

    QStringList Arguments() const;
    bool Answers();
    bool AnswersWithin(const QDeadlineTimer& deadline);
    bool Connected();

    QTemporaryDir m_profile;
    QString m_strPipe;
    QProcess m_process;
    QString m_strError;
    bool m_bStarted = false;
    bool m_bVisible = false;
    // One connection for all reads, made when the office first answers.
    std::unique_ptr<CUno> m_pUno;
};
