#include "CCaptureCommand.h"

#include "CCaptureWriter.h"
#include "CCodePage.h"
#include "CComm.h"
#include "CCommByteSource.h"
#include "CCommEvent.h"
#include "CConsoleSerialPrompt.h"
#include "CInstrumentSession.h"
#include "CLineReconnector.h"
#include "CLineOptions.h"
#include "CMqttOptions.h"
#include "CPlaybackFile.h"
#include "CRecordingSource.h"
#include "CSignalNotifier.h"

#include <QCommandLineParser>
#include <QEventLoop>
#include <QTextStream>

#include <functional>

namespace {

const char* const Usage =
    "usage: orvalis-cli capture DRIVER [--port NAME] [--cells FILE.csv] [--record FILE]\n"
    "                           [--serial N] [--key N] [--playback NAME]\n"
    "                           [--mqtt URL [--topic PREFIX] [--user NAME] [--ca-file FILE]\n"
    "                                       [--password-file FILE]] [--timestamps] [--reconnect]\n";

// The owner of the channel, as the instrument window is: each notification
// runs a processing pass and is acknowledged; the transfer events go to the
// channel's command sender.
class CCaptureOwner : public QObject
{
public:
    using Check = std::function<void()>;

    CCaptureOwner(CComm& comm, CReceivePipeline& pipeline, Check afterPass)
        : m_comm(comm)
        , m_pipeline(pipeline)
        , m_afterPass(std::move(afterPass))
    {
    }

    bool event(QEvent* e) override
    {
        if (e->type() == CCommEvent::ComMessage()) {
            const auto* message = static_cast<CCommEvent*>(e);
            if (!m_comm.IsFrom(*message))
                return true;
            if (message->lParam() & CCommEvent::DataReceived)
                m_pipeline.OnCommEvent();
            m_comm.Acknowledge();
            m_afterPass();
            return true;
        }
        if (e->type() == CCommEvent::SendProgress()) {
            const auto* progress = static_cast<CCommEvent*>(e);
            m_comm.OnSendProgress(progress->wParam(), progress->lParam());
            return true;
        }
        if (e->type() == CCommEvent::EndOfTransmission()) {
            m_comm.OnEndOfTransmission();
            return true;
        }
        return QObject::event(e);
    }

private:
    CComm& m_comm;
    CReceivePipeline& m_pipeline;
    Check m_afterPass;
};

} // namespace

