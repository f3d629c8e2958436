#pragma once

#include <QByteArray>

// The General page keeps a new driver's file name equal to its name
// followed by ".tbb" while the name is typed.
class CDriverFileName
{
public:
    // "Lab 1" -> "Lab 1.tbb". A "/" would make the name a path into a
    // folder that does not exist, so it becomes "-" ("pH 4/7" -> "pH 4-7.tbb").
    static QByteArray ForName(const QByteArray& name);
};
