#include "CFileFilter.h"

#include "CParse.h"

#include <QStringList>

CFileFilter CFileFilter::FromResource(int id)
{
    QByteArray extension;
    QByteArray filter;
    CParse().SplitResource(id, extension, filter);
    return {QString::fromLatin1(extension), ToQtFilter(filter)};
}

QString CFileFilter::ToQtFilter(const QByteArray& windowsFilter)
{
    const QStringList parts = QString::fromLatin1(windowsFilter).split(QLatin1Char('|'));
    QStringList filters;
    for (qsizetype i = 0; i + 1 < parts.size() && !parts.at(i).isEmpty(); i += 2) {
        QString name = parts.at(i);
        // Qt reads the patterns from the parentheses of the name: put the real ones there.
        if (name.contains(QLatin1Char('(')))
            name = name.left(name.indexOf(QLatin1Char('('))).trimmed();
        QStringList patterns = parts.at(i + 1).split(QLatin1Char(';'), Qt::SkipEmptyParts);
        // "*.*" means every file on Windows; here it would miss names without a dot.
        for (QString& pattern : patterns) {
            if (pattern == QLatin1String("*.*"))
                pattern = QStringLiteral("*");
        }
        filters.append(QStringLiteral("%1 (%2)").arg(name, patterns.join(QLatin1Char(' '))));
    }
    return filters.join(QStringLiteral(";;"));
}
