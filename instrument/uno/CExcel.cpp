#include "CExcel.h"

#include "CCellValue.h"
#include "CUnoRuntime.h"

#include <com/sun/star/awt/XWindow.hpp>
#include <com/sun/star/beans/PropertyValue.hpp>
#include <com/sun/star/bridge/UnoUrlResolver.hpp>
#include <com/sun/star/bridge/XUnoUrlResolver.hpp>
#include <com/sun/star/connection/NoConnectException.hpp>
#include <com/sun/star/container/XIndexAccess.hpp>
#include <com/sun/star/frame/Desktop.hpp>
#include <com/sun/star/frame/XComponentLoader.hpp>
#include <com/sun/star/frame/XController.hpp>
#include <com/sun/star/frame/XDesktop2.hpp>
#include <com/sun/star/frame/XFrame.hpp>
#include <com/sun/star/frame/XModel.hpp>
#include <com/sun/star/lang/DisposedException.hpp>
#include <com/sun/star/lang/IndexOutOfBoundsException.hpp>
#include <com/sun/star/sheet/XCellRangeData.hpp>
#include <com/sun/star/sheet/XSpreadsheet.hpp>
#include <com/sun/star/sheet/XSpreadsheetDocument.hpp>
#include <com/sun/star/table/XCell.hpp>
#include <com/sun/star/table/XCellRange.hpp>
#include <com/sun/star/text/XText.hpp>

#include <QDeadlineTimer>
#include <QFileInfo>
#include <QProcess>
#include <QThread>
#include <QUrl>

#include <mutex>

using namespace com::sun::star;
using com::sun::star::uno::Reference;
using com::sun::star::uno::UNO_QUERY;
using com::sun::star::uno::UNO_QUERY_THROW;

constexpr auto ToUno = &CUnoRuntime::ToUno;
constexpr auto FromUno = &CUnoRuntime::FromUno;

namespace {

constexpr int RetryMilliseconds = 250;
constexpr int MaxDroppedConnections = 3;

// A cell's content: a number when the text reads as one, else the text
// itself (never a formula, whatever it begins with).
uno::Any CellContent(const QString& text)
{
    if (const std::optional<double> number = CCellValue::Number(text))
        return uno::Any(*number);
    return uno::Any(ToUno(text));
}

std::mutex& DefaultOfficeMutex()
{
    static std::mutex mutex;
    return mutex;
}

CExcel::COffice& StoredDefaultOffice()
{
    static CExcel::COffice office;
    return office;
}

} // namespace

struct CExcel::CUno
{
    Reference<uno::XComponentContext> remote;
    Reference<frame::XDesktop2> desktop;   // the application
    Reference<lang::XComponent> document;  // the workbook
    Reference<sheet::XSpreadsheet> sheet;  // its first sheet
    Reference<table::XCell> range;         // the cell of the last SelectCell
};

CExcel::COffice CExcel::DefaultOffice()
{
    std::lock_guard lock(DefaultOfficeMutex());
    return StoredDefaultOffice();
}

void CExcel::SetDefaultOffice(const COffice& office)
{
    std::lock_guard lock(DefaultOfficeMutex());
    StoredDefaultOffice() = office;
}

QString CExcel::ProgramFolder()
{
    return CUnoRuntime::ProgramFolder();
}

CExcel::CExcel(const COffice& office)
    : m_office(office)
    , m_pUno(std::make_unique<CUno>())
{
}

CExcel::~CExcel() = default;

bool CExcel::Fail(const QString& error)
{
    m_strError = error;
    return false;
}

CSpreadsheetLink::Result CExcel::Failed(Result result, const QString& error)
{
    m_strError = error;
    return result;
}

bool CExcel::Connect()
{
    // Without the office the UNO runtime has no types to start with.
    if (!QFileInfo::exists(ProgramFolder() + QStringLiteral("/fundamentalrc")))
        return Fail(QStringLiteral("LibreOffice Calc is not installed"));
    QString error;
    const Reference<uno::XComponentContext> local = CUnoRuntime::LocalContext(error);
    if (!local.is())
        return Fail(error);
    const QString url = CUnoRuntime::PipeUrl(m_office.strPipe);
    try {
        const Reference<bridge::XUnoUrlResolver> resolver = bridge::UnoUrlResolver::create(local);
        QDeadlineTimer deadline;
        int nDropped = 0;
        for (bool bStarted = false;;) {
            try {
                m_pUno->remote.set(resolver->resolve(ToUno(url)), UNO_QUERY_THROW);
                m_pUno->desktop = frame::Desktop::create(m_pUno->remote);
                return true;
            } catch (const connection::NoConnectException&) {
                // Nobody listens on the pipe: start an office, once.
            } catch (const lang::DisposedException&) {
                // A busy office may drop a connection it has just accepted.
                if (++nDropped > MaxDroppedConnections)
                    throw;
                QThread::msleep(RetryMilliseconds);
                continue;
            }
            if (!bStarted) {
                if (!StartOffice())
                    return false;
                bStarted = true;
                deadline.setRemainingTime(qint64(m_office.nStartSeconds) * 1000);
            }
            if (m_bCancel)
                return Fail(QStringLiteral("Connecting to LibreOffice was cancelled"));
            if (deadline.hasExpired())
                return Fail(QStringLiteral("LibreOffice did not answer within %1 s").arg(m_office.nStartSeconds));
            QThread::msleep(RetryMilliseconds);
        }
    } catch (const uno::Exception& e) {
        return Fail(QStringLiteral("LibreOffice refused the connection (%1)").arg(FromUno(e.Message)));
    }
}

