#pragma once

#include <QByteArray>
#include <QByteArrayList>
#include <QString>

#include <memory>
#include <stdexcept>
#include <unordered_map>
#include <vector>

class QIODevice;

// A sequence of command texts, archived as an MFC "CStringArray" object.
using CStringArray = QByteArrayList;

// Thrown by every CArchive primitive on a short read, a write failure, a
// count or length larger than the rest of the file, or use after Close().
class CArchiveException : public std::runtime_error
{
public:
    CArchiveException(const QString& reason, qint64 offset);
    QString Reason() const { return m_strReason; }
    qint64 Offset() const { return m_nOffset; }

private:
    QString m_strReason;
    qint64 m_nOffset;
};

// Byte-exact little-endian archive in the format of the original Windows
// program's driver files. Records catch CArchiveException in their own
// Serialize and call Abort(); the file code then sees IsClosed() and stops.
class CArchive
{
public:
    enum Mode { store, load };

    CArchive(QIODevice* device, Mode mode);

    bool IsStoring() const { return m_mode == store; }
    bool IsLoading() const { return m_mode == load; }
    bool IsClosed() const { return m_bClosed; }
    qint64 Position() const;

    // Closes the archive after an error; the first error is kept for the
    // caller (file name, byte offset and reason for the message).
    void Abort(const CArchiveException& error);
    void Close();
    bool HasError() const { return m_bHasError; }
    QString ErrorReason() const { return m_strErrorReason; }
    qint64 ErrorOffset() const { return m_nErrorOffset; }

    void WriteWord(quint16 value);
    void WriteDWord(quint32 value);
    quint16 ReadWord();
    quint32 ReadDWord();

    // Archive string: length prefix (1 byte, FF + 16 bits, FF FFFF + 32 bits)
    // and the bytes. Reading also accepts the UTF-16 marker form (FF FEFF),
    // converted to Windows-1252.
    void WriteString(const QByteArray& text);
    QByteArray ReadString();

    // Array count: 16 bits below 0xFFFF, else FFFF + 32 bits.
    void WriteCount(quint32 count);
    quint32 ReadCount(qint64 minimumElementSize = 1);

    // One "CStringArray" object in the MFC object-tag scheme (new-class tag,
    // class reference 0x8001, null tag 0, back references, 7FFF long form).
    // Null pointers are written and read as the null tag; an object written
    // twice is written the second time as a reference to the first.
    void WriteStringArray(const std::shared_ptr<CStringArray>& array);
    std::shared_ptr<CStringArray> ReadStringArray();

private:
    void CheckUsable(Mode needed) const;
    // Bytes left to read, or -1 when the device cannot tell (sequential).
    qint64 Remaining() const;
    [[noreturn]] void Fail(const QString& reason, qint64 offset) const;

    void WriteBytes(const char* data, qint64 size);
    // Reads exactly size bytes of the item that starts at itemOffset; a claim
    // beyond the end of the device fails before anything is allocated.
    QByteArray ReadExactly(qint64 size, qint64 itemOffset, const char* what);
    quint64 ReadUnsigned(int size, qint64 itemOffset, const char* what);
    quint64 ReadStringLength(qint64 itemOffset, bool& wide);

    void ReadNewClass(qint64 tagOffset);
    void CheckClassReference(quint32 index, qint64 tagOffset) const;
    std::shared_ptr<CStringArray> ReadObjectReference(quint32 index, qint64 tagOffset) const;
    std::shared_ptr<CStringArray> ReadNewObject();
    void WriteTagIndex(quint32 index, bool isClass);

    QIODevice* m_pDevice;
    Mode m_mode;
    qint64 m_nPosition; // offset of the next byte, for error messages
    bool m_bClosed = false;
    bool m_bHasError = false;
    QString m_strErrorReason;
    qint64 m_nErrorOffset = -1;

    // Object-tag bookkeeping: number 0 is the null object, class and object
    // numbers are handed out together from 1 in order of first appearance.
    std::vector<std::shared_ptr<CStringArray>> m_loadedObjects; // by number
    std::vector<bool> m_loadedIsClass;
    // The stored objects are kept alive so that no later object can reuse an
    // address that is already numbered.
    std::vector<std::shared_ptr<CStringArray>> m_storedObjects;
    std::unordered_map<const CStringArray*, quint32> m_storedNumbers;
    quint32 m_nStoredClassNumber = 0;
    quint32 m_nNextStoreNumber = 1;
};
