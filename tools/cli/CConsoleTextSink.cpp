#include "CConsoleTextSink.h"

#include <QFileDevice>
#include <QTextStream>

void CConsoleTextSink::AppendBytes(const QByteArray& bytes)
{
    m_pending.append(bytes);
    if (m_pending.size() >= PieceSize)
        WritePending();
}

void CConsoleTextSink::DeleteLastCharacter()
{
    WritePending();
    Write(QStringLiteral("\b \b"));
}

void CConsoleTextSink::Flush()
{
    WritePending();
    m_out.flush();
    if (auto* file = qobject_cast<QFileDevice*>(m_out.device()))
        file->flush();
}

void CConsoleTextSink::WritePending()
{
    if (m_pending.isEmpty())
        return;
    Write(m_display.Convert(m_pending));
    // Both buffers keep their capacity for the next piece.
    m_pending.resize(0);
}

void CConsoleTextSink::Write(const QString& text)
{
    m_encoded.resize(m_encoder.requiredSpace(text.size()));
    m_encoded.resize(m_encoder.appendToBuffer(m_encoded.data(), text) - m_encoded.constData());
    // Text that went through the stream itself stays in front.
    m_out.flush();
    // By pointer: a QByteArray handed over could be kept shared, and the
    // buffer would lose its capacity.
    m_out.device()->write(m_encoded.constData(), m_encoded.size());
    m_encoded.resize(0);
}
