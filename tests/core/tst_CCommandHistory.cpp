#include "CCommandHistory.h"
#include "CInstrumentViewSettings.h"
#include "TestIncludes.h"

class tst_CCommandHistory : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void walksOlderAndBackToTheDraft();
    void keepsTheLastHundredWithoutRepeats();
    void settingsKeptPerDriver();
};

void tst_CCommandHistory::walksOlderAndBackToTheDraft()
{
    CCommandHistory history;
    QCOMPARE(history.Older(QStringLiteral("typed")), QStringLiteral("typed"));
    history.Add(QStringLiteral("SI"));
    history.Add(QStringLiteral("T"));
    history.Add(QStringLiteral("Z"));
    QCOMPARE(history.Older(QStringLiteral("half")), QStringLiteral("Z"));
    QCOMPARE(history.Older(QStringLiteral("Z")), QStringLiteral("T"));
    QCOMPARE(history.Older(QStringLiteral("T")), QStringLiteral("SI"));
    // The oldest stays.
    QCOMPARE(history.Older(QStringLiteral("SI")), QStringLiteral("SI"));
    QCOMPARE(history.Newer(QStringLiteral("SI")), QStringLiteral("T"));
    history.Newer(QStringLiteral("T"));
    QCOMPARE(history.Newer(QStringLiteral("Z")), QStringLiteral("half"));
    QCOMPARE(history.Newer(QStringLiteral("half")), QStringLiteral("half"));
    // A command sent ends the walk: Up starts at the newest again.
    history.Older(QString());
    history.Add(QStringLiteral("T"));
    QCOMPARE(history.Older(QString()), QStringLiteral("T"));
}

void tst_CCommandHistory::keepsTheLastHundredWithoutRepeats()
{
    CCommandHistory history;
    for (int i = 0; i < 150; ++i) {
        history.Add(QString::number(i));
        history.Add(QString::number(i));
    }
    history.Add(QString());
    const QStringList entries = history.Entries();
    QCOMPARE(entries.size(), CCommandHistory::MaxEntries);
    QCOMPARE(entries.first(), QStringLiteral("50"));
    QCOMPARE(entries.last(), QStringLiteral("149"));
}

void tst_CCommandHistory::settingsKeptPerDriver()
{
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("Orvalis.ini"));
    CInstrumentViewSettings defaults;
    defaults.Load(QSettings(path, QSettings::IniFormat), QStringLiteral("Balance"));
    // Time stamps, time stamp column, hex bytes, command line, reconnect.
    const auto flags = [](const CInstrumentViewSettings& v) {
        return QList<bool>{v.m_bTimeStamps, v.m_bTimeStampColumn, v.m_bHexBytes, v.m_bCommandLine,
                           v.m_bReconnect};
    };
    QCOMPARE(flags(defaults), (QList<bool>{false, false, false, true, true}));

    CInstrumentViewSettings balance;
    balance.m_bTimeStampColumn = true;
    balance.m_bCommandLine = false;
    balance.m_bReconnect = false;
    balance.m_commandHistory = {QStringLiteral("SI"), QStringLiteral("a, \"b\"<CR>"),
                                QStringLiteral("x=1;y")};
    {
        QSettings settings(path, QSettings::IniFormat);
        balance.Save(settings, QStringLiteral("Balance"));
    }
    CInstrumentViewSettings read;
    read.Load(QSettings(path, QSettings::IniFormat), QStringLiteral("Balance"));
    QCOMPARE(flags(read), (QList<bool>{false, true, false, false, false}));
    QCOMPARE(read.m_commandHistory, balance.m_commandHistory);

    CInstrumentViewSettings other;
    other.Load(QSettings(path, QSettings::IniFormat), QStringLiteral("Meter"));
    QCOMPARE(flags(other), flags(defaults));
    QVERIFY(other.m_commandHistory.isEmpty());
}

QTEST_GUILESS_MAIN(tst_CCommandHistory)
#include "tst_CCommandHistory.moc"
