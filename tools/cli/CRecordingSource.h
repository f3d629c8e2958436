#pragma once

#include "CByteSource.h"

class CCaptureWriter;

// Passes the line's bytes to the pipeline and keeps every block read in the
// capture file (when there is one).
class CRecordingSource : public CByteSource
{
public:
    CRecordingSource(CByteSource& line, CCaptureWriter* writer)
        : m_line(line)
        , m_pWriter(writer)
    {
    }

    quint16 GetCommEvent() override { return m_line.GetCommEvent(); }
    quint16 GetInBufferCount() override { return m_line.GetInBufferCount(); }
    QByteArray GetInput() override;
    // A block could not be written to the capture file.
    bool Failed() const { return m_bFailed; }

private:
    CByteSource& m_line;
    CCaptureWriter* m_pWriter;
    bool m_bFailed = false;
};
