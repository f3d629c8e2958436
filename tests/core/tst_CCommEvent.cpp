#include "CCommEvent.h"

#include <QTest>

class tst_CCommEvent : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void namesAndTypes_data();
    void namesAndTypes();
    void threeDistinctTypes();
};

void tst_CCommEvent::namesAndTypes_data()
{
    QTest::addColumn<QByteArray>("name");
    QTest::newRow("line events") << QByteArray("de.Veldrane.ComMessage");
    QTest::newRow("end of a file transfer") << QByteArray("de.Veldrane.EndOfTransmission");
    QTest::newRow("progress of a file transfer") << QByteArray("de.Veldrane.SendProgress");
}

void tst_CCommEvent::namesAndTypes()
{
    QFETCH(QByteArray, name);
    const QEvent::Type type = CCommEvent::TypeOf(name.constData());
    QVERIFY(type >= QEvent::User && type <= QEvent::MaxUser);
    QCOMPARE(QByteArray(CCommEvent::NameOf(type)), name);
    QCOMPARE(CCommEvent::TypeOf(name.constData()), type);
}

void tst_CCommEvent::threeDistinctTypes()
{
    CCommEvent::RegisterTypes();
    const QEvent::Type types[] = {CCommEvent::ComMessage(), CCommEvent::EndOfTransmission(), CCommEvent::SendProgress()};
    QVERIFY(types[0] != types[1] && types[1] != types[2] && types[0] != types[2]);
    QCOMPARE(CCommEvent::TypeOf("de.Veldrane.Other"), QEvent::None);
    QCOMPARE(CCommEvent::NameOf(QEvent::Timer), nullptr);

    const CCommEvent progress(CCommEvent::SendProgress(), 2048, 5000);
    QCOMPARE(progress.type(), CCommEvent::SendProgress());
    QCOMPARE(progress.wParam(), 2048);
    QCOMPARE(progress.lParam(), 5000);
    QCOMPARE(progress.Channel(), nullptr);
}

QTEST_GUILESS_MAIN(tst_CCommEvent)
#include "tst_CCommEvent.moc"
