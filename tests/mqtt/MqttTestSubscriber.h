#pragma once

// A subscriber on its own libmosquitto thread that keeps every message it
// gets. A persistent session (fixed client id, QoS 1), so the broker keeps
// what arrives for it while it is away and across a broker restart.

#include <QByteArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QList>
#include <QString>

#include <mosquitto.h>

#include <mutex>

class MqttTestSubscriber
{
public:
    struct Message
    {
        QByteArray topic;
        QByteArray payload;
        bool bRetained;
    };

    // caFile: over TLS, trusting that CA.
    MqttTestSubscriber(int port, const QByteArray& filter, const QByteArray& id = "orvalis-test-subscriber",
                       const QString& caFile = QString())
        : m_filter(filter)
    {
        mosquitto_lib_init();
        m_pMosq = mosquitto_new(id.constData(), false, this);
        if (!caFile.isEmpty())
            mosquitto_tls_set(m_pMosq, caFile.toLocal8Bit().constData(), nullptr, nullptr, nullptr, nullptr);
        mosquitto_reconnect_delay_set(m_pMosq, 1, 1, false);
        mosquitto_connect_callback_set(m_pMosq, [](mosquitto* mosq, void* self, int rc) {
            auto* me = static_cast<MqttTestSubscriber*>(self);
            if (rc == 0)
                mosquitto_subscribe(mosq, nullptr, me->m_filter.constData(), 1);
        });
        mosquitto_subscribe_callback_set(m_pMosq, [](mosquitto*, void* self, int, int, const int*) {
            auto* me = static_cast<MqttTestSubscriber*>(self);
            std::lock_guard lock(me->m_mutex);
            me->m_bSubscribed = true;
        });
        mosquitto_disconnect_callback_set(m_pMosq, [](mosquitto*, void* self, int) {
            auto* me = static_cast<MqttTestSubscriber*>(self);
            std::lock_guard lock(me->m_mutex);
            me->m_bSubscribed = false;
        });
        mosquitto_message_callback_set(m_pMosq, [](mosquitto*, void* self, const mosquitto_message* m) {
            auto* me = static_cast<MqttTestSubscriber*>(self);
            std::lock_guard lock(me->m_mutex);
            me->m_messages.append({QByteArray(m->topic),
                                   QByteArray(static_cast<const char*>(m->payload), m->payloadlen),
                                   m->retain});
        });
        mosquitto_connect(m_pMosq, "127.0.0.1", port, 10);
        mosquitto_loop_start(m_pMosq);
    }

    ~MqttTestSubscriber()
    {
        mosquitto_disconnect(m_pMosq);
        mosquitto_loop_stop(m_pMosq, true);
        mosquitto_destroy(m_pMosq);
    }

    bool Subscribed() const
    {
        std::lock_guard lock(m_mutex);
        return m_bSubscribed;
    }
    qsizetype Count() const
    {
        std::lock_guard lock(m_mutex);
        return m_messages.size();
    }
    QList<Message> Messages() const
    {
        std::lock_guard lock(m_mutex);
        return m_messages;
    }
    // The payloads on one topic, in arrival order.
    QList<QByteArray> Payloads(const QByteArray& topic) const
    {
        QList<QByteArray> payloads;
        for (const Message& m : Messages()) {
            if (m.topic == topic)
                payloads.append(m.payload);
        }
        return payloads;
    }
    // The "text" of each reading on one topic, in arrival order.
    QList<QByteArray> Texts(const QByteArray& topic) const
    {
        QList<QByteArray> texts;
        for (const QByteArray& payload : Payloads(topic))
            texts.append(
                QJsonDocument::fromJson(payload).object().value(QStringLiteral("text")).toString().toUtf8());
        return texts;
    }
    QByteArray Last(const QByteArray& topic) const
    {
        const QList<QByteArray> payloads = Payloads(topic);
        return payloads.isEmpty() ? QByteArray() : payloads.last();
    }

private:
    QByteArray m_filter;
    mosquitto* m_pMosq = nullptr;
    mutable std::mutex m_mutex;
    bool m_bSubscribed = false;
    QList<Message> m_messages;
};
