#include "CTestOffice.h"

#include "CUnoRuntime.h"

#include <com/sun/star/bridge/UnoUrlResolver.hpp>
#include <com/sun/star/bridge/XUnoUrlResolver.hpp>
#include <com/sun/star/container/XEnumeration.hpp>
#include <com/sun/star/container/XEnumerationAccess.hpp>
#include <com/sun/star/container/XIndexAccess.hpp>
#include <com/sun/star/frame/Desktop.hpp>
#include <com/sun/star/frame/XDesktop2.hpp>
#include <com/sun/star/sheet/XSpreadsheet.hpp>
#include <com/sun/star/sheet/XSpreadsheetDocument.hpp>
#include <com/sun/star/table/CellContentType.hpp>
#include <com/sun/star/table/XCell.hpp>
#include <com/sun/star/text/XText.hpp>
#include <com/sun/star/util/XCloseable.hpp>

#include <QCoreApplication>
#include <QCryptographicHash>
#include <QDeadlineTimer>
#include <QFile>
#include <QFileInfo>
#include <QUrl>

#include <atomic>
#include <chrono>
#include <future>

#include <csignal>

#include <sys/prctl.h>
#include <unistd.h>

using namespace com::sun::star;
using com::sun::star::uno::Reference;
using com::sun::star::uno::UNO_QUERY;
using com::sun::star::uno::UNO_QUERY_THROW;

namespace {

// soffice.bin ends with this code after it made a new profile and wants
// to be started again (the soffice script would do it).
constexpr int RestartCode = 81;

QString Reason(const uno::Exception& e)
{
    return QStringLiteral("read failed: %1").arg(CUnoRuntime::FromUno(e.Message));
}

} // namespace

struct CTestOffice::CUno
{
    Reference<frame::XDesktop2> desktop;

    QList<Reference<sheet::XSpreadsheetDocument>> Spreadsheets() const
    {
        QList<Reference<sheet::XSpreadsheetDocument>> documents;
        const Reference<container::XEnumeration> all = desktop->getComponents()->createEnumeration();
        while (all->hasMoreElements()) {
            const Reference<sheet::XSpreadsheetDocument> document(all->nextElement(), UNO_QUERY);
            if (document.is())
                documents.append(document);
        }
        return documents;
    }
};

CTestOffice::CTestOffice()
{
    static std::atomic<int> count{0};
    m_strPipe = QStringLiteral("orvalis-test-%1-%2").arg(QCoreApplication::applicationPid()).arg(++count);
}

CTestOffice::~CTestOffice()
{
    Kill();
}

QString CTestOffice::Missing()
{
    const QString folder = CUnoRuntime::ProgramFolder();
    if (!QFileInfo(folder + QStringLiteral("/soffice.bin")).isExecutable() ||
        !QFileInfo::exists(folder + QStringLiteral("/libsclo.so")))
        return QStringLiteral("LibreOffice Calc is not installed in %1 (Debian: libreoffice-calc-nogui)").arg(folder);
    return QString();
}

QStringList CTestOffice::Arguments() const
{
    QStringList arguments{QStringLiteral("--nolockcheck"),
                          QStringLiteral("-env:UserInstallation=") + QUrl::fromLocalFile(m_profile.path()).toString()};
    if (!m_bVisible)
        arguments << QStringLiteral("--headless") << QStringLiteral("--invisible");
    return arguments;
}

CExcel::COffice CTestOffice::Office() const
{
    CExcel::COffice office;
    office.strPipe = m_strPipe;
    office.strProgram = CUnoRuntime::ProgramFolder() + QStringLiteral("/soffice.bin");
    office.arguments = Arguments();
    office.bHeadless = !m_bVisible;
    office.nStartSeconds = 90;
    return office;
}

bool CTestOffice::Start(int seconds)
{
    // The program ignores SIGPIPE when the UNO runtime starts, unless it
    // has a handler of its own; the test framework's crash handler is one,
    // and a write to a killed office would end the test. As in the program:
    ::signal(SIGPIPE, SIG_IGN);
    const QDeadlineTimer deadline(qint64(seconds) * 1000);
    QStringList arguments = Arguments();
    arguments << QStringLiteral("--norestore") << QStringLiteral("--nologo") << QStringLiteral("--nodefault")
              << QStringLiteral("--accept=pipe,name=%1;urp;StarOffice.ComponentContext").arg(m_strPipe);
    // The office dies with the test, however the test ends.
    m_process.setChildProcessModifier([] { ::prctl(PR_SET_PDEATHSIG, SIGKILL); });
    m_process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    m_process.setStandardOutputFile(QProcess::nullDevice());
    m_bStarted = true;
    for (int start = 0; start < 2; ++start) {
        m_process.start(CUnoRuntime::ProgramFolder() + QStringLiteral("/soffice.bin"), arguments);
        if (!m_process.waitForStarted(10000)) {
            m_strError = QStringLiteral("soffice.bin does not start: %1").arg(m_process.errorString());
            return false;
        }
        for (;;) {
            if (AnswersWithin(deadline))
                return true;
            if (deadline.hasExpired()) {
                Kill();
                m_strError = QStringLiteral("LibreOffice did not answer within %1 s").arg(seconds);
                return false;
            }
            if (m_process.waitForFinished(250))
                break;
        }
        if (m_process.exitCode() != RestartCode)
            break;
    }
    m_strError = QStringLiteral("soffice.bin ended with code %1 before it answered").arg(m_process.exitCode());
    return false;
}

