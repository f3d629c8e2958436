// orvalis-icons FOLDER NAME SIZE...: writes the program icon as
// FOLDER/<size>x<size>/NAME.png for each size (the package's hicolor icons).

#include "CAppIcon.h"

#include <QDir>
#include <QGuiApplication>
#include <QPixmap>

#include <cstdio>

int main(int argc, char* argv[])
{
    QGuiApplication application(argc, argv);
    const QStringList arguments = QGuiApplication::arguments().mid(1);
    if (arguments.size() < 3) {
        std::fputs("usage: orvalis-icons FOLDER NAME SIZE...\n", stderr);
        return 2;
    }
    for (const QString& sizeText : arguments.mid(2)) {
        bool bNumber = false;
        const int size = sizeText.toInt(&bNumber);
        const QString folder = QStringLiteral("%1/%2x%2").arg(arguments[0]).arg(size);
        const QString path = folder + QLatin1Char('/') + arguments[1] + QStringLiteral(".png");
        if (!bNumber || size < 1 || !QDir().mkpath(folder) || !CAppIcon::Pixmap(size).save(path, "PNG")) {
            std::fprintf(stderr, "orvalis-icons: cannot write %s\n", qPrintable(path));
            return 1;
        }
    }
    return 0;
}
