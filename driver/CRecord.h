#pragma once

class CArchive;

// Base of the serialisable records of the driver files. Serialize() runs the
// record's block and keeps archive errors inside it: fields read before the
// error keep their new values, the archive is closed, nothing is thrown.
class CRecord
{
public:
    virtual ~CRecord() = default;
    void Serialize(CArchive& ar);

protected:
    virtual void SerializeFields(CArchive& ar) = 0;
};