// A first connection can block while the office is still starting: it is
// tried on a thread of its own, and at the deadline the office is killed,
// which ends the attempt.
bool CTestOffice::AnswersWithin(const QDeadlineTimer& deadline)
{
    std::future<bool> attempt = std::async(std::launch::async, [this] { return Answers(); });
    while (attempt.wait_for(std::chrono::milliseconds(100)) != std::future_status::ready) {
        if (deadline.hasExpired()) {
            m_process.kill();
            m_process.waitForFinished(10000);
            attempt.wait();
            return false;
        }
    }
    return attempt.get();
}

bool CTestOffice::Answers()
{
    QString error;
    const Reference<uno::XComponentContext> local = CUnoRuntime::LocalContext(error);
    if (!local.is())
        return false;
    try {
        const Reference<bridge::XUnoUrlResolver> resolver = bridge::UnoUrlResolver::create(local);
        const Reference<uno::XComponentContext> remote(
            resolver->resolve(CUnoRuntime::ToUno(CUnoRuntime::PipeUrl(m_strPipe))), UNO_QUERY_THROW);
        m_pUno = std::make_unique<CUno>();
        m_pUno->desktop = frame::Desktop::create(remote);
        return true;
    } catch (const uno::Exception&) {
        return false;
    }
}

void CTestOffice::Kill()
{
    m_pUno.reset();
    if (m_process.state() != QProcess::NotRunning) {
        m_process.kill();
        m_process.waitForFinished(10000);
    }
    if (!m_bStarted)
        return;
    // A killed office leaves the sockets of its pipe and of its profile's
    // single-instance pipe behind (named after the MD5 of the profile URL in
    // UTF-16, each byte in unpadded hex).
    const QString profile = QUrl::fromLocalFile(m_profile.path()).toString();
    const QByteArray digest = QCryptographicHash::hash(
        QByteArray(reinterpret_cast<const char*>(profile.utf16()), profile.size() * 2), QCryptographicHash::Md5);
    QString instance;
    for (const char byte : digest)
        instance += QString::number(static_cast<unsigned char>(byte), 16);
    for (const QString& name : {m_strPipe, QStringLiteral("SingleOfficeIPC_") + instance})
        QFile::remove(QStringLiteral("/tmp/OSL_PIPE_%1_%2").arg(::getuid()).arg(name));
}

// After Kill the next read connects to whatever office listens on the pipe.
bool CTestOffice::Connected()
{
    return m_pUno || Answers();
}

int CTestOffice::SpreadsheetCount()
{
    try {
        return Connected() ? int(m_pUno->Spreadsheets().size()) : -1;
    } catch (const uno::Exception&) {
        return -1;
    }
}

QVariant CTestOffice::Cell(int document, int row, int column)
{
    if (!Connected())
        return QStringLiteral("read failed: no office answers on %1").arg(m_strPipe);
    try {
        const QList<Reference<sheet::XSpreadsheetDocument>> documents = m_pUno->Spreadsheets();
        if (document < 0 || document >= documents.size())
            return QStringLiteral("read failed: no document %1").arg(document);
        const Reference<container::XIndexAccess> sheets(documents.at(document)->getSheets(), UNO_QUERY_THROW);
        const Reference<sheet::XSpreadsheet> sheet(sheets->getByIndex(0), UNO_QUERY_THROW);
        const Reference<table::XCell> cell = sheet->getCellByPosition(column - 1, row - 1);
        switch (cell->getType()) {
        case table::CellContentType_VALUE:
            return cell->getValue();
        case table::CellContentType_TEXT:
            return CUnoRuntime::FromUno(Reference<text::XText>(cell, UNO_QUERY_THROW)->getString());
        default:
            return QVariant();
        }
    } catch (const uno::Exception& e) {
        return Reason(e);
    }
}

int CTestOffice::DocumentWith(const QString& marker)
{
    const int count = SpreadsheetCount();
    for (int n = 0; n < count; ++n) {
        const QVariant a1 = Cell(n, 1, 1);
        if (a1.toString().startsWith(QStringLiteral("read failed")))
            qWarning("document %d: %s", n, qPrintable(a1.toString()));
        if (a1 == QVariant(marker))
            return n;
    }
    return -1;
}

void CTestOffice::CloseDocuments()
{
    if (!Connected())
        return;
    try {
        for (const Reference<sheet::XSpreadsheetDocument>& document : m_pUno->Spreadsheets())
            Reference<util::XCloseable>(document, UNO_QUERY_THROW)->close(true);
    } catch (const uno::Exception& e) {
        qWarning("%s", qPrintable(Reason(e)));
    }
}
