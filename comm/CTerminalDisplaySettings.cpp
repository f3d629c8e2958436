#include "CTerminalDisplaySettings.h"

#include "CTerminalParameter.h"

namespace {

constexpr int ScrollbackWithScrollbar = 20;

} // namespace

CTerminalDisplaySettings CTerminalDisplaySettings::FromTerminalParameter(const CTerminalParameter& terminal)
{
    CTerminalDisplaySettings settings;
    settings.m_nEmulation = terminal.m_nEmulation;
    settings.m_nRows = terminal.m_nRows;
    settings.m_nColumns = terminal.m_nColumns;
    settings.m_nScrollbackRows = terminal.m_bScrollbar ? ScrollbackWithScrollbar : 0;
    settings.m_bLocalEcho = terminal.m_bLocalEcho != 0;
    settings.m_nBlockCursor = terminal.m_bBlockCursor;
    return settings;
}

QList<CTerminalDisplaySettings::Property> CTerminalDisplaySettings::Properties() const
{
    // Rows, columns and the scroll-back are 16-bit properties, the rest 32-bit.
    return {
        {IdFixed37, qint32(0)},
        {IdFixed39, qint32(3)},
        {IdEmulation, qint32(m_nEmulation)},
        {IdEmulation2, qint32(m_nEmulation)},
        {IdRows, QVariant::fromValue(qint16(m_nRows))},
        {IdColumns, QVariant::fromValue(qint16(m_nColumns))},
        {IdFixed38, true},
        {IdScrollbackRows, QVariant::fromValue(qint16(m_nScrollbackRows))},
        {IdLocalEcho, m_bLocalEcho},
        {IdBlockCursor, qint32(m_nBlockCursor)},
        {IdFont, m_strFont},
        {IdFixed33, qint32(0)},
        {IdFixed32, qint32(7)},
        {IdInput, m_strInitialInput},
    };
}
