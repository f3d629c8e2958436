#include "CReadingJson.h"

#include "CCellValue.h"
#include "CCodePage.h"
#include "CParse.h"

#include <QJsonDocument>
#include <QJsonObject>

double CReadingJson::Number(const QByteArray& cell, bool& ok)
{
    // Read as the spreadsheet cells are, without the user's decimal comma:
    // the message is for programs.
    const std::optional<double> value = CCellValue::Number(CCodePage::ToUnicode(cell), QLocale::c());
    ok = value.has_value();
    return value.value_or(0);
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
