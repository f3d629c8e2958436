#include "CNameCommand.h"

#include "CDriverArgument.h"
#include "CDriverFile.h"
#include "CDriverFileName.h"

#include <QTextStream>

int CNameCommand::Run(const QStringList& arguments, QTextStream& out, QTextStream& err)
{
    if (arguments.size() != 2 || arguments.at(1).isEmpty()) {
        err << "usage: orvalis-cli set-name DRIVER NAME\n";
        return ExitUsage;
    }
    const QString& path = arguments.at(0);
    CDriverFile driver;
    QString error;
    if (!CDriverArgument::Load(path, driver, error)) {
        err << error << "\n";
        return ExitFailed;
    }
    const QByteArray name = arguments.at(1).toLocal8Bit();
    driver.m_Driver.m_strName = name;
    driver.m_Driver.m_strFileName = CDriverFileName::ForName(name);
    const CFileResult stored = driver.Store(path);
    if (!stored.IsOk()) {
        err << stored.Message() << "\n";
        return ExitFailed;
    }
    out << path << ": name " << arguments.at(1) << ", file name " << QString::fromLocal8Bit(driver.m_Driver.m_strFileName)
        << "\n";
    return ExitOk;
}
