#include "CTransferProgress.h"

void CTransferProgress::Start(const QString& fileName, qint64 startSeconds)
{
    m_strFileName = fileName;
    m_nStartTime = startSeconds;
    m_nSent = 0;
    m_nTotal = 0;
    m_bActive = true;
}

void CTransferProgress::Update(qint64 sent, qint64 total)
{
    m_nSent = sent;
    m_nTotal = total;
}

void CTransferProgress::Finish()
{
    m_bActive = false;
}

QString CTransferProgress::StatusText() const
{
    return QStringLiteral("Sending file %1").arg(m_strFileName);
}

int CTransferProgress::Position() const
{
    if (m_nTotal <= 0)
        return 100;
    // The count runs a block ahead at the end: positions above 100 are full.
    return int(qBound(qint64(0), m_nSent * 100 / m_nTotal, qint64(100)));
}

QString CTransferProgress::ElapsedText(qint64 nowSeconds) const
{
    const qint64 elapsed = qMax<qint64>(0, nowSeconds - m_nStartTime);
    const auto two = [](qint64 value) { return QStringLiteral("%1").arg(value, 2, 10, QLatin1Char('0')); };
    return two(elapsed / 3600 % 24) + QLatin1Char(':') + two(elapsed / 60 % 60) + QLatin1Char(':')
        + two(elapsed % 60);
}
