#include "CShowCommand.h"

#include "CCodePage.h"
#include "CDriverFile.h"
#include "CLineSettingsText.h"
#include "CParse.h"
#include "CPrinterSettingsFile.h"
#include "ResourceIds.h"
#include "CTerminalFile.h"

#include <QFileInfo>

#include <algorithm>

namespace {

constexpr int LabelWidth = 22;

enum class FileKind { Instrument, Terminal, Printer, Unknown };

FileKind KindOf(const QString& path)
{
    const QFileInfo info(path);
    if (info.fileName().compare(QLatin1String(CPrinterSettingsFile::FileName), Qt::CaseInsensitive) == 0)
        return FileKind::Printer;
    if (info.suffix().compare(QLatin1String(CDriverFile::Extension), Qt::CaseInsensitive) == 0)
        return FileKind::Instrument;
    if (info.suffix().compare(QLatin1String(CTerminalFile::Extension), Qt::CaseInsensitive) == 0)
        return FileKind::Terminal;
    return FileKind::Unknown;
}

// What is shown of one field at most: a damaged or hostile file may hold
// strings of hundreds of megabytes.
constexpr qsizetype ShownBytes = 4096;

// A byte string as the user writes it: control codes in the control-code
// notation, bytes 128..255 as Windows-1252, between double quotes. A longer
// one shows its first ShownBytes bytes and its length.
QString Text(const QByteArray& bytes)
{
    QByteArray shown = bytes.left(ShownBytes);
    CParse().EncodeControlCodes(shown);
    const QString text = QLatin1Char('"') + CCodePage::ToUnicode(shown) + QLatin1Char('"');
    if (bytes.size() <= ShownBytes)
        return text;
    return text + QStringLiteral("\u2026 (%1 bytes)").arg(bytes.size());
}

QString Switch(int value)
{
    if (value == 0)
        return QStringLiteral("off");
    if (value == 1)
        return QStringLiteral("on");
    return QStringLiteral("on (%1)").arg(value);
}

QString Parity(int parity)
{
    const QString letter = CLineSettingsText::ParityToString(parity);
    return letter.isEmpty() ? QStringLiteral("unknown (%1)").arg(parity) : letter;
}

QString FlowControl(int flowControl)
{
    const QString word = CLineSettingsText::FlowControlToString(flowControl);
    return word.isEmpty() ? QStringLiteral("unknown (%1)").arg(flowControl) : word;
}

QString Emulation(int emulation)
{
    QByteArrayList names;
    CParse().SplitResource(IDS_EMULATIONS, names);
    if (emulation < 0 || emulation >= names.size())
        return QStringLiteral("unknown (%1)").arg(emulation);
    return CCodePage::ToUnicode(names.at(emulation));
}

class CRecordPrinter
{
public:
    explicit CRecordPrinter(QTextStream& out) : m_out(out) {}

    void Print(const CDriverParameter& driver)
    {
        Heading("Driver");
        Field("Name", Text(driver.m_strName));
        Field("File name", Text(driver.m_strFileName));
        Field("Excel", Switch(driver.m_bExcel));
    }

    void Print(const CCommParameter& comm)
    {
        Heading("Communication");
        if (comm.m_nConnector == -1)
            Field("Connector", Text(comm.m_strConnector));
        else
            Field("Connector", QStringLiteral("number %1 (no name stored)").arg(comm.m_nConnector));
        Field("Baud rate", QString::number(comm.m_nBaudRate));
        Field("Data bits", QString::number(comm.m_nDataBits));
        Field("Parity", Parity(comm.m_cParity));
        Field("Stop bits", QString::number(comm.m_nStopBits));
        Field("Flow control", FlowControl(comm.m_nFlowControl));
    }

    void Print(const CTerminalParameter& terminal)
    {
        Heading("Terminal");
        Field("Columns", QString::number(terminal.m_nColumns));
        Field("Rows", QString::number(terminal.m_nRows));
        Field("Emulation", Emulation(terminal.m_nEmulation));
        Field("Receive CR -> CR/LF", Switch(terminal.m_bReceiveCRLF));
        Field("Send CR -> CR/LF", Switch(terminal.m_bSendCRLF));
        Field("Local echo", Switch(terminal.m_bLocalEcho));
        Field("Line wrap", Switch(terminal.m_bLineWrap));
        Field("Show control chars", Switch(terminal.m_bShowControlChars));
        Field("Block cursor", Switch(terminal.m_bBlockCursor));
        Field("Scroll bar", Switch(terminal.m_bScrollbar));
    }

