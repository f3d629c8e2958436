// The line settings' vocabulary: parity and flow-control words, connector
// names, and the device control block they give; why a device cannot be
// opened (permissions, a holder, lock files).

#include "CCommParameter.h"
#include "CConnectorName.h"
#include "CDeviceAccess.h"
#include "CDeviceControlBlock.h"
#include "CLineSettingsText.h"
#include "TestIncludes.h"

#include <cerrno>
#include <cstring>

namespace {

QByteArray Bytes(const CDeviceControlBlock& block)
{
    return QByteArray(reinterpret_cast<const char*>(&block), sizeof block);
}

quint32 FlagWord(const CDeviceControlBlock& block)
{
    quint32 word;
    std::memcpy(&word, reinterpret_cast<const char*>(&block) + 8, 4);
    return word;
}

CDeviceAccess::Facts DeniedNode(const QString& group, bool bListed, bool bNow, unsigned mode = S_IFCHR | 0660)
{
    CDeviceAccess::Facts facts;
    facts.path = "/dev/ttyUSB0";
    facts.error = EACCES;
    facts.bNodeKnown = true;
    facts.mode = mode;
    facts.owner = QStringLiteral("root");
    facts.group = group;
    facts.bGroupIsRoot = group == QLatin1String("root");
    facts.bInGroupListed = bListed;
    facts.bInGroupNow = bNow;
    return facts;
}

CDeviceAccess::Facts BusyNode(const QString& holder, long long pid, bool bSelf)
{
    CDeviceAccess::Facts facts;
    facts.path = "/dev/ttyUSB0";
    facts.error = EBUSY;
    facts.bNodeKnown = true;
    facts.holder = holder;
    facts.holderPid = pid;
    facts.bHolderIsSelf = bSelf;
    return facts;
}
} // namespace

