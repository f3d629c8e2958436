#include "CFileTransfer.h"

#include "CByteOutput.h"
#include "CRegularFile.h"

#include <QFile>
#include <QLoggingCategory>

namespace {
Q_LOGGING_CATEGORY(lcTransfer, "orvalis.comm")
}

CFileTransfer::CFileTransfer(CByteOutput& output)
    : m_output(output)
{
}

CFileTransfer::~CFileTransfer()
{
    Stop();
    Wait();
}

void CFileTransfer::SetNotifications(ProgressNotification progress, EndNotification end)
{
    m_progress = std::move(progress);
    m_end = std::move(end);
}

bool CFileTransfer::Start(const QString& path)
{
    if (m_bRunning)
        return false;
    Wait();
    m_bStop = false;
    m_bRunning = true;
    m_thread = std::thread(&CFileTransfer::Run, this, path);
    return true;
}

void CFileTransfer::Wait()
{
    if (m_thread.joinable())
        m_thread.join();
}

void CFileTransfer::Run(const QString& path)
{
    QFile file(path);
    QString notRegular;
    if (!CRegularFile::Check(path, &notRegular)) {
        qCWarning(lcTransfer).noquote() << QStringLiteral("Cannot send %1: %2").arg(path, notRegular);
    } else if (!file.open(QIODevice::ReadOnly)) {
        qCWarning(lcTransfer).noquote()
            << QStringLiteral("Cannot send %1: %2").arg(path, file.errorString());
    } else {
        const qint64 total = file.size();
        qint64 sent = 0;
        for (;;) {
            const QByteArray block = file.read(BlockSize);
            m_output.SetOutputUntil(block, m_bStop);
            sent += BlockSize;
            if (m_progress)
                m_progress(sent, total);
            if (m_bStop || block.size() != BlockSize)
                break;
        }
        if (file.error() != QFileDevice::NoError)
            qCWarning(lcTransfer).noquote()
                << QStringLiteral("Reading %1 stopped: %2").arg(path, file.errorString());
        qCDebug(lcTransfer) << "sent" << path << (m_bStop ? "(stopped)" : "");
    }
    m_bRunning = false;
    if (m_end)
        m_end();
}
