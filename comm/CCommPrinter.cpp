#include "CCommPrinter.h"

#include <QLoggingCategory>

#include <cups/cups.h>

#include <memory>

Q_LOGGING_CATEGORY(lcPrinter, "orvalis.comm.printer")

namespace {

constexpr const char* EpsonMark = "Epson";

// A socket wait that outlasts the time-out gives up instead of waiting again.
int GiveUp(http_t* /*http*/, void* /*data*/)
{
    return 0;
}

QString LastCupsError()
{
    const char* text = cupsLastErrorString();
    return text && *text ? QString::fromUtf8(text) : QStringLiteral("unknown error");
}

QString ServerName()
{
    return QString::fromUtf8(cupsServer());
}

// A connection to the scheduler whose every wait is bounded.
http_t* Connect(int timeoutMs, QString* error)
{
    http_t* http = httpConnect2(cupsServer(), ippPort(), nullptr, AF_UNSPEC, cupsEncryption(), 1, timeoutMs, nullptr);
    if (http == nullptr) {
        *error = QStringLiteral("cannot reach the printing system at %1 (is CUPS running?)").arg(ServerName());
        return nullptr;
    }
    httpSetTimeout(http, timeoutMs / 1000.0, GiveUp, nullptr);
    return http;
}

struct DestFree
{
    void operator()(cups_dest_t* dest) const { cupsFreeDests(1, dest); }
};
using DestPtr = std::unique_ptr<cups_dest_t, DestFree>;

struct IppFree
{
    void operator()(ipp_t* ipp) const { ippDelete(ipp); }
};
using IppPtr = std::unique_ptr<ipp_t, IppFree>;

QString NameOf(const cups_dest_t& dest)
{
    QString name = QString::fromUtf8(dest.name);
    if (dest.instance != nullptr)
        name += QLatin1Char('/') + QString::fromUtf8(dest.instance);
    return name;
}

// The printer takes RAW documents: the scheduler lists the raw format (or
// plain octet streams) among the formats it accepts for it.
bool TakesRawData(http_t* http, const cups_dest_t& dest)
{
    char uri[HTTP_MAX_URI];
    const char* supported = cupsGetOption("printer-uri-supported", dest.num_options, dest.options);
    if (supported != nullptr)
        qstrncpy(uri, supported, sizeof uri);
    else
        httpAssembleURIf(HTTP_URI_CODING_ALL, uri, sizeof uri, "ipp", nullptr, "localhost", ippPort(), "/printers/%s",
                         dest.name);
    ipp_t* request = ippNewRequest(IPP_OP_GET_PRINTER_ATTRIBUTES);
    ippAddString(request, IPP_TAG_OPERATION, IPP_TAG_URI, "printer-uri", nullptr, uri);
    ippAddString(request, IPP_TAG_OPERATION, IPP_TAG_KEYWORD, "requested-attributes", nullptr,
                 "document-format-supported");
    const IppPtr response(cupsDoRequest(http, request, "/"));
    if (!response)
        return false;
    ipp_attribute_t* formats = ippFindAttribute(response.get(), "document-format-supported", IPP_TAG_MIMETYPE);
    return ippContainsString(formats, CUPS_FORMAT_RAW) || ippContainsString(formats, "application/octet-stream");
}

CCommPrinter::Check CheckDestination(http_t* http, const CCommPrinter::Options& options, DestPtr* destOut)
{
    CCommPrinter::Check check;
    DestPtr dest(cupsGetNamedDest(http, nullptr, nullptr));
    if (!dest) {
        check.strProblem = cupsLastError() == IPP_STATUS_ERROR_NOT_FOUND || cupsLastError() == IPP_STATUS_OK
                               ? QStringLiteral("there is no default printer")
                               : QStringLiteral("there is no default printer (%1)").arg(LastCupsError());
        return check;
    }
    check.strPrinterName = NameOf(*dest);
    check.bEpson = check.strPrinterName.contains(QLatin1String(EpsonMark), Qt::CaseSensitive);
    check.bSuits = check.bEpson;
    if (!check.bSuits && options.bAnyRawPrinter) {
        check.bSuits = TakesRawData(http, *dest);
        if (!check.bSuits)
            check.strProblem = QStringLiteral("the default printer \"%1\" takes no raw data").arg(check.strPrinterName);
    } else if (!check.bSuits) {
        check.strProblem = QStringLiteral("the default printer \"%1\" is not an Epson printer").arg(check.strPrinterName);
    }
    if (destOut)
        *destOut = std::move(dest);
    return check;
}

} // namespace

