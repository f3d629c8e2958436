#pragma once

#include <QLocale>
#include <QString>

#include <optional>

// What a received cell text is in the spreadsheet: a number when it reads
// as one, as instruments write them ("12.345", "-0.5", "1e3", surrounding
// blanks allowed) or with the user's decimal comma ("12,345" in a German
// locale); text otherwise. Group separators are not read, so "1,234" in an
// English locale stays text rather than becoming 1234.
class CCellValue
{
public:
    static std::optional<double> Number(const QString& text, const QLocale& locale = QLocale());
};
