#include "CDeviceControlBlock.h"

#include "CCommParameter.h"

namespace {

struct FlowFlags
{
    bool ctsFlow;
    bool xonXoff;
    std::uint32_t rtsControl;
};

// Index = flow control code; any other code is "none". Dtr/Dsr (3) gives the
// RTS/CTS handshake together with XON/XOFF and no DSR flow, as the drivers
// made for this program have always had it.
constexpr FlowFlags FlowTable[] = {
    {false, false, CDeviceControlBlock::RtsEnable},
    {false, true, CDeviceControlBlock::RtsEnable},
    {true, false, CDeviceControlBlock::RtsHandshake},
    {true, true, CDeviceControlBlock::RtsHandshake},
};

int ParityCode(int letter)
{
    switch (letter) {
    case 'N': return CDeviceControlBlock::NoParity;
    case 'O': return CDeviceControlBlock::OddParity;
    case 'E': return CDeviceControlBlock::EvenParity;
    case 'M': return CDeviceControlBlock::MarkParity;
    case 'S': return CDeviceControlBlock::SpaceParity;
    default: return -1;
    }
}

} // namespace

void CDeviceControlBlock::ApplyLineSettings(const CCommParameter& parameters)
{
    BaudRate = std::uint32_t(parameters.m_nBaudRate);
    ByteSize = std::uint8_t(parameters.m_nDataBits);
    if (const int parity = ParityCode(parameters.m_cParity); parity >= 0)
        Parity = std::uint8_t(parity);
    if (parameters.m_nStopBits == 1)
        StopBits = OneStopBit;
    else if (parameters.m_nStopBits == 2)
        StopBits = TwoStopBits;
    fBinary = 1;
    fParity = 1;
    // One fifth and four fifths of the input queue.
    XonLim = InputQueueSize / 5;
    XoffLim = InputQueueSize * 4 / 5;
    XonChar = Xon;
    XoffChar = Xoff;

    const int flow = parameters.m_nFlowControl;
    const FlowFlags& flags = flow >= 0 && flow <= 3 ? FlowTable[flow] : FlowTable[0];
    fOutxCtsFlow = flags.ctsFlow ? 1 : 0;
    fOutxDsrFlow = 0;
    fDtrControl = DtrEnable;
    fOutX = flags.xonXoff ? 1 : 0;
    fInX = flags.xonXoff ? 1 : 0;
    fRtsControl = flags.rtsControl;
}