CCommPrinter::Check CCommPrinter::CheckDefaultPrinter(const Options& options)
{
    QString error;
    http_t* http = Connect(options.nTimeoutMs, &error);
    if (http == nullptr) {
        Check check;
        check.strProblem = QStringLiteral("there is no default printer (%1)").arg(error);
        return check;
    }
    Check check = CheckDestination(http, options, nullptr);
    httpClose(http);
    return check;
}

CCommPrinter::CCommPrinter()
    : CCommPrinter(Options())
{
}

CCommPrinter::CCommPrinter(const Options& options)
{
    OpenJob(options);
}

CCommPrinter::~CCommPrinter()
{
    Finish();
}

void CCommPrinter::OpenJob(const Options& options)
{
    m_nTimeoutMs = options.nTimeoutMs;
    QString error;
    m_pHttp = Connect(options.nTimeoutMs, &error);
    if (m_pHttp == nullptr) {
        Fail(QStringLiteral("there is no default printer (%1)").arg(error));
        return;
    }
    DestPtr dest;
    const Check check = CheckDestination(m_pHttp, options, &dest);
    m_strPrinterName = check.strPrinterName;
    m_bEpson = check.bSuits ? 1 : 0;
    if (!check.bSuits) {
        Fail(check.strProblem);
        return;
    }
    m_strQueue = QByteArray(dest->name);
    m_nJobId = cupsCreateJob(m_pHttp, m_strQueue.constData(), DocumentName, 0, nullptr);
    if (m_nJobId == 0) {
        Fail(QStringLiteral("\"%1\" refused the print job: %2").arg(m_strPrinterName, LastCupsError()));
        return;
    }
    if (cupsStartDocument(m_pHttp, m_strQueue.constData(), m_nJobId, DocumentName, CUPS_FORMAT_RAW, 1) !=
        HTTP_STATUS_CONTINUE) {
        const QString reason = LastCupsError();
        cupsCancelJob2(m_pHttp, m_strQueue.constData(), m_nJobId, 0);
        Fail(QStringLiteral("\"%1\" refused the print job: %2").arg(m_strPrinterName, reason));
        return;
    }
    qCDebug(lcPrinter) << "job" << m_nJobId << "open on" << m_strPrinterName;
}

bool CCommPrinter::Write(const QByteArray& bytes)
{
    if (m_pHttp == nullptr)
        return false;
    if (bytes.isEmpty())
        return true;
    if (cupsWriteRequestData(m_pHttp, bytes.constData(), size_t(bytes.size())) == HTTP_STATUS_CONTINUE) {
        m_nWritten += bytes.size();
        return true;
    }
    const QString reason = LastCupsError();
    CancelJob();
    Fail(QStringLiteral("printing on \"%1\" failed: %2").arg(m_strPrinterName, reason));
    return false;
}

// The document's request is still open on the job's connection, so the
// cancel goes on a connection of its own.
void CCommPrinter::CancelJob()
{
    Disconnect();
    QString error;
    if (http_t* http = Connect(m_nTimeoutMs, &error)) {
        cupsCancelJob2(http, m_strQueue.constData(), m_nJobId, 0);
        httpClose(http);
    }
}

bool CCommPrinter::Finish()
{
    if (m_pHttp == nullptr)
        return false;
    // The scheduler refuses an empty document; nothing arrived, nothing is printed.
    if (m_nWritten == 0) {
        CancelJob();
        qCDebug(lcPrinter) << "job" << m_nJobId << "cancelled: nothing to print";
        return true;
    }
    const ipp_status_t status = cupsFinishDocument(m_pHttp, m_strQueue.constData());
    Disconnect();
    if (status > IPP_STATUS_OK_EVENTS_COMPLETE) {
        Fail(QStringLiteral("\"%1\" did not take the print job: %2").arg(m_strPrinterName, LastCupsError()));
        return false;
    }
    qCDebug(lcPrinter) << "job" << m_nJobId << "ended with" << m_nWritten << "bytes";
    return true;
}

void CCommPrinter::Fail(const QString& text)
{
    m_strProblem = text;
    qCInfo(lcPrinter).noquote() << text;
    Disconnect();
}

void CCommPrinter::Disconnect()
{
    if (m_pHttp != nullptr)
        httpClose(m_pHttp);
    m_pHttp = nullptr;
}
