#include "CRecord.h"

#include "CArchive.h"

void CRecord::Serialize(CArchive& ar)
{
    try {
        SerializeFields(ar);
    } catch (const CArchiveException& error) {
        ar.Abort(error);
    }
}
