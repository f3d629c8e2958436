#include "CCommandSender.h"

#include "CByteOutput.h"
#include "CCodePage.h"
#include "CParseCommand.h"
#include "CPlaybackFile.h"
#include "CProgramFolder.h"
#include "CSerialNumberPrompt.h"
#include "CSerialNumberRecord.h"

#include <QDateTime>
#include <QDir>
#include <QLoggingCategory>

namespace {

Q_LOGGING_CATEGORY(lcSender, "orvalis.comm")

const QByteArray FileMacro = QByteArrayLiteral("^$F");
const QByteArray SerialMacro = QByteArrayLiteral("^$S");
const QByteArray PlaybackMacro = QByteArrayLiteral("^$E");

// The macro to handle next, or "" when none is left.
QByteArray NextMacro(const QByteArray& text)
{
    if (text.contains(PlaybackMacro))
        return PlaybackMacro;
    const qsizetype file = text.indexOf(FileMacro);
    const qsizetype serial = text.indexOf(SerialMacro);
    if (file < 0 && serial < 0)
        return {};
    if (serial < 0 || (file >= 0 && file < serial))
        return FileMacro;
    return SerialMacro;
}

// Playback files and relative file names of the macros live in the program
// folder; an absolute path stays as it is.
QString InProgramFolder(const QString& name)
{
    return QDir(CProgramFolder::Path()).filePath(name);
}

} // namespace

CCommandSender::CCommandSender(CByteOutput& output)
    : m_output(output)
    , m_transfer(output)
    , m_clock([] { return QDateTime::currentSecsSinceEpoch(); })
{
}

void CCommandSender::SetTransferNotifications(CFileTransfer::ProgressNotification progress,
                                              CFileTransfer::EndNotification end)
{
    m_transfer.SetNotifications(std::move(progress), std::move(end));
}

int CCommandSender::SendCommand(const QByteArray& text)
{
    if (m_bSending) {
        m_queue.push_back({text, true});
        return 1;
    }
    Expand(text);
    return 1;
}

void CCommandSender::Expand(QByteArray text)
{
    const CParseCommand parser;
    for (QByteArray macro = NextMacro(text); !macro.isEmpty(); macro = NextMacro(text)) {
        QByteArray before;
        QByteArray argument;
        QByteArray after;
        if (parser.Parse(macro, text, before, argument, after) < 0)
            break; // no closing delimiter: the rest goes out literally
        if (macro == PlaybackMacro) {
            OpenPlayback(argument);
            continue;
        }
        Output(before);
        if (macro == SerialMacro) {
            if (!SendSerialNumber(argument))
                return;
            continue;
        }
        SendFile(CCodePage::ToUnicode(argument));
        if (m_bSending) {
            // The rest belongs before anything queued while it was expanded.
            m_queue.push_front({text, true});
            return;
        }
    }
    Output(text);
}

void CCommandSender::Output(const QByteArray& bytes)
{
    if (!bytes.isEmpty())
        m_output.SetOutput(bytes);
}

bool CCommandSender::SendSerialNumber(const QByteArray& address)
{
    const std::optional<int> number = m_pPrompt ? m_pPrompt->AskSerialNumber() : std::nullopt;
    if (!number)
        return false;
    if (*number < CSerialNumberRecord::MinSerialNumber || *number > CSerialNumberRecord::MaxSerialNumber) {
        qCWarning(lcSender) << "serial number" << *number << "outside 0..9999; command ended";
        return false;
    }
    Output(CSerialNumberRecord::BuildRecord(address, *number));
    return true;
}

void CCommandSender::OpenPlayback(const QByteArray& name)
{
    if (!m_pPlayback) {
        qCWarning(lcSender) << "no playback file for" << name;
        return;
    }
    m_pPlayback->Open(InProgramFolder(CCodePage::ToUnicode(name)));
}

int CCommandSender::SendFile(const QString& path)
{
    if (path.isEmpty())
        return 0;
    if (m_bSending) {
        qCWarning(lcSender) << "a file is being sent already; refused" << path;
        return 0;
    }
    const QString fullPath = InProgramFolder(path);
    if (!m_transfer.Start(fullPath))
        return 0;
    m_progress.Start(fullPath, m_clock());
    m_bSending = true;
    return 1;
}

void CCommandSender::SendTyped(const QByteArray& text)
{
    if (m_bSending) {
        m_queue.push_back({text, false});
        return;
    }
    Output(text);
}

void CCommandSender::OnSendProgress(qint64 sent, qint64 total)
{
    m_progress.Update(sent, total);
}

int CCommandSender::OnEndOfTransmission()
{
    m_bSending = false;
    m_transfer.Wait();
    m_progress.Finish();
    // A queued command may start the next transfer; the rest waits for it.
    while (!m_bSending && !m_queue.empty()) {
        const Pending next = m_queue.front();
        m_queue.pop_front();
        if (next.bCommand)
            Expand(next.text);
        else
            Output(next.text);
    }
    return 1;
}
