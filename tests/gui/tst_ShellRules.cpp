// The shell's logic without windows: command line, "Window" value and
// placement, profile round trip, program folder, file filters, the General
// page's file-name rule.

#include "CCommandLine.h"
#include "CDriverFileName.h"
#include "CFileFilter.h"
#include "CProfile.h"
#include "CProgramFolder.h"
#include "CWindowRect.h"
#include "ResourceIds.h"
#include "TestIncludes.h"

class tst_ShellRules : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void commandLine()
    {
        const QString lab = QStringLiteral("/opt/orvalis/lab.tbb");
        const struct
        {
            const char* name;
            QStringList arguments;
            QString driver;
            bool minimize;
            bool embedded;
        } rows[] = {
            {"slash D names a driver in the program folder", {"/Dlab.tbb"}, lab, false, false},
            {"D without a prefix names a driver too", {"Dlab.tbb"}, lab, false, false},
            {"lower-case d is not the driver option", {"/dlab.tbb"}, {}, false, false},
            {"an absolute driver path as it is", {"/D/home/lab.tbb"}, "/home/lab.tbb", false, false},
            {"the last D option wins", {"/Da.tbb", "/Dlab.tbb"}, lab, false, false},
            {"Sminimize starts minimised", {"/Sminimize"}, {}, true, false},
            {"SMinimize changes nothing", {"/SMinimize"}, {}, false, false},
            {"Embedding flag in any case", {"-embedding"}, {}, false, true},
            {"Automation without a prefix is a file name", {"Automation"}, {}, false, false},
        };
        for (const auto& row : rows) {
            const CCommandLineInfo info = CCommandLine::Parse(row.arguments, QStringLiteral("/opt/orvalis"));
            QVERIFY2(info.bDriverOnCommandLine == !row.driver.isEmpty() && info.strDriver == row.driver,
                     row.name);
            QVERIFY2(info.bMinimize == row.minimize && info.RunsEmbedded() == row.embedded, row.name);
        }
    }

    void driverFilesFromTheDesktop()
    {
        QTemporaryDir folder;
        const QString instrument = folder.filePath(QStringLiteral("lab.TBB"));
        const QString terminal = folder.filePath(QStringLiteral("vt100.drv"));
        for (const QString& path : {instrument, terminal}) {
            QFile file(path);
            QVERIFY(file.open(QIODevice::WriteOnly));
        }
        const QString programFolder = QStringLiteral("/opt/orvalis");
        CCommandLineInfo info = CCommandLine::Parse({instrument}, programFolder);
        QVERIFY(info.bDriverOnCommandLine);
        QCOMPARE(info.strDriver, instrument);

        info = CCommandLine::Parse({terminal}, programFolder);
        QVERIFY(!info.bDriverOnCommandLine);
        QCOMPARE(info.strTerminalDriver, terminal);
        // A path naming no file is still read as a "/" option.
        info = CCommandLine::Parse({folder.filePath(QStringLiteral("missing.tbb"))}, programFolder);
        QVERIFY(!info.bDriverOnCommandLine);
    }

    void windowValue()
    {
        const struct
        {
            const char* text;
            CWindowRect rect;
        } rows[] = {
            {"10 20 810 620", {10, 20, 810, 620}},
            {"10 20", {10, 20, 0, 0}},                   // the others 0
            {"-1280 0 -480 600", {-1280, 0, -480, 600}}, // a screen on the left
            {"10 x 30 40", {10, 0, 0, 0}},               // scanning stops at the first bad field
            {"99999999999 0 0 0", {INT_MAX, 0, 0, 0}},   // clamped
        };
        for (const auto& row : rows) {
            const CWindowRect parsed = CWindowRect::Parse(QString::fromLatin1(row.text), CWindowRect{});
            QVERIFY2(parsed == row.rect, row.text);
            QVERIFY2(CWindowRect::Parse(parsed.ToString(), CWindowRect{}) == parsed, row.text);
        }
    }

    void placement()
    {
        // An empty size: the window keeps its own size.
        const struct
        {
            const char* name;
            CWindowRect rect;
            bool placed;
            QRect geometry;
        } rows[] = {
            {"the default lets the window system choose", {CWindowRect::UseDefault, 0, 0, 0}, false, {}},
            {"10 20 810 620 is 800 x 600 at (10, 20)", {10, 20, 810, 620}, true, {10, 20, 800, 600}},
            {"position only without right and bottom", {10, 20, 0, 0}, true, {QPoint(10, 20), QSize()}},
            {"zero width: the position and own size", {10, 20, 10, 620}, true, {QPoint(10, 20), QSize()}},
            {"a rectangle on no screen is not used", {5000, 5000, 5800, 5600}, false, {}},
            {"a rectangle partly on the screen is used", {-100, -10, 700, 590}, true, {-100, -10, 800, 600}},
        };
        for (const auto& row : rows) {
            const auto placement = row.rect.CreationPlacement({QRect(0, 0, 1920, 1080)});
            QVERIFY2(placement.has_value() == row.placed, row.name);
            if (!placement)
                continue;
            QVERIFY2(placement->position == row.geometry.topLeft(), row.name);
            QVERIFY2(placement->size.value_or(QSize()) == row.geometry.size(), row.name);
        }
    }

    void profileRoundTrip()
    {
        QTemporaryDir dir;
        const QString path = dir.filePath(QStringLiteral("Orvalis.ini"));
        {
            CProfile profile(path);
            profile.WriteProfileString(CProfile::Settings, QStringLiteral("LastUsedDriver"),
                                       QStringLiteral("/home/lab/Drivers, old/Waage; 2.tbb"));
            QVERIFY(profile.Flush());
        }
        const CProfile profile(path);
        QCOMPARE(profile.GetProfileString(CProfile::Settings, QStringLiteral("LastUsedDriver")),
                 QStringLiteral("/home/lab/Drivers, old/Waage; 2.tbb"));
        QCOMPARE(profile.GetProfileInt(CProfile::Settings, QStringLiteral("Missing"), 3), 3);
    }

    void programFolderFiltersAndNames()
    {
        const auto resolve = [](const QString& home, bool writable) {
            return CProgramFolder::Resolve(home, QStringLiteral("/opt/orvalis"), writable,
                                           QStringLiteral("/home/u/.local/share/Orvalis"));
        };
        QCOMPARE(resolve(QStringLiteral("/tmp/home/"), true),
                 QStringLiteral("/tmp/home")); // ORVALIS_HOME wins
        QCOMPARE(resolve(QString(), true), QStringLiteral("/opt/orvalis"));
        // A read-only installation uses the data folder.
        QCOMPARE(resolve(QString(), false), QStringLiteral("/home/u/.local/share/Orvalis"));

        // "*" also matches names without a dot.
        QCOMPARE(CFileFilter::FromResource(IDS_ALL_FILES_FILTER).strFilter, QStringLiteral("All files (*)"));
        QCOMPARE(CFileFilter::ToQtFilter("Texts|*.txt;*.log|Drivers (*.tbb)|*.tbb||"),
                 QStringLiteral("Texts (*.txt *.log);;Drivers (*.tbb)"));

        QCOMPARE(CDriverFileName::ForName("pH 4/7"),
                 QByteArray("pH 4-7.tbb")); // a slash cannot name a folder
        QCOMPARE(CDriverFileName::ForName("Waage \xe4"), QByteArray("Waage \xe4.tbb"));
    }
};

QTEST_MAIN(tst_ShellRules)
#include "tst_ShellRules.moc"
