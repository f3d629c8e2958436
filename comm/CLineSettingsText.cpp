#include "CLineSettingsText.h"

#include "CCommParameter.h"

#include <array>

namespace {

struct ParityName
{
    char letter;
    const char* word;
};

constexpr std::array<ParityName, 5> Parities = {{
    {'N', "None"}, {'O', "Odd"}, {'E', "Even"}, {'M', "Mark"}, {'S', "Space"},
}};

// Index = the stored flow control code.
constexpr std::array<const char*, 4> FlowControls = {"None", "Xon/Xoff", "Rts/Cts", "Dtr/Dsr"};

} // namespace

QString CLineSettingsText::ParityToString(int parity)
{
    for (const ParityName& name : Parities) {
        if (name.letter == parity)
            return QString(QLatin1Char(name.letter));
    }
    return QString();
}

int CLineSettingsText::ParseParity(const QString& text)
{
    for (const ParityName& name : Parities) {
        if (text.compare(QLatin1Char(name.letter), Qt::CaseInsensitive) == 0 ||
            text.compare(QLatin1String(name.word), Qt::CaseInsensitive) == 0)
            return name.letter;
    }
    return -1;
}

QString CLineSettingsText::FlowControlToString(int flowControl)
{
    if (flowControl < 0 || flowControl >= int(FlowControls.size()))
        return QString();
    return QLatin1String(FlowControls[size_t(flowControl)]);
}

int CLineSettingsText::ParseFlowControl(const QString& text)
{
    for (size_t i = 0; i < FlowControls.size(); ++i) {
        if (text.compare(QLatin1String(FlowControls[i]), Qt::CaseInsensitive) == 0)
            return int(i);
    }
    return -1;
}

QString CLineSettingsText::Summary(const CCommParameter& parameters)
{
    QString parity = ParityToString(parameters.m_cParity);
    if (parity.isEmpty())
        parity = QStringLiteral("?");
    QString flow = FlowControlToString(parameters.m_nFlowControl);
    if (flow.isEmpty())
        flow = QStringLiteral("?");
    return QStringLiteral("%1 %2%3%4 %5")
        .arg(parameters.m_nBaudRate)
        .arg(parameters.m_nDataBits)
        .arg(parity)
        .arg(parameters.m_nStopBits)
        .arg(flow);
}

QString CLineSettingsText::ShortConnector(const QString& connector)
{
    if (connector.size() <= ShortConnectorLength)
        return connector;
    const int head = ShortConnectorLength / 3;
    const int tail = ShortConnectorLength - head - 1;
    return connector.left(head) + QChar(0x2026) + connector.right(tail);
}
