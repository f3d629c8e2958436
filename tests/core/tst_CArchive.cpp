#include "ArchiveTestSupport.h"
#include "CArchive.h"

#include <QBuffer>
#include <QTest>

#include <functional>

namespace {

// A device that cannot tell its size, like a pipe.
class CSequentialBytes : public QIODevice
{
public:
    explicit CSequentialBytes(const QByteArray& bytes) : m_bytes(bytes) { open(QIODevice::ReadOnly); }
    bool isSequential() const override { return true; }

protected:
    qint64 readData(char* data, qint64 size) override
    {
        const qint64 n = std::min<qint64>(size, m_bytes.size() - m_nRead);
        memcpy(data, m_bytes.constData() + m_nRead, size_t(n));
        m_nRead += n;
        return n;
    }
    qint64 writeData(const char*, qint64) override { return -1; }

private:
    QByteArray m_bytes;
    qint64 m_nRead = 0;
};

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

std::shared_ptr<CStringArray> Sequence(const QByteArrayList& commands)
{
    return std::make_shared<CStringArray>(commands);
}

} // namespace

class tst_CArchive : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void writesIntegersLittleEndian()
    {
        const QByteArray bytes = Written([](CArchive& ar) {
            ar.WriteWord(0x2580);
            ar.WriteDWord(0x01020304);
        });
        QCOMPARE(bytes, Bytes("80 25 04 03 02 01"));
        QCOMPARE(Read(bytes, "word").value, QByteArray("9600"));
    }

    void writesStringLengthForms_data()
    {
        QTest::addColumn<int>("length");
        QTest::addColumn<QByteArray>("prefix");
        QTest::newRow("empty string is one zero byte") << 0 << Bytes("00");
        QTest::newRow("254 bytes fit the one-byte length") << 254 << Bytes("FE");
        QTest::newRow("255 bytes take FF and 16 bits") << 255 << Bytes("FF FF 00");
        QTest::newRow("0xFFFD bytes still take 16 bits") << 0xFFFD << Bytes("FF FD FF");
        QTest::newRow("0xFFFE bytes take FF FFFF and 32 bits") << 0xFFFE << Bytes("FF FF FF FE FF 00 00");
    }

    void writesStringLengthForms()
    {
        QFETCH(int, length);
        QFETCH(QByteArray, prefix);
        QByteArray text(length, 'x');
        if (length > 0)
            text[length - 1] = '\xE9';
        const QByteArray bytes = Written([&](CArchive& ar) { ar.WriteString(text); });
        QCOMPARE(bytes.left(prefix.size()), prefix);
        QCOMPARE(bytes.mid(prefix.size()), text);
        QCOMPARE(Read(bytes, "string").value, text);
    }

    void readsStringForms_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        QTest::addColumn<QByteArray>("text");
        QTest::newRow("one-byte length") << Bytes("04 'COM3'") << QByteArray("COM3");
        QTest::newRow("FF and a 16-bit length") << Bytes("FF 04 00 'COM3'") << QByteArray("COM3");
        QTest::newRow("FF FFFF and a 32-bit length") << Bytes("FF FF FF 04 00 00 00 'COM3'") << QByteArray("COM3");
        QTest::newRow("FF FFFF FFFFFFFF and a 64-bit length")
            << Bytes("FF FF FF FF FF FF FF 04 00 00 00 00 00 00 00 'COM3'") << QByteArray("COM3");
        QTest::newRow("UTF-16 with a one-byte length")
            << Bytes("FF FE FF 04 43 00 4F 00 4D 00 33 00") << QByteArray("COM3");
        QTest::newRow("UTF-16 with a 16-bit length")
            << Bytes("FF FE FF FF 02 00 41 00 42 00") << QByteArray("AB");
        QTest::newRow("UTF-16 euro sign becomes byte 0x80") << Bytes("FF FE FF 01 AC 20") << QByteArray("\x80");
        QTest::newRow("UTF-16 character outside the code page becomes ?")
            << Bytes("FF FE FF 03 41 00 2D 4E 42 00") << QByteArray("A?B");
    }

    void readsStringForms()
    {
        QFETCH(QByteArray, bytes);
        const ReadResult result = Read(bytes, "string");
        QCOMPARE(result.error, QString());
        QTEST(result.value, "text");
    }

    void countForms_data()
    {
        QTest::addColumn<quint32>("count");
        QTest::addColumn<QByteArray>("bytes");
        QTest::newRow("zero") << 0u << Bytes("00 00");
        QTest::newRow("0xFFFE fits 16 bits") << 0xFFFEu << Bytes("FE FF");
        QTest::newRow("0xFFFF takes FFFF and 32 bits") << 0xFFFFu << Bytes("FF FF FF FF 00 00");
    }

    void countForms()
    {
        QFETCH(quint32, count);
        QFETCH(QByteArray, bytes);
        QCOMPARE(Written([&](CArchive& ar) { ar.WriteCount(count); }), bytes);
        // Enough room behind the count for that many one-byte elements.
        const ReadResult result = Read(bytes + QByteArray(int(count), '\0'), "count");
        QCOMPARE(result.error, QString());
        QCOMPARE(result.value, QByteArray::number(count));
    }

    void writesSequencesWithObjectTags()
    {
        const auto first = Sequence({"TrimLeft()"});
        const auto second = Sequence({});
        const QByteArray bytes = Written([&](CArchive& ar) {
            ar.WriteStringArray(first);
            ar.WriteStringArray(second);
            ar.WriteStringArray(nullptr);
            ar.WriteStringArray(first);
            ar.WriteStringArray(second);
        });
        // Class 1, objects 2 and 3: the repeated ones become back references.
        QCOMPARE(bytes, Bytes("FF FF 00 00 0C 00 'CStringArray' 01 00 0A 'TrimLeft()' | 01 80 00 00 | 00 00 "
                              "| 02 00 | 03 00"));

        QByteArray copy = bytes;
        QBuffer buffer(&copy);
        buffer.open(QIODevice::ReadOnly);
        CArchive ar(&buffer, CArchive::load);
        std::vector<std::shared_ptr<CStringArray>> read;
        for (int i = 0; i < 5; ++i)
            read.push_back(ar.ReadStringArray());
        QCOMPARE(*read[0], *first);
        QVERIFY(read[1] && read[1]->isEmpty());
        QVERIFY(!read[2]);
        QCOMPARE(read[3], read[0]);
        QCOMPARE(read[4], read[1]);
    }

    void readsSequenceTags_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        QTest::addColumn<QByteArray>("sequences");
        const char* newClass = "FF FF 00 00 0C 00 'CStringArray'";
        QTest::newRow("new class, then class references")
            << Bytes(QByteArray(newClass) + " 01 00 01 'a' 01 80 02 00 01 'b' 01 'c'") << QByteArray("a|b/c");
        QTest::newRow("null tag") << Bytes("00 00") << QByteArray("null");
        QTest::newRow("back reference to the first object")
            << Bytes(QByteArray(newClass) + " 01 00 01 'a' 02 00") << QByteArray("a|a");
        QTest::newRow("long-form object reference")
            << Bytes(QByteArray(newClass) + " 01 00 01 'a' FF 7F 02 00 00 00") << QByteArray("a|a");
        QTest::newRow("long-form class reference")
            << Bytes(QByteArray(newClass) + " 01 00 01 'a' FF 7F 01 00 00 80 01 00 01 'b'") << QByteArray("a|b");
        QTest::newRow("long-form null reference") << Bytes("FF 7F 00 00 00 00") << QByteArray("null");
        QTest::newRow("reference to an object read after a class reference")
            << Bytes(QByteArray(newClass) + " 00 00 01 80 01 00 01 'b' 03 00") << QByteArray("|b|b");
    }

    void readsSequenceTags()
    {
        QFETCH(QByteArray, bytes);
        QFETCH(QByteArray, sequences);
        const ReadResult result = Read(bytes, "sequences");
        QCOMPARE(result.error, QString());
        QCOMPARE(result.value, sequences);
    }

    void rejectsDamagedInput_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        QTest::addColumn<QString>("reader");
        QTest::addColumn<qint64>("offset");
        QTest::addColumn<QString>("reason");
        const char* newClass = "FF FF 00 00 0C 00 'CStringArray'";
        QTest::newRow("word cut short") << Bytes("01") << "word" << 0ll << "end of the file in a 16-bit word";
        QTest::newRow("string length beyond the end of the file")
            << Bytes("FF 40 9C 'abc'") << "string" << 0ll << "string length 40000 beyond the end of the file";
        QTest::newRow("string length prefix cut short")
            << Bytes("FF 40") << "string" << 0ll << "end of the file in a string length";
        QTest::newRow("UTF-16 string needs two bytes a character")
            << Bytes("FF FE FF 03 41 00 42 00") << "string" << 0ll << "string length 3 beyond the end of the file";
        QTest::newRow("64-bit string length")
            << Bytes("FF FF FF FF FF FF FF 00 00 00 00 00 00 00 80")
            << "string" << 0ll << "string length 9223372036854775808 beyond the end of the file";
        QTest::newRow("count beyond the end of the file")
            << Bytes("FF FF FF FF FF 7F 00") << "count" << 0ll << "array count 2147483647 beyond the end of the file";
        QTest::newRow("unknown class name")
            << Bytes("FF FF 00 00 08 00 'CObArray' 00 00") << "sequences" << 0ll
            << "unknown class \"CObArray\" (only CStringArray is expected)";
        QTest::newRow("other schema")
            << Bytes("FF FF 01 00 0C 00 'CStringArray' 00 00") << "sequences" << 0ll
            << "CStringArray with schema 1 (only schema 0 is known)";
        QTest::newRow("class name beyond the end of the file")
            << Bytes("FF FF 00 00 40 9C 'CString'") << "sequences" << 0ll << "end of the file in a class name";
        QTest::newRow("class reference before any class")
            << Bytes("01 80 00 00") << "sequences" << 0ll << "class reference 1 to no class read before";
        QTest::newRow("object reference before any object")
            << Bytes("05 00") << "sequences" << 0ll << "object reference 5 to no object read before";
        QTest::newRow("object reference naming the class")
            << Bytes(QByteArray(newClass) + " 00 00 01 00") << "sequences" << 20ll << "object reference 1 names a class";
        QTest::newRow("class reference naming an object")
            << Bytes(QByteArray(newClass) + " 00 00 02 80") << "sequences" << 20ll
            << "class reference 2 to no class read before";
        QTest::newRow("sequence count beyond the end of the file")
            << Bytes(QByteArray(newClass) + " 10 27 01 'a'") << "sequences" << 18ll
            << "array count 10000 beyond the end of the file";
    }

    void rejectsDamagedInput()
    {
        QFETCH(QByteArray, bytes);
        QFETCH(QString, reader);
        QFETCH(qint64, offset);
        const ReadResult result = Read(bytes, reader);
        QTEST(result.error, "reason");
        QCOMPARE(result.offset, offset);
    }

    void sequentialDeviceFailsAtItsEnd()
    {
        // Without a size to check against, the read runs into the end.
        CSequentialBytes device(Bytes("FF FF FF F0 FF FF 3F 'abc'"));
        CArchive ar(&device, CArchive::load);
        try {
            ar.ReadString();
            QFAIL("a string beyond the end of the device was accepted");
        } catch (const CArchiveException& e) {
            QCOMPARE(e.Reason(), QString("end of the file in a string"));
            QCOMPARE(e.Offset(), 0);
        }
        QCOMPARE(ar.Position(), 10);
    }

    void closedArchiveRefusesEveryPrimitive()
    {
        QByteArray bytes(64, '\0');
        QBuffer buffer(&bytes);
        buffer.open(QIODevice::ReadWrite);
        const std::vector<std::function<void(CArchive&)>> primitives = {
            [](CArchive& ar) { ar.WriteWord(1); },
            [](CArchive& ar) { ar.WriteString("a"); },
            [](CArchive& ar) { ar.WriteStringArray(Sequence({"a"})); },
            [](CArchive& ar) { ar.ReadWord(); },
            [](CArchive& ar) { ar.ReadString(); },
            [](CArchive& ar) { ar.ReadStringArray(); },
        };
        for (CArchive::Mode mode : {CArchive::store, CArchive::load}) {
            for (bool aborted : {false, true}) {
                CArchive ar(&buffer, mode);
                if (aborted)
                    ar.Abort(CArchiveException("test", 0));
                else
                    ar.Close();
                QVERIFY(ar.IsClosed());
                for (const auto& primitive : primitives)
                    QVERIFY_THROWS_EXCEPTION(CArchiveException, primitive(ar));
            }
        }
        QCOMPARE(buffer.pos(), 0);
    }

    void abortKeepsTheFirstError()
    {
        QBuffer buffer;
        buffer.open(QIODevice::ReadOnly);
        CArchive ar(&buffer, CArchive::load);
        QVERIFY(!ar.HasError());
        ar.Abort(CArchiveException("first", 12));
        ar.Abort(CArchiveException("second", 40));
        QVERIFY(ar.HasError());
        QCOMPARE(ar.ErrorReason(), QString("first"));
        QCOMPARE(ar.ErrorOffset(), 12);
    }

    void writeFailureNamesTheDeviceError()
    {
        QByteArray bytes;
        QBuffer buffer(&bytes);
        buffer.open(QIODevice::ReadOnly);
        CArchive ar(&buffer, CArchive::store);
        QTest::ignoreMessage(QtWarningMsg, "QIODevice::write (QBuffer): ReadOnly device");
        try {
            ar.WriteWord(7);
            QFAIL("writing to a read-only device succeeded");
        } catch (const CArchiveException& e) {
            QCOMPARE(e.Reason(), buffer.errorString());
            QCOMPARE(e.Offset(), 0);
        }
    }
};

QTEST_GUILESS_MAIN(tst_CArchive)
#include "tst_CArchive.moc"
