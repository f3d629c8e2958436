#include "CReadingJson.h"

#include "CCodePage.h"
#include "CParse.h"

#include <QJsonDocument>
#include <QJsonObject>

#include <cmath>

double CReadingJson::Number(const QByteArray& cell, bool& ok)
{
    const QByteArray trimmed = cell.trimmed();
    ok = false;
    // toDouble takes "inf", "nan" and hexadecimal floats too; JSON has none.
    for (char c : trimmed) {
        if (!(std::isdigit(static_cast<unsigned char>(c)) || c == '.' || c == '-' || c == '+' || c == 'e' || c == 'E'))
            return 0;
    }
    const double value = trimmed.toDouble(&ok);
    ok = ok && std::isfinite(value);
    return value;
}

QJsonArray CReadingJson::Cells(const QByteArray& line)
{
    QByteArray bytes = line;
    CParse().DecodeControlCodes(bytes);
    QJsonArray cells;
    for (const QByteArray& cell : bytes.split('\t')) {
        bool isNumber = false;
        const double value = Number(cell, isNumber);
        if (isNumber)
            cells.append(value);
        else
            cells.append(CCodePage::ToUnicode(cell));
    }
    return cells;
}

QByteArray CReadingJson::Make(const QDateTime& time, const QString& driver, const QByteArray& line)
{
    const QDateTime local = time.toOffsetFromUtc(time.offsetFromUtc());
    const QJsonObject reading{
        {QStringLiteral("time"), local.toString(Qt::ISODateWithMs)},
        {QStringLiteral("driver"), driver},
        {QStringLiteral("text"), CCodePage::ToUnicode(line)},
        {QStringLiteral("cells"), Cells(line)},
    };
    return QJsonDocument(reading).toJson(QJsonDocument::Compact);
}
