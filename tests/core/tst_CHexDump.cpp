#include "CHexDump.h"

#include <QtTest>

class tst_CHexDump : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void everyByteValueInRowsOfSixteen();
    void rowFillingAcrossPiecesKeepsItsColumns();
    void skippedBytesMoveTheOffset();
};

namespace {

// The row as a reader of hex dumps expects it, written out independently.
QString Expected(qint64 offset, const QByteArray& bytes)
{
    QString hex;
    QString text;
    for (int i = 0; i < 16; ++i) {
        if (i == 8)
            hex += QLatin1Char(' ');
        if (i < bytes.size()) {
            const auto b = static_cast<unsigned char>(bytes[i]);
            hex += QString::asprintf(" %02x", b);
            text += (b >= 32 && b <= 126) ? QChar(b) : QChar(u'.');
        } else {
            hex += QLatin1String("   ");
        }
    }
    return QString::asprintf("%08llx ", static_cast<long long>(offset)) + hex + QLatin1String("  ") + text;
}

} // namespace

void tst_CHexDump::everyByteValueInRowsOfSixteen()
{
    QByteArray all;
    for (int b = 0; b < 256; ++b)
        all += char(b);
    CHexDump dump;
    QStringList rows;
    // Pieces that cut rows anywhere.
    for (qsizetype pos = 0; pos < all.size(); pos += 7)
        rows += dump.Append(all.mid(pos, 7));
    QCOMPARE(rows.size(), 16);
    QVERIFY(!dump.HasPartialRow());
    for (int r = 0; r < 16; ++r)
        QCOMPARE(rows.at(r), Expected(16 * r, all.mid(16 * r, 16)));
    QCOMPARE(rows.at(0), QStringLiteral("00000000  00 01 02 03 04 05 06 07  08 09 0a 0b 0c 0d 0e 0f  ................"));
    QCOMPARE(rows.at(3), QStringLiteral("00000030  30 31 32 33 34 35 36 37  38 39 3a 3b 3c 3d 3e 3f  0123456789:;<=>?"));
    QCOMPARE(rows.at(7).right(16), QStringLiteral("pqrstuvwxyz{|}~."));
    QCOMPARE(rows.at(15).right(16), QStringLiteral("................"));
    QCOMPARE(dump.EndOffset(), qint64(256));
}

void tst_CHexDump::rowFillingAcrossPiecesKeepsItsColumns()
{
    CHexDump dump;
    QVERIFY(dump.Append("AB\r").isEmpty());
    QCOMPARE(dump.PartialRow(), Expected(0, "AB\r"));
    const QString full = Expected(0, "AB\r\n0123456789ab");
    // The printable column begins where it begins in a full row.
    QCOMPARE(dump.PartialRow().indexOf(QLatin1String("AB.")), full.indexOf(QLatin1String("AB..")));
    const QStringList rows = dump.Append("\n0123456789abcd");
    QCOMPARE(rows, QStringList{full});
    QCOMPARE(dump.PartialRow(), Expected(16, "cd"));
}

void tst_CHexDump::skippedBytesMoveTheOffset()
{
    CHexDump dump;
    dump.Append("12345");
    dump.Skip(100);
    QVERIFY(!dump.HasPartialRow());
    QCOMPARE(dump.Append("0123456789abcdefX"), QStringList{Expected(105, "0123456789abcdef")});
    QCOMPARE(dump.EndOffset(), qint64(122));
}

QTEST_GUILESS_MAIN(tst_CHexDump)
#include "tst_CHexDump.moc"
