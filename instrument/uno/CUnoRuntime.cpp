#include "CUnoRuntime.h"

#include <cppuhelper/bootstrap.hxx>
#include <rtl/bootstrap.hxx>

#include <mutex>

#include <csignal>

using com::sun::star::uno::Reference;
using com::sun::star::uno::XComponentContext;

Reference<XComponentContext> CUnoRuntime::LocalContext(QString& error)
{
    static std::once_flag once;
    static Reference<XComponentContext> context;
    static QString startError;
    std::call_once(once, [] {
        // The bridge writes to the office's socket without MSG_NOSIGNAL: an
        // office that died would end this program with SIGPIPE instead of
        // failing the call.
        struct sigaction current = {};
        if (::sigaction(SIGPIPE, nullptr, &current) == 0 && current.sa_handler == SIG_DFL)
            ::signal(SIGPIPE, SIG_IGN);
        // Without URE_BOOTSTRAP naming the office's fundamentalrc the client
        // finds no type library and fails when it creates the desktop.
        const QString fundamental = ProgramFolder() + QStringLiteral("/fundamentalrc");
        rtl::Bootstrap::set("URE_BOOTSTRAP", ToUno(QStringLiteral("vnd.sun.star.pathname:") + fundamental));
        try {
            context = cppu::defaultBootstrap_InitialComponentContext();
        } catch (const com::sun::star::uno::Exception& e) {
            startError = QStringLiteral("The LibreOffice UNO runtime cannot start (%1)").arg(FromUno(e.Message));
        }
    });
    error = startError;
    return context;
}

QString CUnoRuntime::ProgramFolder()
{
    return QStringLiteral(ORVALIS_LIBREOFFICE_PROGRAM);
}

QString CUnoRuntime::PipeUrl(const QString& pipe)
{
    return QStringLiteral("uno:pipe,name=%1;urp;StarOffice.ComponentContext").arg(pipe);
}

rtl::OUString CUnoRuntime::ToUno(const QString& text)
{
    return rtl::OUString(reinterpret_cast<const sal_Unicode*>(text.utf16()), sal_Int32(text.size()));
}

QString CUnoRuntime::FromUno(const rtl::OUString& text)
{
    return QString(reinterpret_cast<const QChar*>(text.getStr()), text.getLength());
}
