#include "CScriptCommand.h"

#include "CParse.h"
#include "ResourceIds.h"

#include <array>
#include <climits>
#include <stdexcept>
#include <string>

namespace {

enum Command {
    ChangeCharacter,
    ChangeCharacters,
    ChangeSpaces,
    InsertCharacter,
    RemoveCharacters,
    SkipCharacters,
    TrimAll,
    TrimLeft,
    CommandCount
};

constexpr int kSlotCount = 4;
constexpr char kEsc = 27;

// The command names are the first parts of the command table entries.
const std::array<QByteArray, CommandCount>& CommandNames()
{
    static const std::array<QByteArray, CommandCount> names = [] {
        std::array<QByteArray, CommandCount> result;
        const CParse parse;
        for (int i = 0; i < CommandCount; ++i) {
            QByteArray unused;
            parse.SplitResource(IDS_CMD_FIRST + i, result[i], unused);
        }
        return result;
    }();
    return names;
}

int FindCommand(const QByteArray& name)
{
    const auto& names = CommandNames();
    for (int i = 0; i < CommandCount; ++i) {
        if (names[i] == name)
            return i;
    }
    return -1;
}

// Splits like strtok: delimiters before a token are skipped, and the one
// that ends a token is consumed with it, so the delimiter set may change
// from one token to the next.
class CTokenizer
{
public:
    explicit CTokenizer(const QByteArray& text) : m_text(text) {}

    bool Next(const QByteArray& delimiters, QByteArray& token)
    {
        while (m_pos < m_text.size() && delimiters.contains(m_text.at(m_pos)))
            ++m_pos;
        if (m_pos >= m_text.size())
            return false;
        const qsizetype start = m_pos;
        while (m_pos < m_text.size() && !delimiters.contains(m_text.at(m_pos)))
            ++m_pos;
        token = m_text.mid(start, m_pos - start);
        if (m_pos < m_text.size())
            ++m_pos;
        return true;
    }

private:
    QByteArray m_text;
    qsizetype m_pos = 0;
};

// Decimal with optional sign; stops at the first non-digit; no digits is 0.
// Values beyond the int range saturate.
int ReadInteger(const QByteArray& token)
{
    qsizetype i = 0;
    bool negative = false;
    if (i < token.size() && (token.at(i) == '+' || token.at(i) == '-'))
        negative = token.at(i++) == '-';
    qint64 value = 0;
    for (; i < token.size() && token.at(i) >= '0' && token.at(i) <= '9'; ++i) {
        value = value * 10 + (token.at(i) - '0');
        if (value > qint64(INT_MAX) + 1)
            value = qint64(INT_MAX) + 1;
    }
    if (negative)
        value = -value;
    return int(qBound(qint64(INT_MIN), value, qint64(INT_MAX)));
}

QByteArray Decoded(QByteArray text)
{
    CParse().DecodeControlCodes(text);
    return text;
}

// A character argument: the signed value of the first decoded byte, or 0.
int ReadCharacter(const QByteArray& token)
{
    const QByteArray decoded = Decoded(token);
    return decoded.isEmpty() ? 0 : int(static_cast<signed char>(decoded.front()));
}

// First n bytes: empty for n < 1, everything for n >= L.
QByteArray First(const QByteArray& s, qint64 n)
{
    return n < 1 ? QByteArray() : s.left(qsizetype(qMin<qint64>(n, s.size())));
}

// Last n bytes: empty for n < 1, everything for n >= L.
QByteArray Last(const QByteArray& s, qint64 n)
{
    return n < 1 ? QByteArray() : s.right(qsizetype(qMin<qint64>(n, s.size())));
}

QByteArray RemoveAt(const QByteArray& s, qint64 position, qint64 count)
{
    return First(s, position) + Last(s, qint64(s.size()) - position - count);
}

// Removes count bytes at every ESC, the ESC included. Removing at the first
// ESC leaves everything before it without ESC, so one forward pass gives the
// same result as searching again from the start after each removal.
QByteArray RemoveEscapeSequences(const QByteArray& s, qint64 count)
{
    // A count below 1 would never remove the ESC it finds.
    if (count < 1)
        return s;
    QByteArray result;
    qint64 pos = 0;
    while (pos < s.size()) {
        const qsizetype esc = s.indexOf(kEsc, qsizetype(pos));
        if (esc < 0) {
            result += s.mid(qsizetype(pos));
            break;
        }
        result += s.mid(qsizetype(pos), esc - qsizetype(pos));
        pos = qint64(esc) + count;
    }
    return result;
}

QByteArray ReplaceSpaceRuns(const QByteArray& s, const QByteArray& replacement)
{
    QByteArray result;
    result.reserve(s.size());
    bool inRun = false;
    for (const char byte : s) {
        if (byte == ' ') {
            if (!inRun)
                result += replacement;
            inRun = true;
            continue;
        }
        inRun = false;
        result += byte;
    }
    return result;
}

QByteArray WithoutLeadingWhiteSpace(const QByteArray& s)
{
    static const QByteArray white(" \t\n\v\f\r");
    qsizetype start = 0;
    while (start < s.size() && white.contains(s.at(start)))
        ++start;
    return s.mid(start);
}

struct CArguments
{
    std::array<int, kSlotCount> slots {};
    int filled = 0;
    QByteArray text; // NewString of ChangeSpaces

