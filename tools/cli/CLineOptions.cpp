#include "CLineOptions.h"

#include "CComm.h"
#include "CCommParameter.h"
#include "CConsoleSerialPrompt.h"
#include "CFunctionKeysParameter.h"
#include "CLineSettingsText.h"
#include "CProgramFolder.h"

#include <QCommandLineParser>
#include <QDir>
#include <QFile>

CLineOptions::CLineOptions(QCommandLineParser& parser)
    : m_parser(parser)
    , m_port(QStringLiteral("port"), QString(), QStringLiteral("NAME"))
    , m_serial(QStringLiteral("serial"), QString(), QStringLiteral("N"))
    , m_key(QStringLiteral("key"), QString(), QStringLiteral("N"))
{
    parser.addOptions({m_port, m_serial, m_key});
}

bool CLineOptions::Check(CConsoleSerialPrompt& prompt, QString& error)
{
    if (m_parser.isSet(m_serial) && !prompt.SetFixedNumber(m_parser.value(m_serial), error))
        return false;
    if (!m_parser.isSet(m_key))
        return true;
    bool ok = false;
    m_nKey = m_parser.value(m_key).toInt(&ok);
    if (ok && m_nKey >= 1 && m_nKey <= CFunctionKeysParameter::KeyCount)
        return true;
    error = QStringLiteral("--key \"%1\": a function key is 1 to 8").arg(m_parser.value(m_key));
    return false;
}

bool CLineOptions::HasKey() const
{
    return m_parser.isSet(m_key);
}

bool CLineOptions::OpenPort(CComm& comm, CCommParameter& parameters, QString& error) const
{
    if (m_parser.isSet(m_port)) {
        parameters.m_strConnector = QFile::encodeName(m_parser.value(m_port));
        parameters.m_nConnector = -1;
    }
    if (comm.OpenPort(parameters))
        return true;
    error = comm.GetLastError();
    if (error.isEmpty())
        error = QStringLiteral("Cannot open %1").arg(QString::fromLocal8Bit(parameters.m_strConnector));
    comm.SetPortOpen(false);
    return false;
}

bool CLineOptions::SendKey(CComm& comm, const CFunctionKeysParameter& keys, QString& error) const
{
    if (m_nKey == 0)
        return true;
    if (keys.GetName(m_nKey - 1).isEmpty()) {
        error = QStringLiteral("F%1 has no name in this driver; nothing sent").arg(m_nKey);
        return false;
    }
    comm.SendCommand(keys.GetCommand(m_nKey - 1));
    return true;
}

QString CLineOptions::InProgramFolder(const QString& name)
{
    return QDir(CProgramFolder::Path()).filePath(name);
}

QString CLineOptions::Describe(const CCommParameter& parameters)
{
    return QStringLiteral("%1 at %2 baud, %3 data bits, parity %4, %5 stop bit%6")
        .arg(QString::fromLocal8Bit(parameters.m_strConnector))
        .arg(parameters.m_nBaudRate)
        .arg(parameters.m_nDataBits)
        .arg(CLineSettingsText::ParityToString(parameters.m_cParity))
        .arg(parameters.m_nStopBits)
        .arg(parameters.m_nStopBits == 1 ? QString() : QStringLiteral("s"));
}