class tst_LineSettings : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    // Words as typed, the code they give and the word written back.
    void words()
    {
        const struct
        {
            QString text;
            int parity;
            QString written;
        } parities[] = {{"o", 'O', "O"}, {"sPaCe", 'S', "S"}, {"none", 'N', "N"}, {"even-ish", -1, ""}};
        for (const auto& row : parities) {
            QCOMPARE(CLineSettingsText::ParseParity(row.text), row.parity);
            QCOMPARE(CLineSettingsText::ParityToString(row.parity), row.written);
        }
        const struct
        {
            QString text;
            int flowControl;
            QString written;
        } flows[] = {{"xon/xoff", 1, "Xon/Xoff"}, {"RTS/CTS", 2, "Rts/Cts"}, {"hardware", -1, ""}};
        for (const auto& row : flows) {
            QCOMPARE(CLineSettingsText::ParseFlowControl(row.text), row.flowControl);
            QCOMPARE(CLineSettingsText::FlowControlToString(row.flowControl), row.written);
        }
    }

    void summary()
    {
        CCommParameter line;
        QCOMPARE(CLineSettingsText::Summary(line), QStringLiteral("9600 8N1 Rts/Cts"));
    }

    // The longest connector is kept whole; one longer keeps its start and its name.
    void shortConnector()
    {
        QCOMPARE(CLineSettingsText::ShortConnector(QStringLiteral("/dev/serial/by-id/ab")),
                 QStringLiteral("/dev/serial/by-id/ab"));
        QCOMPARE(CLineSettingsText::ShortConnector(QStringLiteral("/work/build/demo/balance-sim-tty")),
                 QStringLiteral("/work/\u2026lance-sim-tty"));
    }

    // The kind of a connector name, its device path or serial number, and the
    // name as written back (parsed again it stays).
    void parse()
    {
        using N = CConnectorName;
        const struct
        {
            QByteArray text;
            N::Kind kind;
            QByteArray devicePath, serialNumber, written;
        } rows[] = {
            {"nOnE", N::None, {}, {}, "None"}, // never opens
            // COM ports: any case, up to COM255.
            {"com12", N::ComPort, "/dev/ttyS11", {}, "COM12"},
            {"COM255", N::ComPort, "/dev/ttyS254", {}, "COM255"},
            {"COM256", N::Invalid, {}, {}, "COM256"},
            // An absolute path opens as it stands, a bare name lives below /dev.
            {"/dev/ttyUSB0", N::DevicePath, "/dev/ttyUSB0", {}, "/dev/ttyUSB0"},
            {"ttyACM1", N::DevicePath, "/dev/ttyACM1", {}, "/dev/ttyACM1"},
            // FT or VD anywhere in a name selects the USB converter; the rule is case-sensitive.
            {"XVD99", N::UsbConverter, {}, "XVD99", "XVD99"},
            {"ft12", N::DevicePath, "/dev/ft12", {}, "/dev/ft12"},
            {"../etc/passwd", N::Invalid, {}, {}, "../etc/passwd"}, // a relative path is refused
        };
        for (const auto& row : rows) {
            const CConnectorName name = CConnectorName::Parse(row.text);
            QVERIFY2(name.GetKind() == row.kind && name.ToString() == row.written, row.text);
            QVERIFY2(name.GetDevicePath() == row.devicePath && name.GetSerialNumber() == row.serialNumber,
                     row.text);
            QVERIFY2(name.CanOpen() == (row.kind != N::None && row.kind != N::Invalid), row.text);
            const CConnectorName again = CConnectorName::Parse(name.ToString());
            QVERIFY2(again.GetKind() == row.kind && again.ToString() == row.written, row.text);
        }
    }

    void defaultRecordGivesTheGoldenBlock()
    {
        CDeviceControlBlock block;
        block.ApplyLineSettings(CCommParameter());
        // Length 28, 9600 baud, flags 0x2017 (binary, parity check, CTS flow, DTR
        // enable, RTS handshake), XonLim 6348, XoffLim 25395, 8 data bits, no
        // parity, one stop bit, XON 0x11, XOFF 0x13.
        const QByteArray golden =
            QByteArray::fromHex("1c000000 80250000 17200000 0000 cc18 3363 08 00 00 11 13 00 00 00 0000");
        QCOMPARE(Bytes(block).toHex(' '), golden.toHex(' '));
    }

    // The flag word; flags set before (DSR sensitivity, abort on error) stay.
    void flowControl()
    {
        const struct
        {
            int flow;
            quint32 flags;
        } rows[] = {
            {0, 0x1013u}, // DTR and RTS enabled
            {1, 0x1313u}, // XON/XOFF out and in
            {3, 0x2317u}, // Dtr/Dsr: RTS/CTS with XON/XOFF, no DSR flow
            {9, 0x1013u}, // an unknown code is none
        };
        for (const auto& row : rows) {
            CCommParameter parameters;
            parameters.m_nFlowControl = row.flow;
            CDeviceControlBlock block;
            block.fDsrSensitivity = 1;
            block.fAbortOnError = 1;
            block.ApplyLineSettings(parameters);
            QCOMPARE(FlagWord(block), row.flags | 0x40u | 0x4000u);
        }
    }

    // Parity and stop bits; codes the block does not know keep the block's.
    void characterFormat()
    {
        const struct
        {
            int parity, stopBits, parityCode, stopCode;
        } rows[] = {{'E', 2, 2, 2}, {'M', 1, 3, 0}, {'S', 1, 4, 0}, {'N', 2, 0, 2}, {'e', 3, 2, 1}};
        for (const auto& row : rows) {
            CCommParameter parameters;
            parameters.m_cParity = row.parity;
            parameters.m_nStopBits = row.stopBits;
            CDeviceControlBlock block;
            block.Parity = CDeviceControlBlock::EvenParity;
            block.StopBits = CDeviceControlBlock::OneAndHalfStopBits;
            block.ApplyLineSettings(parameters);
            QVERIFY2(block.Parity == row.parityCode && block.StopBits == row.stopCode,
                     qPrintable(QString::number(row.parity)));
        }
    }

    void text()
    {
        const QString denied = QStringLiteral("Permission denied on /dev/ttyUSB0");
        const QString busy = QStringLiteral("Cannot open /dev/ttyUSB0: Device or resource busy");
        CDeviceAccess::Facts unknown = DeniedNode("dialout", false, false);
        unknown.bNodeKnown = false;
        const struct
        {
            CDeviceAccess::Facts facts;
            QString text;
        } rows[] = {
            // Not in the group that owns the node: its own group, not always dialout.
            {DeniedNode("dialout", false, false), denied + ": your user is not in the group dialout (run: "
                                                           "sudo adduser $USER dialout, then log in again)"},
            // Added to the group, the session older than that.
            {DeniedNode("dialout", true, false), denied +
                                                     ": your user was added to the group dialout after this "
                                                     "session started (log out and log in again)"},
            // No group advice: the group may not write, root's group, in the group all the same.
            {DeniedNode("dialout", false, false, S_IFCHR | 0640),
             denied + " (crw-r-----, owner root, group dialout)"},
            {DeniedNode("root", false, false), denied + " (crw-rw----, owner root, group root)"},
            {unknown, "Cannot open /dev/ttyUSB0: Permission denied"}, // a node that cannot be looked at
            // Busy: held by another program, one without a name, this program, no one known.
            {BusyNode("minicom", 4711, false), busy + " (in use by minicom, process 4711)"},
            {BusyNode("orvalis", 1, true), busy + " (already open in this program)"},
        };
        for (const auto& row : rows)
            QCOMPARE(CDeviceAccess::Text(row.facts), row.text);
    }

    void lockFileNamesItsLivingProcess()
    {
        QTemporaryDir folder;
        QVERIFY(folder.isValid());
        auto write = [&](const char* name, const QByteArray& content) {
            QFile file(folder.filePath(QString::fromLatin1(name)));
            QVERIFY(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
            file.write(content);
        };
        const long long self = getpid();

        write("LCK..ttyUSB0", QByteArray::number(self).rightJustified(10, ' ') + '\n');
        QCOMPARE(CDeviceAccess::LockFilePid(folder.path(), "/dev/ttyUSB0"), self);

        // A lock left behind by a program that has ended holds nothing. The
        // number is above the largest process number Linux can give, so no
        // other process can have taken it over meanwhile.
        write("LCK..ttyUSB0", QByteArray::number((1 << 22) + 1) + '\n');
        QCOMPARE(CDeviceAccess::LockFilePid(folder.path(), "/dev/ttyUSB0"), 0LL);
    }
};

QTEST_GUILESS_MAIN(tst_LineSettings)
#include "tst_LineSettings.moc"
