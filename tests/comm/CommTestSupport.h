#pragma once

#include "CComm.h"
#include "CCommEvent.h"
#include "CTerminalDisplay.h"
#include "CTerminalDisplaySettings.h"

#include <QElapsedTimer>
#include <QHash>
#include <QObject>
#include <QTest>

#include <fcntl.h>
#include <poll.h>
#include <pty.h>
#include <termios.h>
#include <unistd.h>

// The output baud rate of a line as the kernel holds it (any rate).
unsigned LineBaudRate(int fd);

// A pseudo-terminal pair: the channel opens the slave by its path, the test
// plays the instrument on the master.
class PtyPair
{
public:
    PtyPair()
    {
        char name[128] = {};
        if (openpty(&m_master, &m_slave, name, nullptr, nullptr) != 0)
            qFatal("openpty failed");
        m_path = name;
        fcntl(m_master, F_SETFL, O_NONBLOCK);
    }
    ~PtyPair()
    {
        CloseMaster();
        ::close(m_slave);
    }
    PtyPair(const PtyPair&) = delete;
    PtyPair& operator=(const PtyPair&) = delete;

    QByteArray Path() const { return m_path; }
    int Slave() const { return m_slave; }
    int Master() const { return m_master; }
    termios SlaveSettings() const
    {
        termios tio{};
        tcgetattr(m_slave, &tio);
        return tio;
    }
    void CloseMaster()
    {
        if (m_master >= 0)
            ::close(m_master);
        m_master = -1;
    }
    bool Send(const QByteArray& bytes) const { return ::write(m_master, bytes.constData(), size_t(bytes.size())) == bytes.size(); }
    // What the channel wrote: reads until `count` bytes came or `ms` passed.
    QByteArray Receive(int count, int ms = 2000) const
    {
        QByteArray data;
        QElapsedTimer timer;
        timer.start();
        while (data.size() < count && timer.elapsed() < ms) {
            pollfd fd = {m_master, POLLIN, 0};
            poll(&fd, 1, 20);
            char buffer[4096];
            const ssize_t got = ::read(m_master, buffer, sizeof buffer);
            if (got > 0)
                data.append(buffer, got);
        }
        return data;
    }
    // Fills the line towards the master until the kernel takes no more,
    // also after moving bytes on to the master's own buffer.
    void FillTowardsMaster() const
    {
        fcntl(m_slave, F_SETFL, O_NONBLOCK);
        const QByteArray block(256, 'f');
        for (bool tookSome = true; tookSome;) {
            tookSome = false;
            while (::write(m_slave, block.constData(), size_t(block.size())) > 0)
                tookSome = true;
            QThread::msleep(30);
        }
    }

private:
    int m_master = -1;
    int m_slave = -1;
    QByteArray m_path;
};

struct Notification
{
    const CComm* channel;
    qint64 wParam;
    qint64 lParam;
    quint16 commEvent;      // GetCommEvent() while handling it
    bool fromOpenLine;      // IsFrom() while handling it
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
        notifications.append({channel, message->wParam(), message->lParam(), channel->GetCommEvent(), fromOpenLine});
        if (!fromOpenLine || !autoAcknowledge)
            return true;
        if ((message->lParam() & CCommEvent::DataReceived) && readData)
            received[channel] += channel->GetInput();
        channel->Acknowledge();
        return true;
    }
    int CountFor(const CComm& channel) const
    {
        return int(std::count_if(notifications.begin(), notifications.end(),
                                 [&](const Notification& n) { return n.channel == &channel; }));
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

// A terminal screen that remembers what it was given.
class RecordingDisplay : public CTerminalDisplay
{
public:
    void ApplySettings(const CTerminalDisplaySettings& settings) override { applied.append(settings.Properties()); }
    void DisplayInput(const QByteArray& text) override { shown += text; }

    QList<CTerminalDisplaySettings::Property> applied;
    QByteArray shown;
};
