#pragma once

#include <QString>

// Outcome of reading or writing a driver file, with the message to show:
//   "Cannot open lab.tbb: No such file or directory"
//   "lab.tbb: damaged at byte 312 (string length 40000 beyond the end of the file)"
//   "lab.tbb: cannot write at byte 312 (No space left on device)"
class CFileResult
{
public:
    enum class Status {
        Ok,
        NotOpened,  // the file could not be opened; nothing was read or written
        Damaged,    // loading stopped at a block; blocks before it were read
        NotWritten, // storing stopped; the file may hold a partly written driver
    };

    static CFileResult Success(const QString& fileName);
    static CFileResult OpenFailed(const QString& fileName, const QString& systemReason);
    static CFileResult DamagedAt(const QString& fileName, qint64 offset, const QString& reason);
    // offset -1: the failure has no byte position (the final flush).
    static CFileResult WriteFailed(const QString& fileName, qint64 offset, const QString& reason);

    Status GetStatus() const { return m_status; }
    bool IsOk() const { return m_status == Status::Ok; }
    QString GetFileName() const { return m_strFileName; }
    qint64 GetOffset() const { return m_nOffset; }      // -1 when there is none
    QString GetReason() const { return m_strReason; }   // archive's or system's reason
    QString Message() const;                            // "" when Ok

private:
    CFileResult(Status status, const QString& fileName, qint64 offset, const QString& reason);

    Status m_status;
    QString m_strFileName;
    qint64 m_nOffset;
    QString m_strReason;
};
