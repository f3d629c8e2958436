#include "CReplayCommand.h"

#include "CCaptureReader.h"
#include "CInstrumentSession.h"

#include <QCommandLineParser>
#include <QTextStream>

namespace {

const char* const Usage = "usage: orvalis-cli replay DRIVER FILE [--cells FILE.csv]\n";

} // namespace

int CReplayCommand::Run(const QStringList& arguments, QTextStream& out, QTextStream& err)
{
    QCommandLineParser parser;
    const QCommandLineOption cells(QStringLiteral("cells"), QString(), QStringLiteral("FILE.csv"));
    parser.addOption(cells);
    if (!parser.parse(QStringList{QStringLiteral("replay")} + arguments) || parser.positionalArguments().size() != 2) {
        if (!parser.errorText().isEmpty())
            err << "orvalis-cli replay: " << parser.errorText() << "\n";
        err << Usage;
        return ExitUsage;
    }
    const QString driverPath = parser.positionalArguments().at(0);
    const QString capturePath = parser.positionalArguments().at(1);

    CInstrumentSession session(out);
    QString error;
    if (!session.LoadDriver(driverPath, error)
        || (parser.isSet(cells) && !session.OpenCells(parser.value(cells), error))) {
        err << error << "\n";
        return ExitFailed;
    }
    CCaptureReader reader;
    if (!reader.Open(capturePath)) {
        err << reader.ErrorString() << "\n";
        return ExitFailed;
    }
    CReceivePipeline& pipeline = session.Pipeline();
    pipeline.SetByteSource(&reader);
    pipeline.SetSleeper([](quint32) {});
    while (!reader.AtEnd())
        pipeline.OnCommEvent();
    session.FlushText();
    if (!session.Finish(error)) {
        err << error << "\n";
        return ExitFailed;
    }
    // What the damaged file held was shown; the run still failed.
    if (!reader.Damage().isEmpty()) {
        err << reader.Damage() << "\n";
        return ExitFailed;
    }
    return ExitOk;
}
