#pragma once

// The local UNO runtime of the program, shared by the office clients. This
// header brings the UNO types: include it only in the files that talk UNO.

#include <com/sun/star/uno/XComponentContext.hpp>
#include <rtl/ustring.hxx>

#include <QString>

class CUnoRuntime
{
public:
    // Started once per process; null with error set when it cannot start.
    static com::sun::star::uno::Reference<com::sun::star::uno::XComponentContext> LocalContext(QString& error);
    // The folder of soffice, types.rdb and fundamentalrc.
    static QString ProgramFolder();
    // "uno:pipe,name=<pipe>;urp;StarOffice.ComponentContext"
    static QString PipeUrl(const QString& pipe);

    static rtl::OUString ToUno(const QString& text);
    static QString FromUno(const rtl::OUString& text);
};
