#include "CCommEvent.h"

#include <cstring>

namespace {

struct RegisteredTypes
{
    QEvent::Type comMessage = QEvent::Type(QEvent::registerEventType());
    QEvent::Type endOfTransmission = QEvent::Type(QEvent::registerEventType());
    QEvent::Type sendProgress = QEvent::Type(QEvent::registerEventType());
};

// Registered on first use; a function-local static is thread-safe.
const RegisteredTypes& Types()
{
    static const RegisteredTypes types;
    return types;
}

} // namespace

CCommEvent::CCommEvent(QEvent::Type type, qint64 wParam, qint64 lParam, const CComm* channel)
    : QEvent(type), m_wParam(wParam), m_lParam(lParam), m_pChannel(channel)
{
}

void CCommEvent::RegisterTypes()
{
    Types();
}

QEvent::Type CCommEvent::ComMessage()
{
    return Types().comMessage;
}

QEvent::Type CCommEvent::EndOfTransmission()
{
    return Types().endOfTransmission;
}

QEvent::Type CCommEvent::SendProgress()
{
    return Types().sendProgress;
}

QEvent::Type CCommEvent::TypeOf(const char* name)
{
    if (name == nullptr)
        return QEvent::None;
    if (std::strcmp(name, ComMessageName) == 0)
        return ComMessage();
    if (std::strcmp(name, EndOfTransmissionName) == 0)
        return EndOfTransmission();
    if (std::strcmp(name, SendProgressName) == 0)
        return SendProgress();
    return QEvent::None;
}

const char* CCommEvent::NameOf(QEvent::Type type)
{
    if (type == ComMessage())
        return ComMessageName;
    if (type == EndOfTransmission())
        return EndOfTransmissionName;
    if (type == SendProgress())
        return SendProgressName;
    return nullptr;
}
