#pragma once

// Helpers shared by the archive and record tests: bytes from hex text,
// a record stored into bytes, a record loaded from bytes.

#include "CArchive.h"
#include "CRecord.h"
#include "TestIncludes.h"

// "01 00 'AB' FF" -> 01 00 41 42 FF: hex pairs, quoted parts as their bytes.
inline QByteArray Bytes(const char* text)
{
    QByteArray result;
    QByteArray hex;
    const QByteArray source(text);
    for (qsizetype i = 0; i < source.size(); ++i) {
        const char c = source.at(i);
        if (c == '\'') {
            result += QByteArray::fromHex(hex);
            hex.clear();
            const qsizetype end = source.indexOf('\'', i + 1);
            result += source.mid(i + 1, end - i - 1);
            i = end;
        } else if (c != ' ' && c != '|') {
            hex += c;
        }
    }
    return result + QByteArray::fromHex(hex);
}

inline QByteArray Stored(CRecord& record)
{
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    CArchive ar(&buffer, CArchive::store);
    record.Serialize(ar);
    return bytes;
}

struct LoadOutcome
{
    bool closed = false;
    qint64 errorOffset = -1;
    QString errorReason;
    qint64 position = 0; // bytes consumed
};

inline LoadOutcome Loaded(const QByteArray& bytes, CRecord& record)
{
    QByteArray copy = bytes;
    QBuffer buffer(&copy);
    buffer.open(QIODevice::ReadOnly);
    CArchive ar(&buffer, CArchive::load);
    record.Serialize(ar);
    return {ar.IsClosed(), ar.ErrorOffset(), ar.ErrorReason(), ar.Position()};
}
