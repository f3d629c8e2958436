#include "CCommEvent.h"

#include <QTest>

class tst_CCommEvent : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void namesGiveDistinctTypesBothWays();
};

void tst_CCommEvent::namesGiveDistinctTypesBothWays()
{
    CCommEvent::RegisterTypes();
    const QList<QEvent::Type> types = {CCommEvent::ComMessage(), CCommEvent::EndOfTransmission(),
                                       CCommEvent::SendProgress()};
    const QByteArrayList names = {"de.Veldrane.ComMessage", "de.Veldrane.EndOfTransmission", "de.Veldrane.SendProgress"};
    for (int i = 0; i < types.size(); ++i) {
        QVERIFY(types[i] >= QEvent::User && types[i] <= QEvent::MaxUser);
        QVERIFY(!types.mid(i + 1).contains(types[i]));
        QCOMPARE(CCommEvent::TypeOf(names[i].constData()), types[i]);
        QCOMPARE(QByteArray(CCommEvent::NameOf(types[i])), names[i]);
    }
    QCOMPARE(CCommEvent::TypeOf("de.Veldrane.Other"), QEvent::None);
    QCOMPARE(CCommEvent::NameOf(QEvent::Timer), nullptr);
}

QTEST_GUILESS_MAIN(tst_CCommEvent)
#include "tst_CCommEvent.moc"
