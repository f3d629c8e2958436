#include "CSerialNumberRecord.h"

#include <QTest>

class tst_SerialNumberRecord : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void buildRecord_data();
    void buildRecord();
    void readAddress_data();
    void readAddress();
    void parseSerialNumber_data();
    void parseSerialNumber();
};

void tst_SerialNumberRecord::buildRecord_data()
{
    QTest::addColumn<QByteArray>("address");
    QTest::addColumn<int>("number");
    QTest::addColumn<QByteArray>("record");
    QTest::newRow("hexadecimal address") << QByteArray("0x100") << 42
                                         << QByteArray("S309000001000000002ACB");
    QTest::newRow("all zero") << QByteArray("0") << 0 << QByteArray("S3090000000000000000F6");
    QTest::newRow("decimal address") << QByteArray("305419896") << 9999
                                     << QByteArray("S309123456780000270FAC");
    QTest::newRow("negative number is its two's complement")
        << QByteArray("0") << -1 << QByteArray("S30900000000FFFFFFFFFA");
}

void tst_SerialNumberRecord::buildRecord()
{
    QFETCH(QByteArray, address);
    QFETCH(int, number);
    QFETCH(QByteArray, record);
    const QByteArray built = CSerialNumberRecord::BuildRecord(address, number);
    QCOMPARE(built, record);
    QCOMPARE(built.size(), 22);
}

void tst_SerialNumberRecord::readAddress_data()
{
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<quint32>("address");
    QTest::newRow("decimal") << QByteArray("4096") << quint32(4096);
    QTest::newRow("lower-case hex prefix and digits") << QByteArray("0xff") << quint32(255);
    QTest::newRow("upper-case hex prefix") << QByteArray("0XAbC") << quint32(0xABC);
    QTest::newRow("octal") << QByteArray("0777") << quint32(511);
    QTest::newRow("octal stops at 8") << QByteArray("018") << quint32(1);
    QTest::newRow("hex prefix without digits is zero") << QByteArray("0xg") << quint32(0);
    QTest::newRow("leading blanks are skipped") << QByteArray(" \t42") << quint32(42);
    QTest::newRow("largest 32-bit value") << QByteArray("4294967295") << quint32(0xFFFFFFFF);
    QTest::newRow("one beyond 32 bits saturates") << QByteArray("4294967296")
                                                  << quint32(0xFFFFFFFF);
    QTest::newRow("very long number saturates")
        << QByteArray("123456789012345678901234567890") << quint32(0xFFFFFFFF);
    QTest::newRow("minus wraps around") << QByteArray("-1") << quint32(0xFFFFFFFF);
}

void tst_SerialNumberRecord::readAddress()
{
    QFETCH(QByteArray, text);
    QFETCH(quint32, address);
    QCOMPARE(CSerialNumberRecord::ReadAddress(text), address);
}

void tst_SerialNumberRecord::parseSerialNumber_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<bool>("accepted");
    QTest::addColumn<int>("number");
    QTest::addColumn<QString>("error");
    const QString notInteger("Please enter an integer.");
    const QString outOfRange("Please enter an integer between 0 and 9999.");
    QTest::newRow("smallest") << "0" << true << 0 << QString();
    QTest::newRow("largest") << "9999" << true << 9999 << QString();
    QTest::newRow("blanks around the number") << " 42\t" << true << 42 << QString();
    QTest::newRow("one beyond the largest") << "10000" << false << -7 << outOfRange;
    QTest::newRow("negative") << "-1" << false << -7 << outOfRange;
    QTest::newRow("huge number") << "99999999999999999999999" << false << -7 << outOfRange;
    QTest::newRow("trailing letters") << "12x" << false << -7 << notInteger;
    QTest::newRow("empty") << "" << false << -7 << notInteger;
}

void tst_SerialNumberRecord::parseSerialNumber()
{
    QFETCH(QString, text);
    QFETCH(bool, accepted);
    QFETCH(int, number);
    QFETCH(QString, error);
    int result = -7;
    QString message;
    QCOMPARE(CSerialNumberRecord::ParseSerialNumber(text, result, &message), accepted);
    QCOMPARE(result, number);
    QCOMPARE(message, error);
}

QTEST_APPLESS_MAIN(tst_SerialNumberRecord)
#include "tst_SerialNumberRecord.moc"
