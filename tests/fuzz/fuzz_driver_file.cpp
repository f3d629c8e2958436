// Reads a whole instrument driver (.tbb) from the fuzz input through the
// driver file's load path, then checks that what was read round-trips:
// storing it and loading the stored bytes gives the same bytes again.

#include "CDriverFile.h"

#include <QBuffer>
#include <QByteArray>

#include <cstdint>
#include <cstdio>
#include <cstdlib>

namespace {

QByteArray Store(CDriverFile& file)
{
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    if (!file.Store(buffer, "fuzz.tbb").IsOk()) {
        fprintf(stderr, "storing into memory failed\n");
        abort();
    }
    return bytes;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    QByteArray input(reinterpret_cast<const char*>(data), qsizetype(size));
    QBuffer buffer(&input);
    buffer.open(QIODevice::ReadOnly);
    CDriverFile file;
    const CFileResult loaded = file.Load(buffer, "fuzz.tbb");
    if (!loaded.IsOk() && (loaded.GetOffset() < 0 || loaded.GetOffset() > qint64(size))) {
        fprintf(stderr, "damage reported outside the input: %s\n", qPrintable(loaded.Message()));
        abort();
    }

    // Whatever was read, complete or not, is a driver the program can store.
    const QByteArray stored = Store(file);
    QByteArray storedCopy = stored;
    QBuffer again(&storedCopy);
    again.open(QIODevice::ReadOnly);
    CDriverFile reread;
    const CFileResult reloaded = reread.Load(again, "stored.tbb");
    if (!reloaded.IsOk()) {
        fprintf(stderr, "stored driver does not load: %s\n", qPrintable(reloaded.Message()));
        abort();
    }
    if (Store(reread) != stored) {
        fprintf(stderr, "stored driver changes on the second round trip\n");
        abort();
    }
    return 0;
}
