#pragma once

#include "CComm.h"
#include "CCommEvent.h"
#include "CCommParameter.h"

#include "../core/PtyPair.h"
#include "TestIncludes.h"

#include <QHash>

// The output baud rate of a line as the kernel holds it (any rate).
unsigned LineBaudRate(int fd);

inline CCommParameter Line(const QByteArray& connector, int baud = 9600, int dataBits = 8, int parity = 'N',
                           int stopBits = 1, int flow = 0)
{
    CCommParameter parameters;
    parameters.m_strConnector = connector;
    parameters.m_nConnector = -1;
    parameters.m_nBaudRate = baud;
    parameters.m_nDataBits = dataBits;
    parameters.m_cParity = parity;
    parameters.m_nStopBits = stopBits;
    parameters.m_nFlowControl = flow;
    return parameters;
}

inline QByteArray PathOf(const CPtyPair& pty)
{
    return pty.SlaveName().toLocal8Bit();
}

inline termios SettingsOf(int fd)
{
    termios tio{};
    tcgetattr(fd, &tio);
    return tio;
}

// Fills the line towards the master until the kernel takes no more, also
// after moving bytes on to the master's own buffer.
inline void FillTowardsMaster(const CPtyPair& pty)
{
    fcntl(pty.Slave(), F_SETFL, O_NONBLOCK);
    const QByteArray block(256, 'f');
    for (bool tookSome = true; tookSome;) {
        tookSome = false;
        while (::write(pty.Slave(), block.constData(), size_t(block.size())) > 0)
            tookSome = true;
        QThread::msleep(30);
    }
}

struct Notification
{
    const CComm* channel;
    qint64 lParam;
    quint16 commEvent; // GetCommEvent() while handling it
    bool fromOpenLine; // IsFrom() while handling it
};

// The owner of one or more channels: records every notification and, unless
// told otherwise, reads the data and acknowledges at once, as a window does.
class RecordingOwner : public QObject
{
public:
    void Add(CComm& channel)
    {
        channel.Create(this);
        m_channels.append(&channel);
    }
    bool event(QEvent* event) override
    {
        if (event->type() != CCommEvent::ComMessage())
            return QObject::event(event);
        const auto* message = static_cast<CCommEvent*>(event);
        CComm* channel = ChannelOf(message);
        if (channel == nullptr)
            return true;
        const bool fromOpenLine = channel->IsFrom(*message);
        notifications.append({channel, message->lParam(), channel->GetCommEvent(), fromOpenLine});
        if (!fromOpenLine || !autoAcknowledge)
            return true;
        if ((message->lParam() & CCommEvent::DataReceived) && readData)
            received[channel] += channel->GetInput();
        channel->Acknowledge();
        return true;
    }
    bool WaitForCount(int count, int ms = 3000)
    {
        return QTest::qWaitFor([&] { return notifications.size() >= count; }, ms);
    }
    bool WaitForData(const CComm& channel, int bytes, int ms = 3000)
    {
        return QTest::qWaitFor([&] { return received.value(&channel).size() >= bytes; }, ms);
    }

    bool autoAcknowledge = true;
    bool readData = true;
    QList<Notification> notifications;
    QHash<const CComm*, QByteArray> received;

private:
    CComm* ChannelOf(const CCommEvent* message) const
    {
        for (CComm* channel : m_channels) {
            if (channel == message->Channel())
                return channel;
        }
        return nullptr;
    }

    QList<CComm*> m_channels;
};

// A channel open on a pseudo-terminal, with an owner that records it.
struct OwnedLine
{
    explicit OwnedLine(bool readData = true, bool autoAcknowledge = true)
    {
        owner.readData = readData;
        owner.autoAcknowledge = autoAcknowledge;
        owner.Add(channel);
        opened = channel.OpenPort(Line(PathOf(pty)));
    }
    CPtyPair pty;
    RecordingOwner owner;
    CComm channel;
    bool opened = false;
};

// The instrument on a thread of its own: writes the bytes to the master end
// in pieces of at most piece bytes as fast as the line takes them, then
// sets done.
inline std::thread WriteAsInstrument(const CPtyPair& pty, const QByteArray& bytes, qsizetype piece,
                                     std::atomic<bool>* done = nullptr)
{
    return std::thread([&pty, bytes, piece, done] {
        for (qsizetype at = 0; at < bytes.size();) {
            const ssize_t sent =
                ::write(pty.Master(), bytes.constData() + at, size_t(qMin(bytes.size() - at, piece)));
            if (sent > 0)
                at += sent;
            else
                QThread::msleep(1);
        }
        if (done)
            *done = true;
    });
}