    void Print(const CFunctionKeysParameter& keys)
    {
        Heading("Function keys");
        Field("Show keys", Switch(keys.m_bShowKeys));
        // Files may hold more than eight entries; all of them are shown.
        const auto count = std::max<qsizetype>(keys.m_Names.size(), keys.m_Commands.size());
        for (int i = 0; i < count; ++i) {
            const QString value = QStringLiteral("%1 sends %2").arg(Text(keys.GetName(i)), Text(keys.GetCommand(i)));
            Field(QStringLiteral("F%1").arg(i + 1), value);
        }
    }

    void Print(const CScript& script)
    {
        Heading("Script");
        Field("Registered", Switch(script.m_bRegistered));
        Field("End of string", Text(script.m_strEndOfString));
        const auto count = std::max(script.GetInputStringCount(), script.GetSequenceCount());
        for (int i = 0; i < count; ++i) {
            if (i < script.GetInputStringCount())
                Field(QStringLiteral("Input string %1").arg(i + 1), Text(script.GetInputString(i)));
            else
                Field(QStringLiteral("Sequence %1").arg(i + 1), QStringLiteral("(no input string)"));
            PrintSequence(script, i);
        }
    }

private:
    void PrintSequence(const CScript& script, int i)
    {
        if (i >= script.GetSequenceCount() || !script.m_Sequences.at(i)) {
            m_out << "    (no sequence)\n";
            return;
        }
        if (script.GetCommandCount(i) == 0)
            m_out << "    (no commands)\n";
        for (int c = 0; c < script.GetCommandCount(i); ++c) {
            QByteArray command = script.GetCommand(i, c);
            CParse().EncodeControlCodes(command);
            m_out << "    " << CCodePage::ToUnicode(command) << "\n";
        }
    }

    void Heading(const char* title) { m_out << "\n" << title << "\n"; }

    void Field(const QString& label, const QString& value)
    {
        m_out << "  " << qSetFieldWidth(LabelWidth) << Qt::left << label + QLatin1Char(':') << qSetFieldWidth(0)
              << value << "\n";
    }

    QTextStream& m_out;
};

// Loads the file and prints the given records of it in file order.
template <class File, class... Records>
int Show(File& file, const QString& path, const char* kind, QTextStream& out, QTextStream& err,
         const Records&... records)
{
    const CFileResult result = file.Load(path);
    if (!result.IsOk()) {
        err << result.Message() << "\n";
        return CCliCommand::ExitFailed;
    }
    out << path << ": " << kind << "\n";
    CRecordPrinter printer(out);
    (printer.Print(records), ...);
    return CCliCommand::ExitOk;
}

} // namespace

int CShowCommand::Run(const QStringList& arguments, QTextStream& out, QTextStream& err)
{
    if (arguments.size() != 1) {
        err << "usage: orvalis-cli show FILE\n";
        return ExitUsage;
    }
    const QString& path = arguments.front();
    switch (KindOf(path)) {
    case FileKind::Instrument: {
        CDriverFile f;
        return Show(f, path, "instrument driver", out, err, f.m_Driver, f.m_Comm, f.m_Terminal, f.m_FunctionKeys,
                    f.m_Script);
    }
    case FileKind::Terminal: {
        CTerminalFile f;
        return Show(f, path, "terminal driver", out, err, f.m_Comm, f.m_Terminal, f.m_FunctionKeys);
    }
    case FileKind::Printer: {
        CPrinterSettingsFile f;
        return Show(f, path, "serial printer settings", out, err, f.m_Driver, f.m_Comm, f.m_Terminal, f.m_Script);
    }
    case FileKind::Unknown:
        break;
    }
    err << path << ": not a driver file (expected a .tbb, a .drv or v24print.drv)\n";
    return ExitUsage;
}