    void Fill(int value)
    {
        // Surplus arguments are ignored.
        if (filled < kSlotCount)
            slots[filled++] = value;
    }
};

CArguments ReadArguments(int command, const QByteArray& argumentText)
{
    CArguments args;
    CTokenizer tokens(argumentText);
    QByteArray delimiters(" ,)");
    QByteArray token;
    if (!tokens.Next(delimiters, token))
        return args;
    switch (command) {
    case ChangeSpaces:
        args.text = Decoded(token);
        return args;
    case ChangeCharacters:
        args.Fill(ReadCharacter(token));
        // Its second argument may be a plain ",".
        delimiters = QByteArray(" )");
        break;
    default:
        args.Fill(ReadInteger(token));
        break;
    }
    while (tokens.Next(delimiters, token)) {
        switch (command) {
        case ChangeCharacter:
        case ChangeCharacters:
        case InsertCharacter:
            args.Fill(ReadCharacter(token));
            break;
        case RemoveCharacters:
            args.Fill(ReadInteger(token));
            break;
        default:
            return args;
        }
    }
    return args;
}

QByteArray ChangeCharacterAt(const QByteArray& s, qint64 position, char character)
{
    if (position < 0 || position >= s.size())
        throw std::invalid_argument("ChangeCharacter: position " + std::to_string(position)
                                    + " is outside the string of length "
                                    + std::to_string(s.size()));
    QByteArray result = s;
    result[qsizetype(position)] = character;
    return result;
}

QByteArray Replaced(QByteArray s, char from, char to)
{
    return s.replace(from, to);
}

QByteArray WithoutSpaces(QByteArray s)
{
    return s.replace(" ", "");
}

// The result of one command on s; throws before anything is written.
QByteArray Perform(int command, const CArguments& args, const QByteArray& s)
{
    const qint64 length = s.size();
    const qint64 slot0 = args.slots[0];
    const qint64 slot1 = args.slots[1];
    switch (command) {
    case ChangeCharacter:
        return ChangeCharacterAt(s, slot0, char(slot1));
    case ChangeCharacters:
        return Replaced(s, char(slot0), char(slot1));
    case ChangeSpaces:
        return ReplaceSpaceRuns(s, args.text);
    case InsertCharacter:
        return First(s, slot0) + char(slot1) + Last(s, length - slot0);
    case RemoveCharacters:
        return slot0 == kEsc ? RemoveEscapeSequences(s, slot1) : RemoveAt(s, slot0, slot1);
    case SkipCharacters:
        return Last(s, length - slot0);
    case TrimAll:
        return WithoutSpaces(s);
    default:
        return WithoutLeadingWhiteSpace(s);
    }
}

struct CParsedCommand
{
    QByteArray command;
    int id = -1; // -1: not a command, the output stays as it is
    CArguments args;
};

CParsedCommand Parse(const QByteArray& command)
{
    CParsedCommand parsed;
    parsed.command = command;
    const qsizetype open = command.indexOf('(');
    if (open < 0)
        return parsed;
    parsed.id = FindCommand(command.left(open));
    if (parsed.id >= 0)
        parsed.args = ReadArguments(parsed.id, command.mid(open + 1));
    return parsed;
}

// A sequence runs the same few command texts on every received string, so
// the parsed form of the texts used last is kept (per thread).
const CParsedCommand& Parsed(const QByteArray& command)
{
    constexpr std::size_t Kept = 16;
    thread_local std::array<CParsedCommand, Kept> kept;
    thread_local std::size_t next = 0;
    for (const CParsedCommand& entry : kept) {
        if (entry.command == command && !entry.command.isNull())
            return entry;
    }
    CParsedCommand& entry = kept[next];
    next = (next + 1) % Kept;
    entry = Parse(command);
    return entry;
}

} // namespace

int CScriptCommand::Execute(const QByteArray& command, const QByteArray& input, QByteArray& output)
{
    const CParsedCommand& parsed = Parsed(command);
    if (parsed.id < 0)
        return 1;
    output = Perform(parsed.id, parsed.args, input);
    return 1;
}
