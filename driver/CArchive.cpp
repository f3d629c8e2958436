#include "CArchive.h"

#include "CCodePage.h"

#include <QIODevice>
#include <QtEndian>

#include <algorithm>
#include <limits>

namespace {

// Object tags of the MFC scheme.
constexpr quint16 NullTag = 0x0000;
constexpr quint16 NewClassTag = 0xFFFF;
constexpr quint16 ClassTag = 0x8000;
constexpr quint16 BigObjectTag = 0x7FFF;
constexpr quint32 BigClassTag = 0x80000000;

const QByteArray SequenceClassName = QByteArrayLiteral("CStringArray");
constexpr quint16 SequenceSchema = 0;

// Reads of a sequential device are done in slices of this size, so a false
// length costs no more memory than the bytes that really arrive.
constexpr qint64 ReadSlice = 64 * 1024;

// Longest archive string this program can hold in one QByteArray.
constexpr quint64 MaxStringBytes = quint64(std::numeric_limits<int>::max() / 2);

QString Printable(const QByteArray& bytes)
{
    constexpr int Shown = 40;
    QString text = CCodePage::ToUnicode(bytes.left(Shown));
    for (QChar& c : text) {
        if (c.unicode() < 0x20)
            c = QChar(u'?');
    }
    return bytes.size() > Shown ? text + QStringLiteral("...") : text;
}

} // namespace

CArchiveException::CArchiveException(const QString& reason, qint64 offset)
    : std::runtime_error(QStringLiteral("byte %1: %2").arg(offset).arg(reason).toStdString()),
      m_strReason(reason), m_nOffset(offset)
{
}

CArchive::CArchive(QIODevice* device, Mode mode)
    : m_pDevice(device), m_mode(mode), m_nPosition(device && !device->isSequential() ? device->pos() : 0)
{
    // Number 0 is the null object.
    m_loadedObjects.push_back(nullptr);
    m_loadedIsClass.push_back(false);
}

qint64 CArchive::Position() const
{
    return m_nPosition;
}

void CArchive::Abort(const CArchiveException& error)
{
    if (!m_bHasError) {
        m_bHasError = true;
        m_strErrorReason = error.Reason();
        m_nErrorOffset = error.Offset();
    }
    m_bClosed = true;
}

void CArchive::Close()
{
    m_bClosed = true;
}

void CArchive::Fail(const QString& reason, qint64 offset) const
{
    throw CArchiveException(reason, offset);
}

void CArchive::CheckUsable(Mode needed) const
{
    if (m_bClosed)
        Fail(QStringLiteral("the archive is closed"), m_nPosition);
    if (!m_pDevice)
        Fail(QStringLiteral("the archive has no file"), m_nPosition);
    if (m_mode != needed)
        Fail(needed == load ? QStringLiteral("reading from an archive that stores")
                            : QStringLiteral("writing to an archive that loads"),
             m_nPosition);
}

qint64 CArchive::Remaining() const
{
    if (m_pDevice->isSequential())
        return -1;
    return std::max<qint64>(0, m_pDevice->size() - m_pDevice->pos());
}

// ---------------------------------------------------------------- writing

void CArchive::WriteBytes(const char* data, qint64 size)
{
    CheckUsable(store);
    const qint64 written = m_pDevice->write(data, size);
    if (written != size) {
        const qint64 at = m_nPosition + std::max<qint64>(0, written);
        Fail(m_pDevice->errorString(), at);
    }
    m_nPosition += size;
}

void CArchive::WriteWord(quint16 value)
{
    const quint16 le = qToLittleEndian(value);
    WriteBytes(reinterpret_cast<const char*>(&le), sizeof le);
}

void CArchive::WriteDWord(quint32 value)
{
    const quint32 le = qToLittleEndian(value);
    WriteBytes(reinterpret_cast<const char*>(&le), sizeof le);
}

