#include "CTerminalDisplaySettings.h"

#include "CTerminalParameter.h"

#include <QTest>

using Property = CTerminalDisplaySettings::Property;

class tst_CTerminalDisplaySettings : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void propertiesInOrder_data();
    void propertiesInOrder();
};

void tst_CTerminalDisplaySettings::propertiesInOrder_data()
{
    QTest::addColumn<int>("emulation");
    QTest::addColumn<int>("scrollbar");
    QTest::addColumn<int>("localEcho");
    QTest::addColumn<int>("blockCursor");
    QTest::addColumn<qint16>("scrollback");
    QTest::newRow("VT100 with scroll bar keeps 20 rows") << 4 << 1 << 0 << 1 << qint16(20);
    QTest::newRow("TTY without scroll bar keeps none, echo on") << 1 << 0 << 1 << 0 << qint16(0);
}

void tst_CTerminalDisplaySettings::propertiesInOrder()
{
    QFETCH(int, emulation);
    QFETCH(int, scrollbar);
    QFETCH(int, localEcho);
    QFETCH(int, blockCursor);
    QFETCH(qint16, scrollback);

    CTerminalParameter terminal;
    terminal.m_nEmulation = emulation;
    terminal.m_nRows = 30;
    terminal.m_nColumns = 132;
    terminal.m_bScrollbar = scrollbar;
    terminal.m_bLocalEcho = localEcho;
    terminal.m_bBlockCursor = blockCursor;

    const QList<Property> expected = {
        {37, qint32(0)},
        {39, qint32(3)},
        {36, qint32(emulation)},
        {63, qint32(emulation)},
        {27, QVariant::fromValue(qint16(30))},
        {26, QVariant::fromValue(qint16(132))},
        {38, true},
        {43, QVariant::fromValue(scrollback)},
        {69, bool(localEcho)},
        {62, qint32(blockCursor)},
        {28, QByteArray("Fixedsys")},
        {33, qint32(0)},
        {32, qint32(7)},
        {34, QByteArray("\x1b[2J")},
    };
    const QList<Property> properties = CTerminalDisplaySettings::FromTerminalParameter(terminal).Properties();
    QCOMPARE(properties.size(), expected.size());
    for (qsizetype i = 0; i < expected.size(); ++i) {
        QCOMPARE(properties.at(i).id, expected.at(i).id);
        QCOMPARE(properties.at(i).value.metaType(), expected.at(i).value.metaType());
        QCOMPARE(properties.at(i).value, expected.at(i).value);
    }
}

QTEST_GUILESS_MAIN(tst_CTerminalDisplaySettings)
#include "tst_CTerminalDisplaySettings.moc"
