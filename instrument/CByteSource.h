#pragma once

#include <QByteArray>
#include <QtGlobal>

// Where the received-data pipeline reads from: the instrument's channel, a
// recorded byte stream, a block list in the tests.
class CByteSource
{
public:
    // Event codes of the channel: 2 data received, 3 CTS changed, 4 DSR
    // changed, 1005 line error; 7 and 1001 make the pipeline discard input.
    static constexpr quint16 EventReceive = 2;
    static constexpr quint16 EventDiscard = 7;
    static constexpr quint16 EventDiscardOther = 1001;

    virtual ~CByteSource() = default;

    virtual quint16 GetCommEvent() = 0;
    // Bytes waiting; 0 when closed.
    virtual quint16 GetInBufferCount() = 0;
    // Every byte waiting (NUL bytes included); empty when closed.
    virtual QByteArray GetInput() = 0;
};
