#include "CConnectorCommand.h"

#include "CConnectorName.h"
#include "CDriverArgument.h"
#include "CDriverFile.h"

#include <QTextStream>

int CConnectorCommand::Run(const QStringList& arguments, QTextStream& out, QTextStream& err)
{
    if (arguments.size() != 2) {
        err << "usage: orvalis-cli set-connector DRIVER CONNECTOR\n";
        return ExitUsage;
    }
    const QString& path = arguments.at(0);
    const CConnectorName connector = CConnectorName::Parse(arguments.at(1).toLocal8Bit());
    if (connector.GetKind() == CConnectorName::Invalid) {
        err << CConnectorName::BadNameMessage(arguments.at(1)) << "\n";
        return ExitUsage;
    }
    CDriverFile driver;
    QString error;
    if (!CDriverArgument::Load(path, driver, error)) {
        err << error << "\n";
        return ExitFailed;
    }
    // -1: the name is the connector.
    driver.m_Comm.m_nConnector = -1;
    driver.m_Comm.m_strConnector = connector.ToString();
    const CFileResult stored = driver.Store(path);
    if (!stored.IsOk()) {
        err << stored.Message() << "\n";
        return ExitFailed;
    }
    out << path << ": connector " << QString::fromLocal8Bit(driver.m_Comm.m_strConnector) << "\n";
    return ExitOk;
}
