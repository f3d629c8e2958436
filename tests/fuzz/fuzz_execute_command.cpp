// Runs one script command text on one input string, and the control-code
// conversions, on arbitrary bytes (where a string starts is left to the
// pipeline harness). Input layout: the first byte is the length of the
// command text, the command text follows, the rest is the string the
// command works on.
#include "CParse.h"
#include "CScript.h"

#include <cstdint>
#include <cstdlib>
#include <stdexcept>

namespace {

void Check(bool condition)
{
    if (!condition)
        std::abort();
}

void CheckExecute(const QByteArray& command, const QByteArray& input)
{
    const CScript script;
    QByteArray output = input;
    try {
        Check(script.ExecuteCommand(command, input, output) == 1);
    } catch (const std::invalid_argument&) {
        // Only ChangeCharacter fails, and it leaves the output as it was.
        Check(command.startsWith("ChangeCharacter("));
        Check(output == input);
        return;
    }
    if (!command.contains('('))
        Check(output == input);
    // Growth is bounded: a negative count repeats at most the whole string,
    // ChangeSpaces puts at most one replacement per input byte.
    const qint64 bound = 2 * qint64(input.size()) + 1 + qint64(input.size()) * command.size();
    Check(output.size() <= bound);
}

void CheckDecode(const QByteArray& text)
{
    QByteArray decoded = text;
    CParse().DecodeControlCodes(decoded);
    Check(decoded.size() <= text.size());
    Check(!decoded.contains('\0'));
}

void CheckRoundTrip(QByteArray text)
{
    text.replace('<', "");
    text.replace('\0', "");
    QByteArray coded = text;
    CParse().EncodeControlCodes(coded);
    for (const char byte : coded)
        Check(static_cast<unsigned char>(byte) >= 32);
    CParse().DecodeControlCodes(coded);
    Check(coded == text);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    if (size == 0)
        return 0;
    const QByteArray all(reinterpret_cast<const char*>(data), qsizetype(size));
    const qsizetype commandLength = qMin<qsizetype>(static_cast<unsigned char>(all.at(0)),
                                                    all.size() - 1);
    const QByteArray command = all.mid(1, commandLength);
    const QByteArray input = all.mid(1 + commandLength);
    CheckExecute(command, input);
    CheckDecode(all);
    CheckRoundTrip(input);
    return 0;
}
