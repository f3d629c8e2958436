// slow-driver-writer PATH: writes a driver of about 52 KB to PATH, pausing
// before each piece and saying so on standard output, so that a test can
// kill it in the middle of the write.

#include "CDriverFile.h"
#include "CFileReplacer.h"

#include <QCoreApplication>

#include <cstdio>
#include <thread>

int main(int argc, char* argv[])
{
    QCoreApplication app(argc, argv);
    if (argc != 2)
        return 2;
    CDriverFile driver;
    driver.m_Driver.m_strName = "Large";
    driver.m_FunctionKeys.AppendEmptyKeys();
    for (int i = 0; i < 1000; ++i)
        driver.m_Script.m_InputStrings.append(QByteArray(48, char('A' + i % 26)));
    CFileReplacer::SetWriteHook([](qint64 offset) {
        std::printf("piece at %lld\n", static_cast<long long>(offset));
        std::fflush(stdout);
        std::this_thread::sleep_for(std::chrono::milliseconds(200));
        return 0;
    });
    return driver.Store(QString::fromLocal8Bit(argv[1])).IsOk() ? 0 : 1;
}
