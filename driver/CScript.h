#pragma once

#include "CArchive.h"
#include "CRecord.h"

#include <QByteArray>
#include <QByteArrayList>
#include <QList>

#include <memory>

// The script of an instrument driver: registered input strings (control-code
// notation), one command sequence per input string, the end-of-string
// setting and the "Registered Input Strings" switch.
class CScript : public CRecord
{
public:
    // Runs one command text on input and writes the result to output.
    // Always 1; ChangeCharacter with a position outside the string throws
    // std::invalid_argument and leaves output as it was.
    int ExecuteCommand(const QByteArray& command, const QByteArray& input, QByteArray& output) const;

    // Recognises the start of a received string by its first byte c (a
    // sign-extended byte; its unsigned value 0..255 is accepted too). Sets
    // index (-1 when nothing matched), startChar and endChar (also
    // sign-extended bytes).
    bool MatchStart(int c, int& startChar, int& endChar, int& index) const;

    QByteArray GetEndOfString() const { return m_strEndOfString; }
    QByteArray GetInputString(int i) const;     // throws std::invalid_argument
    QByteArray GetCommand(int seq, int i) const; // throws std::invalid_argument
    int GetInputStringCount() const { return int(m_InputStrings.size()); }
    int GetSequenceCount() const { return int(m_Sequences.size()); }
    int GetCommandCount(int seq) const;          // throws std::invalid_argument

    void DeleteContents();

    int m_bRegistered = 0;
    QByteArray m_strEndOfString;
    // Entry i belongs to input string i; a null entry is an absent sequence
    // of the file. The same object in two entries is archived once.
    QList<std::shared_ptr<CStringArray>> m_Sequences;
    QByteArrayList m_InputStrings;

protected:
    void SerializeFields(CArchive& ar) override;

private:
    void DropSequencesWhenFirstAbsent();
};
