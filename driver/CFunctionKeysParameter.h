#pragma once

#include "CRecord.h"

#include <QByteArrayList>

// The eight function keys F1..F8: captions and commands (commands hold raw
// bytes, not the control-code notation). Files may hold more than eight
// entries; only 0..7 are used, all are kept.
class CFunctionKeysParameter : public CRecord
{
public:
    static constexpr int KeyCount = 8;

    QByteArray GetName(int i) const;     // "" outside the array
    QByteArray GetCommand(int i) const;  // "" outside the array
    // Appends eight empty names and commands (a new driver, an opened window).
    void AppendEmptyKeys();

    QByteArrayList m_Names;
    QByteArrayList m_Commands;
    int m_bShowKeys = 0;

protected:
    void SerializeFields(CArchive& ar) override;
};
