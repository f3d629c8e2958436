// Runs arbitrary received bytes through the terminal screen of each
// emulation. Input layout: byte 0 the emulation (value modulo 6: 0..4, and 5
// for a number outside them), byte 1 the block size, byte 2 the screen size
// (bit 0 the smallest, else 80 × 24), byte 3 bit 0 the scroll-back; the rest
// is the received stream.
//
// Checks: nothing crashes, the cursor stays on the screen, the scroll-back
// stays within its limit, and the screen, cursor and answers do not depend
// on how the stream was cut into blocks. The keys of the emulation are asked
// for at the end.
#include "CByteOutput.h"
#include "CTerminalDisplaySettings.h"
#include "CTerminalScreen.h"

#include <cstdint>
#include <cstdlib>

namespace {

void Check(bool condition)
{
    if (!condition)
        std::abort();
}

class CAnswers : public CByteOutput
{
public:
    void SetOutput(const QByteArray& bytes) override { m_bytes += bytes; }
    QByteArray m_bytes;
};

struct Outcome
{
    QStringList rows;
    QPoint cursor;
    int scrollback = 0;
    QByteArray answers;
};

Outcome Run(const CTerminalDisplaySettings& settings, const QByteArray& stream, qsizetype blockSize)
{
    CTerminalScreen screen;
    CAnswers answers;
    screen.SetReplyOutput(&answers);
    screen.ApplySettings(settings);
    for (qsizetype at = 0; at < stream.size(); at += blockSize)
        screen.Write(stream.mid(at, blockSize));
    const QPoint cursor = screen.CursorPosition();
    Check(cursor.x() >= 0 && cursor.x() <= screen.Columns() && cursor.y() >= 0 && cursor.y() < screen.Rows());
    Check(screen.ScrollbackCount() <= CTerminalScreen::ScrollbackLimit);
    Check(screen.LineCount() == screen.ScrollbackCount() + screen.Rows());
    for (const int key : {int(Qt::Key_Up), int(Qt::Key_F9), int(Qt::Key_Delete), int(Qt::Key_5)})
        screen.KeySequence(key, key == Qt::Key_5 ? Qt::KeypadModifier : Qt::NoModifier);
    return {screen.ScreenText(), cursor, screen.ScrollbackCount(), answers.m_bytes};
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    if (size < 4)
        return 0;
    CTerminalDisplaySettings settings;
    settings.m_nEmulation = data[0] % 6 == 5 ? 4242 : data[0] % 6;
    const qsizetype blockSize = 1 + data[1] % 64;
    settings.m_nRows = (data[2] & 1) ? 1 : 24;
    settings.m_nColumns = (data[2] & 1) ? 1 : 80;
    settings.m_nScrollbackRows = (data[3] & 1) ? 20 : 0;
    const QByteArray stream(reinterpret_cast<const char*>(data + 4), qsizetype(size - 4));

    const Outcome whole = Run(settings, stream, qMax<qsizetype>(1, stream.size()));
    const Outcome cut = Run(settings, stream, blockSize);
    Check(whole.rows == cut.rows);
    Check(whole.cursor == cut.cursor);
    Check(whole.scrollback == cut.scrollback);
    Check(whole.answers == cut.answers);
    return 0;
}
