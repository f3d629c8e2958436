#include "CExcelOutput.h"

#include "CCodePage.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSet>
#include <QStandardPaths>
#include <QTimer>

namespace {

// Journals written by the windows of this program: a second window on the
// same driver gets a journal of its own.
QSet<QString>& JournalsInUse()
{
    static QSet<QString> paths;
    return paths;
}

constexpr int MaxJournalNumber = 99;

} // namespace

CExcelOutput::CExcelOutput(std::unique_ptr<CSpreadsheetLink> link, const QString& driverPath, const QDate& date,
                           QObject* parent)
    : QObject(parent)
    , m_thread(std::move(link))
    , m_strDriverPath(driverPath)
    , m_date(date)
{
    connect(&m_thread, &CExcelThread::connected, this, &CExcelOutput::OnConnected);
    connect(&m_thread, &CExcelThread::connectFailed, this, &CExcelOutput::OnConnectFailed);
    connect(&m_thread, &CExcelThread::lost, this, &CExcelOutput::OnLost);
    connect(&m_thread, &CExcelThread::refused, this, &CExcelOutput::OnRefused);
}

CExcelOutput::~CExcelOutput()
{
    Flush();
    if (m_strJournal.isEmpty())
        return;
    m_journal.Finish();
    JournalsInUse().remove(m_strJournal);
    if (m_bJournalCreated && QFileInfo(m_strJournal).size() == 0)
        QFile::remove(m_strJournal);
}

QString CExcelOutput::JournalPathFor(const QString& driverPath, const QDate& date, int n)
{
    const QFileInfo driver(driverPath);
    QString name = driver.completeBaseName() + QLatin1Char(' ') + date.toString(Qt::ISODate);
    if (n > 1)
        name += QStringLiteral(" (%1)").arg(n);
    return driver.dir().filePath(name + QStringLiteral(".csv"));
}

void CExcelOutput::OpenJournal(const QString& driverPath, const QDate& date)
{
    if (!driverPath.isEmpty() && TryJournal(driverPath, date))
        return;
    const QString refused = m_journal.ErrorString();
    const QString dataFolder = QStandardPaths::writableLocation(QStandardPaths::AppDataLocation);
    QDir().mkpath(dataFolder);
    const QString name = driverPath.isEmpty() ? QStringLiteral("Orvalis.tbb") : QFileInfo(driverPath).fileName();
    if (TryJournal(QDir(dataFolder).filePath(name), date)) {
        if (!refused.isEmpty())
            Q_EMIT message(QStringLiteral("%1; the journal is %2").arg(refused, m_strJournal));
        return;
    }
    ReportJournalError();
}

bool CExcelOutput::TryJournal(const QString& driverPath, const QDate& date)
{
    for (int n = 1; n <= MaxJournalNumber; ++n) {
        const QString path = JournalPathFor(driverPath, date, n);
        if (JournalsInUse().contains(path))
            continue;
        const bool bExisted = QFile::exists(path);
        if (!m_journal.Open(path, CCsvCellSink::Append))
            return false;
        m_strJournal = path;
        m_bJournalCreated = !bExisted;
        JournalsInUse().insert(path);
        return true;
    }
    return false;
}

void CExcelOutput::Start(int connectTimeoutMilliseconds)
{
    if (m_bStarted)
        return;
    m_bStarted = true;
    OpenJournal(m_strDriverPath, m_date);
    m_thread.Start();
    QTimer::singleShot(connectTimeoutMilliseconds, this,
                       [this, connectTimeoutMilliseconds] { OnConnectTimeout(connectTimeoutMilliseconds / 1000); });
}

// The cells of a processing pass are collected and handed on together
// when the pass is over: one lock for the connection thread's queue, not
// one per cell.
bool CExcelOutput::PutCell(int row, int column, const QByteArray& text)
{
    const bool bJournaled = m_journal.PutCell(row, column, text);
    if (m_state == Unreachable || m_state == Lost)
        return bJournaled;
    m_pending.append({row, column, CCodePage::ToUnicode(text)});
    ScheduleFlush();
    return true;
}

// The journal has the row on disk before the next byte is read: a program
// killed in the middle of a pass loses none of its completed rows.
void CExcelOutput::EndRow(int row)
{
    m_journal.EndRow(row);
    if (!m_journal.ErrorString().isEmpty())
        ReportJournalError();
}

void CExcelOutput::ScheduleFlush()
{
    if (m_bFlushScheduled)
        return;
    m_bFlushScheduled = true;
    QMetaObject::invokeMethod(this, &CExcelOutput::Flush, Qt::QueuedConnection);
}

void CExcelOutput::Flush()
{
    m_bFlushScheduled = false;
    if (m_pending.isEmpty())
        return;
    switch (m_thread.Put(m_pending)) {
    case CExcelThread::Queued:
        // Caught up again once half the queue is free.
        if (m_bBehind && m_thread.QueuedCells() < CExcelThread::DefaultMaxCells / 2)
            m_bBehind = false;
        break;
    case CExcelThread::Full:
        if (!m_bBehind) {
            m_bBehind = true;
            Q_EMIT message(QStringLiteral("LibreOffice Calc is not keeping up: cells go %1 until it catches up")
                               .arg(ValuesGoTo()));
        }
        break;
    case CExcelThread::Gone:
        break;
    }
    m_pending.clear();
}

void CExcelOutput::OnConnected()
{
    if (m_state != Connecting && !(m_state == Unreachable && m_bConnectTimedOut))
        return;
    m_state = Linked;
    if (!m_strJournal.isEmpty())
        Q_EMIT message(QStringLiteral("Cells go to LibreOffice Calc and to %1").arg(m_strJournal));
}

void CExcelOutput::OnConnectFailed(const QString& reason)
{
    const bool bTold = m_state == Unreachable;
    m_state = Unreachable;
    if (!bTold)
        Q_EMIT message(QStringLiteral("%1: values go %2").arg(reason, ValuesGoTo()));
}

void CExcelOutput::OnConnectTimeout(int seconds)
{
    if (m_state != Connecting)
        return;
    m_bConnectTimedOut = true;
    OnConnectFailed(QStringLiteral("LibreOffice did not answer within %1 s").arg(seconds));
}

void CExcelOutput::OnLost(const QString& reason)
{
    m_state = Lost;
    Q_EMIT message(QStringLiteral("The link to LibreOffice Calc is gone (%1): values go %2").arg(reason, ValuesGoTo()));
}

void CExcelOutput::OnRefused(int row, int column, const QString& reason)
{
    Q_EMIT message(QStringLiteral("LibreOffice Calc refused the cell in row %1, column %2 (%3); the journal %4 "
                                  "keeps every value")
                       .arg(row)
                       .arg(column)
                       .arg(reason, m_strJournal));
}

void CExcelOutput::ReportJournalError()
{
    if (m_bJournalErrorShown)
        return;
    m_bJournalErrorShown = true;
    QString error = m_journal.ErrorString();
    if (error.isEmpty())
        error = QStringLiteral("Cannot write a journal beside the driver or in the data folder");
    const bool bCalc = m_state == Linked || m_state == Connecting;
    Q_EMIT message(error + (bCalc ? QStringLiteral("; the values go only to LibreOffice Calc")
                                  : QStringLiteral("; the values are not kept")));
}

QString CExcelOutput::ValuesGoTo() const
{
    if (m_strJournal.isEmpty())
        return QStringLiteral("nowhere (no journal could be written)");
    return QStringLiteral("only to %1").arg(m_strJournal);
}
