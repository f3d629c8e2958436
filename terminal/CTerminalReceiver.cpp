#include "CTerminalReceiver.h"

#include "CByteSource.h"

QByteArray CTerminalReceiver::OnReceivedData(CByteSource& source, bool receiveCRLF)
{
    if (source.GetCommEvent() != CByteSource::EventReceive || source.GetInBufferCount() == 0)
        return {};
    const QByteArray input = source.GetInput();
    return receiveCRLF ? ExpandCarriageReturns(input) : input;
}

QByteArray CTerminalReceiver::ExpandCarriageReturns(const QByteArray& bytes)
{
    const qsizetype returns = bytes.count('\r');
    if (returns == 0)
        return bytes;
    QByteArray expanded;
    expanded.reserve(bytes.size() + returns);
    for (const char byte : bytes) {
        expanded += byte;
        if (byte == '\r')
            expanded += '\n';
    }
    return expanded;
}
