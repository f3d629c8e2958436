#pragma once

#include <QByteArray>
#include <QString>

typedef struct _http_s http_t;

// A raw print job on the PC's default printer, through CUPS (the server of
// cupsServer(): CUPS_SERVER, client.conf or the local scheduler).
//
// Construction looks up the default destination (lpoptions, LPDEST and
// PRINTER count, as for lp). A job is opened only when the printer's name
// contains "Epson" (case-sensitive: "EPSON_LQ-570" does not qualify), or,
// with bAnyRawPrinter, when the printer takes raw data. The job is a RAW
// document named "My Document"; Write() puts bytes into it as they come,
// and the destructor (or Finish()) ends it, after which the printer gets it.
//
// Nothing here throws or shows anything: without a job, Problem() says why
// nothing prints ("no default printer", "not an Epson printer", the
// scheduler's refusal), for the caller to show.
//
// Every call to the scheduler is bounded by nTimeoutMs (connecting, and each
// wait for the socket): an unreachable or stalled server makes the job fail
// instead of hanging the caller.
class CCommPrinter
{
public:
    static constexpr const char* DocumentName = "My Document";

    struct Options
    {
        bool bAnyRawPrinter = false; // not only "Epson": any printer that takes raw data
        int nTimeoutMs = 5000;
    };

    // The default destination and whether it suits forwarding, without
    // opening a job.
    struct Check
    {
        QString strPrinterName; // "name" or "name/instance"; empty: none
        bool bEpson = false;    // the name contains "Epson"
        bool bSuits = false;    // a job would be opened
        QString strProblem;     // why not, when it does not suit
    };
    static Check CheckDefaultPrinter(const Options& options);

    CCommPrinter();
    explicit CCommPrinter(const Options& options);
    ~CCommPrinter();
    CCommPrinter(const CCommPrinter&) = delete;
    CCommPrinter& operator=(const CCommPrinter&) = delete;

    // Writes the bytes into the open job; false (and Problem() set, the job
    // cancelled) when the scheduler takes no more. False without a job.
    bool Write(const QByteArray& bytes);
    // Ends the job: the printer gets what was written (a job that got no
    // byte is cancelled instead). True when the scheduler accepted the
    // document or there was nothing to print; false without a job.
    bool Finish();

    bool IsJobOpen() const { return m_pHttp != nullptr; }
    int GetJobId() const { return m_nJobId; }
    QString GetPrinterName() const { return m_strPrinterName; }
    // 1 when the printer suits forwarding (its name contains "Epson", or
    // any raw printer with bAnyRawPrinter).
    int GetEpsonFlag() const { return m_bEpson; }
    // Why nothing (more) is printed; empty while the job is open.
    QString Problem() const { return m_strProblem; }
    qint64 BytesWritten() const { return m_nWritten; }

private:
    void OpenJob(const Options& options);
    void Fail(const QString& text);
    void CancelJob();
    void Disconnect();

    http_t* m_pHttp = nullptr;
    QByteArray m_strQueue; // the destination's name as the scheduler knows it
    QString m_strPrinterName;
    int m_bEpson = 0;
    int m_nJobId = 0;
    int m_nTimeoutMs = Options().nTimeoutMs;
    qint64 m_nWritten = 0;
    QString m_strProblem;
};
