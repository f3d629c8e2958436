#pragma once

// Golden driver files under tests/data/ are written by the program itself.
// With ORVALIS_UPDATE_GOLDEN=1 in the environment a test rewrites the file
// from what the program now produces instead of comparing against it.

#include "TestIncludes.h"

inline QString GoldenPath(const QString& name)
{
    return QStringLiteral(ORVALIS_TEST_DATA "/") + name;
}

inline QByteArray GoldenBytes(const QString& name, const QByteArray& produced)
{
    QFile file(GoldenPath(name));
    if (qEnvironmentVariableIntValue("ORVALIS_UPDATE_GOLDEN") == 1) {
        if (file.open(QIODevice::WriteOnly | QIODevice::Truncate))
            file.write(produced);
        return produced;
    }
    if (!file.open(QIODevice::ReadOnly))
        return QByteArray();
    return file.readAll();
}
