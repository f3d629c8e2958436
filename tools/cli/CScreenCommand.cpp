#include "CScreenCommand.h"

#include "CCaptureReader.h"
#include "CTerminalDisplaySettings.h"
#include "CTerminalFile.h"
#include "CTerminalReceiver.h"
#include "CTerminalScreen.h"

#include <QTextStream>

namespace {

const char* const Usage = "usage: orvalis-cli screen DRIVER.drv FILE\n";

} // namespace

int CScreenCommand::Run(const QStringList& arguments, QTextStream& out, QTextStream& err)
{
    if (arguments.size() != 2 || arguments.at(0).startsWith(QLatin1Char('-'))
        || arguments.at(1).startsWith(QLatin1Char('-'))) {
        err << Usage;
        return ExitUsage;
    }
    CTerminalFile driver;
    const CFileResult loaded = driver.Load(arguments.at(0));
    if (!loaded.IsOk()) {
        err << loaded.Message() << "\n";
        return ExitFailed;
    }
    CCaptureReader reader;
    if (!reader.Open(arguments.at(1))) {
        err << reader.ErrorString() << "\n";
        return ExitFailed;
    }
    CTerminalScreen screen;
    screen.ApplySettings(CTerminalDisplaySettings::FromTerminalParameter(driver.m_Terminal));
    const bool receiveCRLF = driver.m_Terminal.m_bReceiveCRLF != 0;
    while (!reader.AtEnd())
        screen.Write(CTerminalReceiver::OnReceivedData(reader, receiveCRLF));
    for (const QString& row : screen.ScreenText())
        out << row << "\n";
    out.flush();
    // What the damaged file held was shown; the run still failed.
    if (!reader.Damage().isEmpty()) {
        err << reader.Damage() << "\n";
        return ExitFailed;
    }
    return ExitOk;
}
