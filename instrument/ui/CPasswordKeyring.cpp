#include "CPasswordKeyring.h"

#include <qt6keychain/keychain.h>

namespace {

const QString Service = QStringLiteral("Orvalis");

QString Key(const QString& driverName)
{
    return QStringLiteral("mqtt/") + driverName;
}

} // namespace

void CPasswordKeyring::Read(const QString& driverName, QObject* context, ReadDone done)
{
    auto* job = new QKeychain::ReadPasswordJob(Service);
    job->setKey(Key(driverName));
    QObject::connect(job, &QKeychain::Job::finished, context, [job, done = std::move(done)] {
        switch (job->error()) {
        case QKeychain::NoError:
            done(Result::Found, job->textData(), QString());
            return;
        case QKeychain::EntryNotFound:
            done(Result::NotFound, QString(), QString());
            return;
        default:
            done(Result::NoKeyring, QString(), job->errorString());
        }
    });
    job->start();
}

void CPasswordKeyring::Write(const QString& driverName, const QString& password, QObject* context, WriteDone done)
{
    QKeychain::Job* job = nullptr;
    if (password.isEmpty()) {
        auto* remove = new QKeychain::DeletePasswordJob(Service);
        job = remove;
    } else {
        auto* write = new QKeychain::WritePasswordJob(Service);
        write->setTextData(password);
        job = write;
    }
    job->setKey(Key(driverName));
    QObject::connect(job, &QKeychain::Job::finished, context, [job, done = std::move(done)] {
        const bool ok = job->error() == QKeychain::NoError || job->error() == QKeychain::EntryNotFound;
        done(ok, ok ? QString() : job->errorString());
    });
    job->start();
}
