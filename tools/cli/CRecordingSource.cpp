#include "CRecordingSource.h"

#include "CCaptureWriter.h"

QByteArray CRecordingSource::GetInput()
{
    const QByteArray block = m_line.GetInput();
    if (m_pWriter && !m_pWriter->Append(block))
        m_bFailed = true;
    return block;
}