int CCaptureCommand::Run(const QStringList& arguments, QTextStream& out, QTextStream& err)
{
    QCommandLineParser parser;
    const QCommandLineOption cells(QStringLiteral("cells"), QString(), QStringLiteral("FILE.csv"));
    const QCommandLineOption record(QStringLiteral("record"), QString(), QStringLiteral("FILE"));
    const QCommandLineOption playbackName(QStringLiteral("playback"), QString(), QStringLiteral("NAME"));
    const QCommandLineOption timestamps(QStringLiteral("timestamps"));
    const QCommandLineOption reconnect(QStringLiteral("reconnect"));
    parser.addOptions({cells, record, playbackName, timestamps, reconnect});
    CLineOptions line(parser);
    CMqttOptions mqtt(parser);
    if (arguments.contains(QStringLiteral("--help")) || arguments.contains(QStringLiteral("-h"))) {
        out << Usage << "\n" << CMqttOptions::Help;
        return ExitOk;
    }
    if (!parser.parse(QStringList{QStringLiteral("capture")} + arguments) || parser.positionalArguments().size() != 1) {
        if (!parser.errorText().isEmpty())
            err << "orvalis-cli capture: " << parser.errorText() << "\n";
        err << Usage;
        return ExitUsage;
    }

    QTextStream in(stdin);
    CConsoleSerialPrompt prompt(in, err);
    QString error;
    if (!line.Check(prompt, error) || !mqtt.Check(error)) {
        err << "orvalis-cli capture: " << error << "\n" << Usage;
        return ExitUsage;
    }
    CInstrumentSession session(out);
    if (!session.LoadDriver(parser.positionalArguments().front(), error)
        || (parser.isSet(cells) && !session.OpenCells(parser.value(cells), error))) {
        err << error << "\n";
        return ExitFailed;
    }
    if (parser.isSet(timestamps))
        session.EnableTimestamps();
    CCaptureWriter writer;
    if (parser.isSet(record) && !writer.Open(parser.value(record))) {
        err << writer.ErrorString() << "\n";
        return ExitFailed;
    }

    CDriverFile& driver = session.Driver();
    mqtt.Start(session, CCodePage::ToUnicode(driver.m_Driver.m_strName), err);
    CComm comm;
    CCommByteSource channel(comm);
    CRecordingSource source(channel, parser.isSet(record) ? &writer : nullptr);
    CPlaybackFile playback;
    CReceivePipeline& pipeline = session.Pipeline();
    pipeline.SetByteSource(&source);
    pipeline.SetCommandTarget(&comm.Sender());
    pipeline.SetPlaybackFile(&playback);
    comm.Sender().SetSerialNumberPrompt(&prompt);
    comm.Sender().SetPlaybackFile(&playback);

    QEventLoop loop;
    int exitCode = ExitOk;
    const auto stop = [&](const QString& message) {
        if (!message.isEmpty()) {
            err << "orvalis-cli capture: " << message << "\n";
            exitCode = ExitFailed;
        }
        loop.quit();
    };
    // With --reconnect a lost line is waited for; what the pipeline holds of
    // a string cut by the loss goes on with the bytes after it.
    CLineReconnector reconnector(comm);
    const auto note = [&](const QString& message) {
        err << "orvalis-cli capture: " << message << "\n";
        err.flush();
    };
    QObject::connect(&reconnector, &CLineReconnector::reconnected, &loop, note);
    CCaptureOwner owner(comm, pipeline, [&] {
        session.FlushText();
        // The channel closes itself once its loss notification was answered.
        if (!comm.IsPortOpen() && parser.isSet(reconnect)) {
            reconnector.Start(driver.m_Comm);
            note(QStringLiteral("the line went away: %1 - %2").arg(comm.GetLastError(), reconnector.WaitingText()));
        } else if (!comm.IsPortOpen()) {
            stop(QStringLiteral("the line went away: %1").arg(comm.GetLastError()));
        } else if (source.Failed()) {
            stop(writer.ErrorString());
        } else if (!session.WriteError().isEmpty()) {
            stop(session.WriteError());
        }
    });
    comm.Create(&owner);
    comm.SetTerminalParameter(driver.m_Terminal);
    if (!line.OpenPort(comm, driver.m_Comm, error)) {
        err << error << "\n";
        return ExitFailed;
    }
    if (parser.isSet(playbackName) && !playback.Open(CLineOptions::InProgramFolder(parser.value(playbackName)))) {
        err << playback.ErrorString() << "\n";
        return ExitFailed;
    }
    if (!line.SendKey(comm, driver.m_FunctionKeys, error)) {
        err << error << "\n";
        return ExitFailed;
    }

    CSignalNotifier interrupts;
    QObject::connect(&interrupts, &CSignalNotifier::Raised, &loop, [&](int) { stop(QString()); });
    err << "Capturing " << CLineOptions::Describe(driver.m_Comm) << "; Ctrl-C ends.\n";
    err.flush();
    loop.exec();

    comm.SetPortOpen(false);
    session.FlushText();
    mqtt.Finish(session, err);
    if (parser.isSet(record) && !source.Failed() && !writer.Finish()) {
        err << writer.ErrorString() << "\n";
        return ExitFailed;
    }
    if (!session.Finish(error)) {
        err << error << "\n";
        return ExitFailed;
    }
    return exitCode;
}
