#include "CExamplesCommand.h"

#include "CDriverFile.h"

#include <QDir>
#include <QFile>

namespace {

void SetKey(CFunctionKeysParameter& keys, int i, const QByteArray& name, const QByteArray& command)
{
    keys.m_Names[i] = name;
    keys.m_Commands[i] = command;
}

void AddInput(CScript& script, const QByteArray& input, const QByteArrayList& commands)
{
    script.m_InputStrings.append(input);
    script.m_Sequences.append(std::make_shared<CStringArray>(commands));
}

} // namespace

CDriverFile CExamplesCommand::Balance()
{
    CDriverFile file;
    file.m_Driver.SetName("Balance");
    file.m_Driver.SetFileName("Balance.tbb");
    file.m_Comm.m_nConnector = -1;
    file.m_Comm.m_strConnector = "COM1";
    file.m_Comm.m_nFlowControl = 0;
    file.m_FunctionKeys.m_bShowKeys = 1;
    file.m_FunctionKeys.AppendEmptyKeys();
    SetKey(file.m_FunctionKeys, 0, "Print", "P\r\n");
    SetKey(file.m_FunctionKeys, 1, "Tare", "T\r\n");
    SetKey(file.m_FunctionKeys, 2, "Zero", "Z\r\n");
    file.m_Script.m_bRegistered = 1;
    file.m_Script.m_strEndOfString = "<LF>";
    // Error lines ("ES", "EL") start with E and are marked; every other line
    // is a weight: leading spaces go, the unit goes into its own cell.
    AddInput(file.m_Script, "E", {"InsertCharacter(0, *)"});
    AddInput(file.m_Script, "~", {"TrimLeft()", "ChangeSpaces(<HT>)"});
    return file;
}

CDriverFile CExamplesCommand::Meter()
{
    CDriverFile file;
    file.m_Driver.SetName("Meter");
    file.m_Driver.SetFileName("Meter.tbb");
    file.m_Driver.SetExcel(1);
    file.m_Comm.m_nConnector = -1;
    file.m_Comm.m_strConnector = "COM2";
    file.m_Comm.m_nBaudRate = 19200;
    file.m_Comm.m_nDataBits = 7;
    file.m_Comm.m_cParity = 'E';
    file.m_Terminal.m_bShowControlChars = 1;
    file.m_FunctionKeys.m_bShowKeys = 1;
    file.m_FunctionKeys.AppendEmptyKeys();
    SetKey(file.m_FunctionKeys, 0, "Read", "\x05");
    SetKey(file.m_FunctionKeys, 1, "Reset", "\x1B" "R");
    file.m_Script.m_bRegistered = 1;
    file.m_Script.m_strEndOfString = "<ETX>";
    // The frame goes: STX is skipped, ETX becomes the line end.
    AddInput(file.m_Script, "<STX>...<ETX>", {"SkipCharacters(1)", "ChangeCharacters(<ETX>, <CR>)", "TrimAll()"});
    return file;
}

int CExamplesCommand::Run(const QStringList& arguments, QTextStream& out, QTextStream& err)
{
    if (arguments.size() != 1) {
        err << "usage: orvalis-cli write-examples FOLDER\n";
        return ExitUsage;
    }
    const QDir folder(arguments.front());
    for (CDriverFile example : {Balance(), Meter()}) {
        const QString path = folder.filePath(QString::fromLatin1(example.m_Driver.GetFileName()));
        QFile::remove(path);
        const CFileResult result = example.Store(path);
        if (!result.IsOk()) {
            err << result.Message() << "\n";
            return ExitFailed;
        }
        out << "wrote " << path << "\n";
    }
    return ExitOk;
}
