#include "CCommParameter.h"
#include "CLineSettingsText.h"

#include <QTest>

class tst_CLineSettingsText : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void parity_data();
    void parity();
    void flowControl_data();
    void flowControl();
    void summary();
    void shortConnector_data();
    void shortConnector();
};

void tst_CLineSettingsText::parity_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<int>("parity");
    QTest::addColumn<QString>("written");
    QTest::newRow("letter") << "E" << int('E') << "E";
    QTest::newRow("lower-case letter") << "o" << int('O') << "O";
    QTest::newRow("word in any case") << "sPaCe" << int('S') << "S";
    QTest::newRow("none") << "none" << int('N') << "N";
    QTest::newRow("unknown word") << "even-ish" << -1 << "";
    QTest::newRow("empty text") << "" << -1 << "";
}

void tst_CLineSettingsText::parity()
{
    QFETCH(QString, text);
    QFETCH(int, parity);
    QFETCH(QString, written);
    QCOMPARE(CLineSettingsText::ParseParity(text), parity);
    QCOMPARE(CLineSettingsText::ParityToString(parity), written);
}

void tst_CLineSettingsText::flowControl_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<int>("flowControl");
    QTest::addColumn<QString>("written");
    QTest::newRow("none is 0") << "None" << 0 << "None";
    QTest::newRow("xon/xoff is 1") << "xon/xoff" << 1 << "Xon/Xoff";
    QTest::newRow("rts/cts is 2") << "RTS/CTS" << 2 << "Rts/Cts";
    QTest::newRow("unknown word") << "hardware" << -1 << "";
}

void tst_CLineSettingsText::flowControl()
{
    QFETCH(QString, text);
    QFETCH(int, flowControl);
    QFETCH(QString, written);
    QCOMPARE(CLineSettingsText::ParseFlowControl(text), flowControl);
    QCOMPARE(CLineSettingsText::FlowControlToString(flowControl), written);
    QCOMPARE(CLineSettingsText::FlowControlToString(4), QString());
}

void tst_CLineSettingsText::summary()
{
    CCommParameter line;
    QCOMPARE(CLineSettingsText::Summary(line), QStringLiteral("9600 8N1 Rts/Cts"));
    line.m_nBaudRate = 115200;
    line.m_nDataBits = 7;
    line.m_cParity = 'E';
    line.m_nStopBits = 2;
    line.m_nFlowControl = 0;
    QCOMPARE(CLineSettingsText::Summary(line), QStringLiteral("115200 7E2 None"));
    // A damaged record still says what it holds.
    line.m_cParity = 'Q';
    line.m_nFlowControl = 9;
    QCOMPARE(CLineSettingsText::Summary(line), QStringLiteral("115200 7?2 ?"));
}

void tst_CLineSettingsText::shortConnector_data()
{
    QTest::addColumn<QString>("connector");
    QTest::addColumn<QString>("shown");
    QTest::newRow("port name") << "COM1" << "COM1";
    QTest::newRow("longest kept whole") << "/dev/serial/by-id/ab" << "/dev/serial/by-id/ab";
    QTest::newRow("one longer: start and name kept")
        << "/work/build/demo/balance-sim-tty" << QStringLiteral("/work/\u2026lance-sim-tty");
}

void tst_CLineSettingsText::shortConnector()
{
    QFETCH(QString, connector);
    QFETCH(QString, shown);
    QCOMPARE(CLineSettingsText::ShortConnector(connector), shown);
}

QTEST_GUILESS_MAIN(tst_CLineSettingsText)
#include "tst_CLineSettingsText.moc"
