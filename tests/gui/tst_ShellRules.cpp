// The shell's logic without windows: command line, "Window" value and
// placement, profile round trip, program folder, file filters, the General
// page's file-name rule, the About box's ampersand.

#include "CAboutDlg.h"
#include "CCommandLine.h"
#include "CDriverFileName.h"
#include "CFileFilter.h"
#include "CProfile.h"
#include "CProgramFolder.h"
#include "CWindowRect.h"
#include "ResourceIds.h"

#include <QFile>
#include <QTemporaryDir>
#include <QTest>

class tst_ShellRules : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void commandLine_data()
    {
        QTest::addColumn<QStringList>("arguments");
        QTest::addColumn<QString>("driver");
        QTest::addColumn<bool>("minimize");
        QTest::addColumn<bool>("embedded");

        const QString lab = QStringLiteral("/opt/orvalis/lab.tbb");
        QTest::newRow("slash D names a driver in the program folder") << QStringList{"/Dlab.tbb"} << lab << false << false;
        QTest::newRow("dash D names a driver too") << QStringList{"-Dlab.tbb"} << lab << false << false;
        QTest::newRow("D without a prefix names a driver too") << QStringList{"Dlab.tbb"} << lab << false << false;
        QTest::newRow("lower-case d is not the driver option") << QStringList{"/dlab.tbb"} << QString() << false << false;
        QTest::newRow("a subfolder stays relative to the program folder")
            << QStringList{"/Ddrivers/lab.tbb"} << QStringLiteral("/opt/orvalis/drivers/lab.tbb") << false << false;
        QTest::newRow("an absolute driver path is taken as it is")
            << QStringList{"/D/home/lab/lab.tbb"} << QStringLiteral("/home/lab/lab.tbb") << false << false;
        QTest::newRow("the last D option wins") << QStringList{"/Da.tbb", "/Dlab.tbb"} << lab << false << false;
        QTest::newRow("Sminimize starts minimised") << QStringList{"/Sminimize"} << QString() << true << false;
        QTest::newRow("SMinimize changes nothing") << QStringList{"/SMinimize"} << QString() << false << false;
        QTest::newRow("Embedding flag in any case") << QStringList{"-embedding"} << QString() << false << true;
        QTest::newRow("Automation without a prefix is a file name") << QStringList{"Automation"} << QString() << false << false;
        QTest::newRow("driver and automation together")
            << QStringList{"/Automation", "/Dlab.tbb"} << lab << false << true;
    }

    void commandLine()
    {
        QFETCH(QStringList, arguments);
        QFETCH(QString, driver);

        const CCommandLineInfo info = CCommandLine::Parse(arguments, QStringLiteral("/opt/orvalis"));
        QCOMPARE(info.bDriverOnCommandLine, !driver.isEmpty());
        QCOMPARE(info.strDriver, driver);
        QTEST(info.bMinimize, "minimize");
        QTEST(info.RunsEmbedded(), "embedded");
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
        QVERIFY(info.strTerminalDriver.isEmpty());

        info = CCommandLine::Parse({terminal}, programFolder);
        QVERIFY(!info.bDriverOnCommandLine);
        QCOMPARE(info.strTerminalDriver, terminal);

        // A path naming no file, or a folder, is still read as a "/" option.
        for (const QString& notAFile : {folder.filePath(QStringLiteral("missing.tbb")), folder.path()}) {
            info = CCommandLine::Parse({notAFile}, programFolder);
            QVERIFY(!info.bDriverOnCommandLine);
            QVERIFY(info.strTerminalDriver.isEmpty());
        }
    }

    void windowValue_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QList<int>>("rect");

        QTest::newRow("four numbers") << "10 20 810 620" << QList<int>{10, 20, 810, 620};
        QTest::newRow("two numbers leave the others 0") << "10 20" << QList<int>{10, 20, 0, 0};
        QTest::newRow("negative positions of a left screen") << "-1280 0 -480 600" << QList<int>{-1280, 0, -480, 600};
        QTest::newRow("scanning stops at the first bad field") << "10 x 30 40" << QList<int>{10, 0, 0, 0};
        QTest::newRow("extra blanks and a tail are ignored") << "  1   2 3 4 junk" << QList<int>{1, 2, 3, 4};
        QTest::newRow("an overlong number is clamped") << "99999999999 0 0 0" << QList<int>{INT_MAX, 0, 0, 0};
    }

    void windowValue()
    {
        QFETCH(QString, text);

        const CWindowRect parsed = CWindowRect::Parse(text, CWindowRect{});
        QTEST((QList<int>{parsed.left, parsed.top, parsed.right, parsed.bottom}), "rect");
        QCOMPARE(CWindowRect::Parse(parsed.ToString(), CWindowRect{}), parsed);
    }

    void placement_data()
    {
        QTest::addColumn<QList<int>>("rect");
        QTest::addColumn<bool>("placed");
        QTest::addColumn<QRect>("geometry"); // empty size: the window keeps its own size

        QTest::newRow("the default rectangle lets the window system choose")
            << QList<int>{CWindowRect::UseDefault, 0, 0, 0} << false << QRect();
        QTest::newRow("10 20 810 620 is 800 x 600 at (10, 20)")
            << QList<int>{10, 20, 810, 620} << true << QRect(10, 20, 800, 600);
        QTest::newRow("position only when right and bottom are missing")
            << QList<int>{10, 20, 0, 0} << true << QRect(QPoint(10, 20), QSize());
        QTest::newRow("zero width: the position, and the window's own size")
            << QList<int>{10, 20, 10, 620} << true << QRect(QPoint(10, 20), QSize());
        QTest::newRow("a rectangle on no screen is not used")
            << QList<int>{5000, 5000, 5800, 5600} << false << QRect();
        QTest::newRow("a rectangle partly on the screen is used")
            << QList<int>{-100, -10, 700, 590} << true << QRect(-100, -10, 800, 600);
    }

    void placement()
    {
        QFETCH(QList<int>, rect);
        QFETCH(bool, placed);
        QFETCH(QRect, geometry);

        const CWindowRect value{rect[0], rect[1], rect[2], rect[3]};
        const auto placement = value.CreationPlacement({QRect(0, 0, 1920, 1080)});
        QCOMPARE(placement.has_value(), placed);
        if (!placed)
            return;
        QCOMPARE(placement->position, geometry.topLeft());
        QCOMPARE(placement->size.has_value(), !geometry.size().isEmpty());
        if (placement->size)
            QCOMPARE(*placement->size, geometry.size());
    }

    void profileRoundTrip()
    {
        QTemporaryDir dir;
        const QString path = dir.filePath(QStringLiteral("Orvalis.ini"));
        {
            CProfile profile(path);
            profile.WriteProfileString(CProfile::Settings, QStringLiteral("Window"), QStringLiteral("10 20 810 620"));
            profile.WriteProfileString(CProfile::Settings, QStringLiteral("LastUsedDriver"),
                                       QStringLiteral("/home/lab/Drivers, old/Waage; 2.tbb"));
            QVERIFY(profile.Flush());
        }
        QFile file(path);
        QVERIFY(file.open(QIODevice::ReadOnly));
        const QByteArray text = file.readAll();
        QVERIFY2(text.contains("[Settings]"), text.constData());
        QVERIFY2(text.contains("Window=10 20 810 620"), text.constData());

        const CProfile profile(path);
        QCOMPARE(profile.GetProfileString(CProfile::Settings, QStringLiteral("Window")), QStringLiteral("10 20 810 620"));
        QCOMPARE(profile.GetProfileString(CProfile::Settings, QStringLiteral("LastUsedDriver")),
                 QStringLiteral("/home/lab/Drivers, old/Waage; 2.tbb"));
        QCOMPARE(profile.GetProfileString(CProfile::Settings, QStringLiteral("LastTerminalDriver")), QString());
    }

    void profileIntegers()
    {
        QTemporaryDir dir;
        const QString path = dir.filePath(QStringLiteral("Orvalis.ini"));
        QFile file(path);
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write("[Settings]\nProgress=1\nDebugConnection=abc\nTotalBytesDlg= 7 \n");
        file.close();

        const CProfile profile(path);
        QCOMPARE(profile.GetProfileInt(CProfile::Settings, QStringLiteral("Progress")), 1);
        QCOMPARE(profile.GetProfileInt(CProfile::Settings, QStringLiteral("DebugConnection")), 0);
        QCOMPARE(profile.GetProfileInt(CProfile::Settings, QStringLiteral("TotalBytesDlg")), 7);
        QCOMPARE(profile.GetProfileInt(CProfile::Settings, QStringLiteral("Missing"), 3), 3);
    }

    void programFolder_data()
    {
        QTest::addColumn<QString>("home");
        QTest::addColumn<bool>("writable");
        QTest::addColumn<QString>("folder");

        QTest::newRow("ORVALIS_HOME wins") << "/tmp/home/" << true << "/tmp/home";
        QTest::newRow("a writable program folder") << "" << true << "/opt/orvalis";
        QTest::newRow("a read-only installation uses the data folder") << "" << false << "/home/u/.local/share/Orvalis";
    }

    void programFolder()
    {
        QFETCH(QString, home);
        QFETCH(bool, writable);
        QFETCH(QString, folder);
        QCOMPARE(CProgramFolder::Resolve(home, QStringLiteral("/opt/orvalis"), writable,
                                         QStringLiteral("/home/u/.local/share/Orvalis")),
                 folder);
    }

    void fileFilters()
    {
        // "*" also matches names without a dot.
        QCOMPARE(CFileFilter::FromResource(IDS_ALL_FILES_FILTER).strFilter, QStringLiteral("All files (*)"));
        QCOMPARE(CFileFilter::ToQtFilter("Texts|*.txt;*.log|Drivers (*.tbb)|*.tbb||"),
                 QStringLiteral("Texts (*.txt *.log);;Drivers (*.tbb)"));
    }

    void driverFileName_data()
    {
        QTest::addColumn<QByteArray>("name");
        QTest::addColumn<QByteArray>("fileName");
        QTest::newRow("name followed by .tbb") << QByteArray("Lab 1") << QByteArray("Lab 1.tbb");
        QTest::newRow("an empty name") << QByteArray() << QByteArray(".tbb");
        QTest::newRow("a slash cannot name a folder") << QByteArray("pH 4/7") << QByteArray("pH 4-7.tbb");
        QTest::newRow("code page bytes stay") << QByteArray("Waage \xe4") << QByteArray("Waage \xe4.tbb");
    }

    void driverFileName()
    {
        QFETCH(QByteArray, name);
        QTEST(CDriverFileName::ForName(name), "fileName");
    }

    void legalNoticeAmpersand_data()
    {
        QTest::addColumn<QString>("notice");
        QTest::addColumn<QString>("label");
        QTest::newRow("A & B is doubled") << "A & B" << "A && B";
        QTest::newRow("only the first of two is doubled") << "A & B & C" << "A && B & C";
    }

    void legalNoticeAmpersand()
    {
        QFETCH(QString, notice);
        QTEST(CAboutDlg::DoubleFirstAmpersand(notice), "label");
    }
};

QTEST_MAIN(tst_ShellRules)
#include "tst_ShellRules.moc"
