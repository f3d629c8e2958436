#include "CCellValue.h"

#include <cmath>

namespace {

std::optional<double> Read(const QString& text, QLocale locale)
{
    locale.setNumberOptions(QLocale::RejectGroupSeparator);
    bool bOk = false;
    const double value = locale.toDouble(text, &bOk);
    // "inf" and "nan" are words, not readings.
    if (!bOk || !std::isfinite(value))
        return std::nullopt;
    return value;
}

} // namespace

std::optional<double> CCellValue::Number(const QString& text, const QLocale& locale)
{
    const QString trimmed = text.trimmed();
    if (trimmed.isEmpty())
        return std::nullopt;
    if (const std::optional<double> value = Read(trimmed, QLocale::c()))
        return value;
    return Read(trimmed, locale);
}
