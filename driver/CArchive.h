#pragma once

#include <QByteArray>
#include <QByteArrayList>
#include <QString>

#include <memory>
#include <stdexcept>
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
    void WriteBytes(const char* data, qint64 size);
    QByteArray ReadBytes(qint64 size);
    void CheckOpen() const;
    void CheckRemaining(qint64 needed, const char* what) const;
    [[noreturn]] void Fail(const QString& reason) const;

    QIODevice* m_pDevice;
    Mode m_mode;
    bool m_bClosed = false;
    bool m_bHasError = false;
    QString m_strErrorReason;
    qint64 m_nErrorOffset = -1;

    // Object-tag bookkeeping: index 0 is the null object, class and object
    // numbers are handed out together in order of first appearance.
    std::vector<std::shared_ptr<CStringArray>> m_loadedObjects; // by number
    std::vector<bool> m_loadedIsClass;
    std::vector<const CStringArray*> m_storedObjects;
    quint32 m_nStoredClassIndex = 0;
    quint32 m_nNextStoreIndex = 1;
};
