#include "ArchiveTestSupport.h"
#include "CArchive.h"
#include "TestIncludes.h"

namespace {

QByteArray Written(const std::function<void(CArchive&)>& write)
{
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    CArchive ar(&buffer, CArchive::store);
    write(ar);
    return bytes;
}

struct ReadResult
{
    QByteArray value;
    QString error;
    qint64 offset = -1;
};

// Runs one reader over bytes; value is the read text (strings), the count in
// decimal (counts), or the sequences' texts joined by '/' and '|'.
ReadResult Read(const QByteArray& bytes, const QString& reader)
{
    QByteArray copy = bytes;
    QBuffer buffer(&copy);
    buffer.open(QIODevice::ReadOnly);
    CArchive ar(&buffer, CArchive::load);
    ReadResult result;
    try {
        if (reader == "string") {
            result.value = ar.ReadString();
        } else if (reader == "count") {
            result.value = QByteArray::number(ar.ReadCount());
        } else if (reader == "word") {
            result.value = QByteArray::number(ar.ReadWord());
        } else {
            QByteArrayList parts;
            while (!buffer.atEnd()) {
                const auto array = ar.ReadStringArray();
                parts.append(array ? array->join('/') : QByteArray("null"));
            }
            result.value = parts.join('|');
        }
    } catch (const CArchiveException& e) {
        result.error = e.Reason();
        result.offset = e.Offset();
    }
    return result;
}

// Bytes() with "CLASS" standing for the tag of a new class CStringArray.
QByteArray Tagged(QByteArray text)
{
    return Bytes(text.replace("CLASS ", "FF FF 00 00 0C 00 'CStringArray' "));
}

} // namespace

class tst_CArchive : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    // The length prefix of a string of each length form; the last byte is
    // not ASCII.
    void writesStringLengthForms()
    {
        const struct
        {
            int length;
            QByteArray prefix;
        } rows[] = {
            {0, Bytes("00")},
            {254, Bytes("FE")},
            {255, Bytes("FF FF 00")},
            {0xFFFD, Bytes("FF FD FF")},
            {0xFFFE, Bytes("FF FF FF FE FF 00 00")},
        };
        for (const auto& row : rows) {
            QByteArray text(row.length, 'x');
            if (row.length > 0)
                text[row.length - 1] = '\xE9';
            const QByteArray bytes = Written([&](CArchive& ar) { ar.WriteString(text); });
            QCOMPARE(bytes.left(row.prefix.size()), row.prefix);
            QCOMPARE(bytes.mid(row.prefix.size()), text);
            QCOMPARE(Read(bytes, "string").value, text);
        }
    }

    void readsStringForms()
    {
        const struct
        {
            const char* bytes;
            QByteArray text;
        } rows[] = {
            // One-byte length, FF and 16 bits, FF FFFF and 32 bits, ... and 64 bits.
            {"04 'COM3'", "COM3"},
            {"FF 04 00 'COM3'", "COM3"},
            {"FF FF FF 04 00 00 00 'COM3'", "COM3"},
            {"FF FF FF FF FF FF FF 04 00 00 00 00 00 00 00 'COM3'", "COM3"},
            // UTF-16 with a one-byte and a 16-bit length.
            {"FF FE FF 04 43 00 4F 00 4D 00 33 00", "COM3"},
            {"FF FE FF FF 02 00 41 00 42 00", "AB"},
            // The euro sign becomes byte 0x80.
            {"FF FE FF 01 AC 20", "\x80"},
        };
        for (const auto& row : rows) {
            const ReadResult result = Read(Bytes(row.bytes), "string");
            QVERIFY2(result.error.isEmpty() && result.value == row.text, row.bytes);
        }
    }

    void countForms()
    {
        const struct
        {
            quint32 count;
            const char* bytes;
        } rows[] = {{0, "00 00"}, {0xFFFE, "FE FF"}, {0xFFFF, "FF FF FF FF 00 00"}};
        for (const auto& row : rows) {
            QCOMPARE(Written([&](CArchive& ar) { ar.WriteCount(row.count); }), Bytes(row.bytes));
            // Enough room behind the count for that many one-byte elements.
            const ReadResult result = Read(Bytes(row.bytes) + QByteArray(int(row.count), '\0'), "count");
            QVERIFY2(result.error.isEmpty() && result.value == QByteArray::number(row.count), row.bytes);
        }
    }

    // The sequences read, joined by '/' and '|'; "CLASS" stands for a new class
    // CStringArray.
    void readsSequenceTags()
    {
        const struct
        {
            QByteArray bytes;
            QByteArray sequences;
        } rows[] = {
            // A new class, then class references.
            {"CLASS 01 00 01 'a' 01 80 02 00 01 'b' 01 'c'", "a|b/c"},
            {"00 00", "null"},
            // Back references to the first object, short and long form.
            {"CLASS 01 00 01 'a' 02 00", "a|a"},
            {"CLASS 01 00 01 'a' FF 7F 02 00 00 00", "a|a"},
            // Long-form class and null references.
            {"CLASS 01 00 01 'a' FF 7F 01 00 00 80 01 00 01 'b'", "a|b"},
            {"FF 7F 00 00 00 00", "null"},
            // A reference to an object read after a class reference.
            {"CLASS 00 00 01 80 01 00 01 'b' 03 00", "|b|b"},
        };
        for (const auto& row : rows) {
            const ReadResult result = Read(Tagged(row.bytes), "sequences");
            QVERIFY2(result.error.isEmpty() && result.value == row.sequences, row.bytes);
        }
    }

    // The reason and offset of each damage; "CLASS" stands for a new class CStringArray.
    void rejectsDamagedInput()
    {
        const struct
        {
            QByteArray bytes;
            const char* reader;
            qint64 offset;
            QString reason;
        } rows[] = {
            {"01", "word", 0, "end of the file in a 16-bit word"},
            {"FF 40 9C 'abc'", "string", 0, "string length 40000 beyond the end of the file"},
            // UTF-16 needs two bytes a character.
            {"FF FE FF 03 41 00 42 00", "string", 0, "string length 3 beyond the end of the file"},
            {"FF FF FF FF FF 7F 00", "count", 0, "array count 2147483647 beyond the end of the file"},
            {"FF FF 00 00 08 00 'CObArray' 00 00", "sequences", 0,
             "unknown class \"CObArray\" (only CStringArray is expected)"},
            {"FF FF 01 00 0C 00 'CStringArray' 00 00", "sequences", 0,
             "CStringArray with schema 1 (only schema 0 is known)"},
            {"01 80 00 00", "sequences", 0, "class reference 1 to no class read before"},
            {"CLASS 00 00 01 00", "sequences", 20, "object reference 1 names a class"},
            {"CLASS 10 27 01 'a'", "sequences", 18, "array count 10000 beyond the end of the file"},
        };
        for (const auto& row : rows) {
            const ReadResult result = Read(Tagged(row.bytes), row.reader);
            QVERIFY2(result.error == row.reason && result.offset == row.offset, qPrintable(result.error));
        }
    }
};

QTEST_GUILESS_MAIN(tst_CArchive)
#include "tst_CArchive.moc"
