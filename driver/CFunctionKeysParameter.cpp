#include "CFunctionKeysParameter.h"

#include "CArchive.h"

namespace {

QByteArray Element(const QByteArrayList& list, int i)
{
    return i >= 0 && i < list.size() ? list.at(i) : QByteArray();
}

void SerializeList(CArchive& ar, QByteArrayList& list)
{
    if (ar.IsStoring()) {
        ar.WriteCount(quint32(list.size()));
        for (const QByteArray& text : list)
            ar.WriteString(text);
        return;
    }
    const quint32 count = ar.ReadCount();
    QByteArrayList read;
    for (quint32 i = 0; i < count; ++i)
        read.append(ar.ReadString());
    list = read;
}

} // namespace

QByteArray CFunctionKeysParameter::GetName(int i) const
{
    return Element(m_Names, i);
}

QByteArray CFunctionKeysParameter::GetCommand(int i) const
{
    return Element(m_Commands, i);
}

void CFunctionKeysParameter::AppendEmptyKeys()
{
    for (int i = 0; i < KeyCount; ++i) {
        m_Names.append(QByteArray());
        m_Commands.append(QByteArray());
    }
}

// Block: show-keys switch (32 bits), names (count + strings), commands.
void CFunctionKeysParameter::SerializeFields(CArchive& ar)
{
    if (ar.IsStoring())
        ar.WriteDWord(quint32(m_bShowKeys));
    else
        m_bShowKeys = int(ar.ReadDWord());
    SerializeList(ar, m_Names);
    SerializeList(ar, m_Commands);
}