bool CExcel::StartOffice()
{
    const QString program =
        m_office.strProgram.isEmpty() ? ProgramFolder() + QStringLiteral("/soffice") : m_office.strProgram;
    // Calc is a module of its own: an office without it cannot make sheets.
    if (!QFileInfo(program).isExecutable() || !QFileInfo::exists(ProgramFolder() + QStringLiteral("/libsclo.so")))
        return Fail(QStringLiteral("LibreOffice Calc is not installed"));
    QStringList arguments{QStringLiteral("--nologo"), QStringLiteral("--norestore"), QStringLiteral("--nodefault"),
                          QStringLiteral("--accept=pipe,name=%1;urp;StarOffice.ComponentContext").arg(m_office.strPipe)};
    arguments += m_office.arguments;
    // Detached: the user's office outlives the window that started it.
    if (!QProcess::startDetached(program, arguments, QString(), &m_nStartedPid))
        return Fail(QStringLiteral("Cannot start %1").arg(program));
    return true;
}

bool CExcel::SetVisible(bool bVisible)
{
    m_bVisible = bVisible && !m_office.bHeadless;
    const Reference<frame::XModel> model(m_pUno->document, UNO_QUERY);
    if (!model.is() || m_office.bHeadless)
        return true;
    try {
        model->getCurrentController()->getFrame()->getContainerWindow()->setVisible(bVisible);
        return true;
    } catch (const uno::Exception& e) {
        return Fail(QStringLiteral("LibreOffice cannot show the document (%1)").arg(FromUno(e.Message)));
    }
}

bool CExcel::OpenWorkbook(const QString& path)
{
    if (!m_pUno->desktop.is())
        return Fail(QStringLiteral("LibreOffice is not connected"));
    const QString url = path.isEmpty() ? QStringLiteral("private:factory/scalc") : QUrl::fromLocalFile(path).toString();
    try {
        beans::PropertyValue hidden;
        hidden.Name = "Hidden";
        hidden.Value <<= !m_bVisible;
        const Reference<frame::XComponentLoader> loader(m_pUno->desktop, UNO_QUERY_THROW);
        const Reference<lang::XComponent> document =
            loader->loadComponentFromURL(ToUno(url), "_blank", 0, uno::Sequence<beans::PropertyValue>(&hidden, 1));
        const Reference<sheet::XSpreadsheetDocument> workbook(document, UNO_QUERY);
        if (!workbook.is()) {
            return Fail(path.isEmpty() ? QStringLiteral("LibreOffice cannot make a spreadsheet (is Calc installed?)")
                                       : QStringLiteral("LibreOffice cannot open %1 as a spreadsheet").arg(path));
        }
        const Reference<container::XIndexAccess> sheets(workbook->getSheets(), UNO_QUERY_THROW);
        m_pUno->sheet.set(sheets->getByIndex(0), UNO_QUERY_THROW);
        m_pUno->document = document;
        return true;
    } catch (const uno::Exception& e) {
        return Fail(QStringLiteral("LibreOffice cannot open a spreadsheet (%1)").arg(FromUno(e.Message)));
    }
}

bool CExcel::SelectCell(int row, int column)
{
    m_pUno->range.clear();
    if (!m_pUno->sheet.is())
        return Fail(QStringLiteral("No spreadsheet is open"));
    m_pUno->range = m_pUno->sheet->getCellByPosition(column - 1, row - 1);
    return true;
}

CSpreadsheetLink::Result CExcel::PutCell(int row, int column, const QString& text)
{
    return Write([&] {
        SelectCell(row, column);
        if (const std::optional<double> number = CCellValue::Number(text))
            m_pUno->range->setValue(*number);
        else
            Reference<text::XText>(m_pUno->range, UNO_QUERY_THROW)->setString(ToUno(text));
    });
}

CSpreadsheetLink::Result CExcel::PutBlock(int row, int column, const QList<QStringList>& rows)
{
    if (rows.isEmpty() || rows.first().isEmpty())
        return Written;
    const qsizetype width = rows.first().size();
    uno::Sequence<uno::Sequence<uno::Any>> data(static_cast<sal_Int32>(rows.size()));
    for (qsizetype r = 0; r < rows.size(); ++r) {
        uno::Sequence<uno::Any> line(static_cast<sal_Int32>(width));
        for (qsizetype c = 0; c < width; ++c)
            line.getArray()[c] = CellContent(rows.at(r).value(c));
        data.getArray()[r] = line;
    }
    return Write([&] {
        const Reference<table::XCellRange> range = m_pUno->sheet->getCellRangeByPosition(
            column - 1, row - 1, column - 1 + sal_Int32(width) - 1, row - 1 + sal_Int32(rows.size()) - 1);
        Reference<sheet::XCellRangeData>(range, UNO_QUERY_THROW)->setDataArray(data);
    });
}

// A row beyond the sheet is refused; a run-time failure means the document
// or the office went.
CSpreadsheetLink::Result CExcel::Write(const std::function<void()>& write)
{
    // A link whose workbook never opened writes nothing.
    if (!m_pUno->sheet.is())
        return Failed(Gone, QStringLiteral("No spreadsheet is open"));
    try {
        write();
        return Written;
    } catch (const lang::IndexOutOfBoundsException&) {
        return Failed(Refused, QStringLiteral("beyond the last row or column of the sheet"));
    } catch (const uno::RuntimeException&) {
        return Failed(Gone, GoneReason());
    } catch (const uno::Exception& e) {
        return Failed(Refused, FromUno(e.Message));
    }
}

// After a write failed at run time: the office still answers when only the
// document went.
QString CExcel::GoneReason() const
{
    try {
        if (m_pUno->desktop.is()) {
            m_pUno->desktop->getCurrentComponent();
            return QStringLiteral("the document was closed");
        }
    } catch (const uno::Exception&) {
    }
    return QStringLiteral("LibreOffice has quit");
}
