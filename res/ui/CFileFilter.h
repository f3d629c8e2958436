#pragma once

#include <QByteArray>
#include <QString>

// A file dialog's default extension and filter from a two-part string
// resource "tbb\nInstrument Drivers (*.tbb)|*.tbb||": the Windows filter
// "name|patterns|name|patterns||" becomes Qt's "name (patterns);;...".
struct CFileFilter
{
    QString strDefaultExtension;
    QString strFilter;

    static CFileFilter FromResource(int id);
    static QString ToQtFilter(const QByteArray& windowsFilter);
};
