#include "CScript.h"

#include "CParse.h"
#include "CScriptCommand.h"

#include <stdexcept>

namespace {

int SignedByte(char byte)
{
    return int(static_cast<signed char>(byte));
}

QByteArray Decoded(QByteArray text)
{
    CParse().DecodeControlCodes(text);
    return text;
}

} // namespace

int CScript::ExecuteCommand(const QByteArray& command, const QByteArray& input, QByteArray& output) const
{
    return CScriptCommand::Execute(command, input, output);
}

bool CScript::MatchStart(int c, int& startChar, int& endChar, int& index) const
{
    const QByteArray endOfString = Decoded(m_strEndOfString);
    // A setting that decodes to nothing has no last byte: endChar stays.
    if (!endOfString.isEmpty())
        endChar = SignedByte(endOfString.back());
    index = -1;
    for (int i = 0; i < m_InputStrings.size(); ++i) {
        const QByteArray input = Decoded(m_InputStrings.at(i));
        if (input.isEmpty())
            continue;
        const int first = SignedByte(input.front());
        // Bytes are compared as bytes: a caller passing 176 instead of -80
        // for a degree sign still matches.
        if ((first & 0xFF) == (c & 0xFF) || first == '~') {
            index = i;
            startChar = first;
            if (endOfString.isEmpty())
                endChar = SignedByte(input.back());
            return true;
        }
        if (endOfString.isEmpty())
            endChar = SignedByte(input.back());
    }
    return false;
}

QByteArray CScript::GetInputString(int i) const
{
    if (i < 0 || i >= m_InputStrings.size())
        throw std::invalid_argument("input string index out of range");
    return m_InputStrings.at(i);
}

int CScript::GetCommandCount(int seq) const
{
    if (seq < 0 || seq >= m_Sequences.size() || !m_Sequences.at(seq))
        throw std::invalid_argument("sequence index out of range");
    return int(m_Sequences.at(seq)->size());
}

QByteArray CScript::GetCommand(int seq, int i) const
{
    if (i < 0 || i >= GetCommandCount(seq))
        throw std::invalid_argument("command index out of range");
    return m_Sequences.at(seq)->at(i);
}

void CScript::DeleteContents()
{
    m_InputStrings.clear();
    m_Sequences.clear();
}

void CScript::DropSequencesWhenFirstAbsent()
{
    if (!m_Sequences.isEmpty() && !m_Sequences.front())
        m_Sequences.clear();
}

// Block: switch (32 bits), end of string, input strings (count + strings),
// sequences (count + "CStringArray" objects). The input strings come first
// although the sequences are declared first.
void CScript::SerializeFields(CArchive& ar)
{
    if (ar.IsStoring()) {
        ar.WriteDWord(quint32(m_bRegistered));
        ar.WriteString(m_strEndOfString);
        ar.WriteCount(quint32(m_InputStrings.size()));
        for (const QByteArray& input : m_InputStrings)
            ar.WriteString(input);
        ar.WriteCount(quint32(m_Sequences.size()));
        for (const auto& sequence : m_Sequences)
            ar.WriteStringArray(sequence);
        DropSequencesWhenFirstAbsent();
        return;
    }
    m_bRegistered = int(ar.ReadDWord());
    m_strEndOfString = ar.ReadString();
    const quint32 inputCount = ar.ReadCount();
    QByteArrayList inputs;
    for (quint32 i = 0; i < inputCount; ++i)
        inputs.append(ar.ReadString());
    m_InputStrings = inputs;
    // A null tag takes two bytes: the smallest possible sequence object.
    const quint32 sequenceCount = ar.ReadCount(2);
    QList<std::shared_ptr<CStringArray>> sequences;
    for (quint32 i = 0; i < sequenceCount; ++i)
        sequences.append(ar.ReadStringArray());
    m_Sequences = sequences;
    DropSequencesWhenFirstAbsent();
}