void CArchive::WriteString(const QByteArray& text)
{
    const auto length = quint64(text.size());
    if (length < 0xFF) {
        const char prefix = char(length);
        WriteBytes(&prefix, 1);
    } else {
        WriteBytes("\xFF", 1);
        if (length < 0xFFFE) {
            WriteWord(quint16(length));
        } else {
            WriteWord(0xFFFF);
            WriteDWord(quint32(length));
        }
    }
    WriteBytes(text.constData(), text.size());
}

void CArchive::WriteCount(quint32 count)
{
    if (count < 0xFFFF) {
        WriteWord(quint16(count));
        return;
    }
    WriteWord(0xFFFF);
    WriteDWord(count);
}

void CArchive::WriteTagIndex(quint32 index, bool isClass)
{
    if (index < BigObjectTag) {
        WriteWord(quint16(index | (isClass ? ClassTag : 0)));
        return;
    }
    WriteWord(BigObjectTag);
    WriteDWord(index | (isClass ? BigClassTag : 0));
}

void CArchive::WriteStringArray(const std::shared_ptr<CStringArray>& array)
{
    CheckUsable(store);
    if (!array) {
        WriteWord(NullTag);
        return;
    }
    const auto known = m_storedNumbers.find(array.get());
    if (known != m_storedNumbers.end()) {
        WriteTagIndex(known->second, false);
        return;
    }
    if (m_nStoredClassNumber == 0) {
        WriteWord(NewClassTag);
        WriteWord(SequenceSchema);
        WriteWord(quint16(SequenceClassName.size()));
        WriteBytes(SequenceClassName.constData(), SequenceClassName.size());
        m_nStoredClassNumber = m_nNextStoreNumber++;
    } else {
        WriteTagIndex(m_nStoredClassNumber, true);
    }
    m_storedNumbers.emplace(array.get(), m_nNextStoreNumber++);
    m_storedObjects.push_back(array);
    WriteCount(quint32(array->size()));
    for (const QByteArray& text : *array)
        WriteString(text);
}

// ---------------------------------------------------------------- reading

QByteArray CArchive::ReadExactly(qint64 size, qint64 itemOffset, const char* what)
{
    CheckUsable(load);
    const qint64 remaining = Remaining();
    if (remaining >= 0 && size > remaining)
        Fail(QStringLiteral("end of the file in %1").arg(QLatin1String(what)), itemOffset);
    QByteArray data;
    if (remaining >= 0)
        data.reserve(size);
    while (data.size() < size) {
        const qint64 slice = std::min<qint64>(ReadSlice, size - data.size());
        const QByteArray part = m_pDevice->read(slice);
        m_nPosition += part.size();
        data.append(part);
        if (part.size() < slice)
            Fail(QStringLiteral("end of the file in %1").arg(QLatin1String(what)), itemOffset);
    }
    return data;
}

quint64 CArchive::ReadUnsigned(int size, qint64 itemOffset, const char* what)
{
    const QByteArray bytes = ReadExactly(size, itemOffset, what);
    quint64 value = 0;
    for (int i = size - 1; i >= 0; --i)
        value = (value << 8) | static_cast<unsigned char>(bytes.at(i));
    return value;
}

quint16 CArchive::ReadWord()
{
    return quint16(ReadUnsigned(2, m_nPosition, "a 16-bit word"));
}

quint32 CArchive::ReadDWord()
{
    return quint32(ReadUnsigned(4, m_nPosition, "a 32-bit word"));
}

// 1 byte below 0xFF; FF + 16 bits; FF FFFF + 32 bits; FF FFFF FFFFFFFF + 64
// bits. FF FEFF marks a UTF-16 string whose length then starts over.
quint64 CArchive::ReadStringLength(qint64 itemOffset, bool& wide)
{
    constexpr const char* What = "a string length";
    wide = false;
    quint64 length = ReadUnsigned(1, itemOffset, What);
    if (length < 0xFF)
        return length;
    length = ReadUnsigned(2, itemOffset, What);
    if (length == 0xFFFE) {
        wide = true;
        length = ReadUnsigned(1, itemOffset, What);
        if (length < 0xFF)
            return length;
        length = ReadUnsigned(2, itemOffset, What);
    }
    if (length < 0xFFFF)
        return length;
    length = ReadUnsigned(4, itemOffset, What);
    if (length < 0xFFFFFFFF)
        return length;
    return ReadUnsigned(8, itemOffset, What);
}

