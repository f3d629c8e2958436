#include "CSendCommand.h"

#include "CCodePage.h"
#include "CComm.h"
#include "CCommEvent.h"
#include "CConsoleSerialPrompt.h"
#include "CDriverArgument.h"
#include "CDriverFile.h"
#include "CLineOptions.h"
#include "CParse.h"
#include "CPlaybackFile.h"
#include "CRegularFile.h"
#include "CSignalNotifier.h"

#include <QCommandLineParser>
#include <QDateTime>
#include <QEventLoop>
#include <QFileInfo>
#include <QTextStream>

namespace {

const char* const Usage =
    "usage: orvalis-cli send DRIVER [--port NAME] [--serial N] (--key N | --text TEXT | --file PATH)\n";

// Waits this long at most for the last bytes to leave before the line closes.
constexpr int DrainTimeoutMs = 10000;

// The owner of the channel while sending: answers the line's notifications
// (the received bytes are not used), forwards the transfer events and shows
// the progress; the loop ends when nothing is being sent any more.
class CSendOwner : public QObject
{
public:
    CSendOwner(CComm& comm, QTextStream& err, QEventLoop& loop)
        : m_comm(comm)
        , m_err(err)
        , m_loop(loop)
    {
    }

    bool event(QEvent* e) override
    {
        if (e->type() == CCommEvent::ComMessage()) {
            const auto* message = static_cast<CCommEvent*>(e);
            if (m_comm.IsFrom(*message)) {
                m_comm.GetInput();
                m_comm.Acknowledge();
            }
            if (m_comm.IsLineLost())
                m_loop.exit(CCliCommand::ExitFailed);
            return true;
        }
        if (e->type() == CCommEvent::SendProgress()) {
            const auto* progress = static_cast<CCommEvent*>(e);
            m_comm.OnSendProgress(progress->wParam(), progress->lParam());
            ShowProgress();
            return true;
        }
        if (e->type() == CCommEvent::EndOfTransmission()) {
            m_err << "\n";
            m_comm.OnEndOfTransmission();
            if (!m_comm.Sender().IsSending())
                m_loop.exit(CCliCommand::ExitOk);
            return true;
        }
        return QObject::event(e);
    }

private:
    void ShowProgress()
    {
        const CTransferProgress& progress = m_comm.Sender().Progress();
        m_err << "\r" << progress.StatusText() << ": " << progress.Position() << "% "
              << progress.ElapsedText(QDateTime::currentSecsSinceEpoch());
        m_err.flush();
    }

    CComm& m_comm;
    QTextStream& m_err;
    QEventLoop& m_loop;
};

// Exactly one of --key, --text and --file.
bool OneWhatToSend(const QCommandLineParser& parser, bool key, const QCommandLineOption& text,
                   const QCommandLineOption& file)
{
    return int(key) + int(parser.isSet(text)) + int(parser.isSet(file)) == 1;
}

} // namespace

int CSendCommand::Run(const QStringList& arguments, QTextStream&, QTextStream& err)
{
    QCommandLineParser parser;
    const QCommandLineOption text(QStringLiteral("text"), QString(), QStringLiteral("TEXT"));
    const QCommandLineOption file(QStringLiteral("file"), QString(), QStringLiteral("PATH"));
    parser.addOptions({text, file});
    CLineOptions line(parser);
    QTextStream in(stdin);
    CConsoleSerialPrompt prompt(in, err);
    QString error;
    const bool parsed = parser.parse(QStringList{QStringLiteral("send")} + arguments);
    if (!parsed || parser.positionalArguments().size() != 1 || !line.Check(prompt, error)
        || !OneWhatToSend(parser, line.HasKey(), text, file)) {
        if (!parser.errorText().isEmpty())
            err << "orvalis-cli send: " << parser.errorText() << "\n";
        if (!error.isEmpty())
            err << "orvalis-cli send: " << error << "\n";
        err << Usage;
        return ExitUsage;
    }
    const QString path = parser.isSet(file) ? QFileInfo(parser.value(file)).absoluteFilePath() : QString();
    QString notRegular;
    if (parser.isSet(file) && !CRegularFile::Check(path, &notRegular)) {
        err << "Cannot open " << path << ": " << notRegular << "\n";
        return ExitFailed;
    }
    if (parser.isSet(file) && !QFileInfo(path).isReadable()) {
        err << "Cannot open " << path << ": " << (QFileInfo::exists(path) ? "Permission denied" : "No such file or directory")
            << "\n";
        return ExitFailed;
    }

    CDriverFile driver;
    if (!CDriverArgument::Load(parser.positionalArguments().front(), driver, error)) {
        err << error << "\n";
        return ExitFailed;
    }
    CComm comm;
    QEventLoop loop;
    CSendOwner owner(comm, err, loop);
    comm.Create(&owner);
    comm.SetTerminalParameter(driver.m_Terminal);
    // Playback files only answer received lines; sending alone has none.
    CPlaybackFile playback;
    comm.Sender().SetPlaybackFile(&playback);
    comm.Sender().SetSerialNumberPrompt(&prompt);
    if (!line.OpenPort(comm, driver.m_Comm, error)) {
        err << error << "\n";
        return ExitFailed;
    }

    if (parser.isSet(text)) {
        QByteArray bytes = CCodePage::FromUnicode(parser.value(text));
        CParse().DecodeControlCodes(bytes);
        comm.SendCommand(bytes);
    } else if (parser.isSet(file)) {
        comm.SendFile(path);
    } else if (!line.SendKey(comm, driver.m_FunctionKeys, error)) {
        err << error << "\n";
        return ExitFailed;
    }

    int exitCode = ExitOk;
    bool stopped = false;
    if (comm.Sender().IsSending()) {
        CSignalNotifier interrupts;
        QObject::connect(&interrupts, &CSignalNotifier::Raised, &loop, [&](int) {
            err << "\nStopping the transfer (Ctrl-C again ends at once)\n";
            err.flush();
            stopped = true;
            comm.Sender().StopTransmission();
        });
        exitCode = loop.exec();
    }
    if (stopped) {
        // What the line has not taken yet is dropped with the line.
        comm.SetPortOpen(false);
        err << "orvalis-cli send: stopped\n";
        return ExitFailed;
    }
    if (prompt.WasCancelled())
        exitCode = ExitFailed;
    if (comm.IsLineLost()) {
        err << "orvalis-cli send: the line went away: " << comm.GetLastError() << "\n";
        return ExitFailed;
    }
    if (!comm.WaitUntilSent(DrainTimeoutMs)) {
        err << "orvalis-cli send: the line did not take all bytes within " << DrainTimeoutMs / 1000
            << " s (flow control?)\n";
        exitCode = ExitFailed;
    }
    comm.CloseKeepingOutput();
    return exitCode;
}
