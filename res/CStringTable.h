#pragma once

#include <QByteArray>
#include <QString>

// The program's string table: every text shown to the user, by its number.
// Multi-part entries separate their parts with line feeds.
class CStringTable
{
public:
    // The entry as bytes in the program's code page; "" for an unknown id.
    static QByteArray Get(int id);
    // The same entry as display text.
    static QString Text(int id);
};