QByteArray CArchive::ReadString()
{
    CheckUsable(load);
    const qint64 start = m_nPosition;
    bool wide = false;
    const quint64 length = ReadStringLength(start, wide);
    const quint64 bytes = wide ? length * 2 : length;
    const qint64 remaining = Remaining();
    if (remaining >= 0 && bytes > quint64(remaining))
        Fail(QStringLiteral("string length %1 beyond the end of the file").arg(length), start);
    if (length > MaxStringBytes)
        Fail(QStringLiteral("string length %1 too long").arg(length), start);
    const QByteArray data = ReadExactly(qint64(bytes), start, "a string");
    if (!wide)
        return data;
    QString text;
    text.reserve(qsizetype(length));
    for (qsizetype i = 0; i + 1 < data.size(); i += 2)
        text.append(QChar(qFromLittleEndian<quint16>(data.constData() + i)));
    return CCodePage::FromUnicode(text);
}

quint32 CArchive::ReadCount(qint64 minimumElementSize)
{
    CheckUsable(load);
    const qint64 start = m_nPosition;
    quint32 count = ReadWord();
    if (count == 0xFFFF)
        count = ReadDWord();
    const qint64 remaining = Remaining();
    if (remaining >= 0 && minimumElementSize > 0 && qint64(count) > remaining / minimumElementSize)
        Fail(QStringLiteral("array count %1 beyond the end of the file").arg(count), start);
    return count;
}

void CArchive::ReadNewClass(qint64 tagOffset)
{
    const quint16 schema = ReadWord();
    const quint16 nameLength = ReadWord();
    const QByteArray name = ReadExactly(nameLength, tagOffset, "a class name");
    if (name != SequenceClassName)
        Fail(QStringLiteral("unknown class \"%1\" (only CStringArray is expected)").arg(Printable(name)),
             tagOffset);
    if (schema != SequenceSchema)
        Fail(QStringLiteral("CStringArray with schema %1 (only schema 0 is known)").arg(schema), tagOffset);
    m_loadedObjects.push_back(nullptr);
    m_loadedIsClass.push_back(true);
}

void CArchive::CheckClassReference(quint32 index, qint64 tagOffset) const
{
    if (index >= m_loadedObjects.size() || !m_loadedIsClass[index])
        Fail(QStringLiteral("class reference %1 to no class read before").arg(index), tagOffset);
}

std::shared_ptr<CStringArray> CArchive::ReadObjectReference(quint32 index, qint64 tagOffset) const
{
    if (index >= m_loadedObjects.size())
        Fail(QStringLiteral("object reference %1 to no object read before").arg(index), tagOffset);
    if (m_loadedIsClass[index])
        Fail(QStringLiteral("object reference %1 names a class").arg(index), tagOffset);
    return m_loadedObjects[index];
}

std::shared_ptr<CStringArray> CArchive::ReadNewObject()
{
    // The number is taken before the contents, as the writer did.
    auto array = std::make_shared<CStringArray>();
    m_loadedObjects.push_back(array);
    m_loadedIsClass.push_back(false);
    const quint32 count = ReadCount();
    for (quint32 i = 0; i < count; ++i)
        array->append(ReadString());
    return array;
}

std::shared_ptr<CStringArray> CArchive::ReadStringArray()
{
    CheckUsable(load);
    const qint64 start = m_nPosition;
    const quint16 tag = ReadWord();
    if (tag == NewClassTag) {
        ReadNewClass(start);
        return ReadNewObject();
    }
    quint32 index = tag;
    bool isClass = (tag & ClassTag) != 0;
    if (tag == BigObjectTag) {
        index = ReadDWord();
        isClass = (index & BigClassTag) != 0;
        index &= ~BigClassTag;
    } else {
        index &= ~quint32(ClassTag);
    }
    if (isClass) {
        CheckClassReference(index, start);
        return ReadNewObject();
    }
    return ReadObjectReference(index, start);
}
