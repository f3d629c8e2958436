#include "CCommPage.h"

#include "CCodePage.h"
#include "CCommParameter.h"
#include "CConnectorList.h"
#include "CConnectorName.h"
#include "CUserDialogs.h"

#include <QButtonGroup>
#include <QComboBox>
#include <QCompleter>
#include <QFocusEvent>
#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QVBoxLayout>

#include <array>

namespace {

constexpr std::array<int, 12> kBaudRates = {110, 300, 600, 1200, 2400, 4800, 9600, 14400, 19200, 38400, 57600, 115200};
constexpr std::array<char, 5> kParities = {'N', 'O', 'E', 'M', 'S'};
constexpr int kFirstDataBits = 5;
constexpr int kFirstStopBits = 1;
constexpr int kFirstComPort = 1;
constexpr int kLastComPort = 255;

template <typename T, std::size_t N>
int IndexOf(const std::array<T, N>& values, int value)
{
    for (std::size_t i = 0; i < N; ++i) {
        if (int(values[i]) == value)
            return int(i);
    }
    return -1;
}

QGroupBox* NewGroup(const QString& title, QButtonGroup* group, const QStringList& texts, int columns)
{
    auto* box = new QGroupBox(title);
    auto* layout = new QGridLayout(box);
    const int rows = int((texts.size() + columns - 1) / columns);
    for (int i = 0; i < texts.size(); ++i) {
        auto* button = new QRadioButton(texts.at(i));
        group->addButton(button, i);
        layout->addWidget(button, i % rows, i / rows);
    }
    layout->setRowStretch(rows, 1);
    return box;
}

} // namespace

CCommPage::CCommPage(QWidget* parent)
    : CPropertyPage(QStringLiteral("Communication Parameter"), parent)
    , m_pConnector(new QComboBox)
    , m_pRefresh(new QPushButton(QStringLiteral("&Refresh")))
{
    setObjectName(QStringLiteral("CCommPage"));
    for (QButtonGroup*& group : m_pGroups) {
        group = new QButtonGroup(this);
        connect(group, &QButtonGroup::idToggled, this, [this, group](int id, bool bChecked) {
            if (bChecked)
                m_nIndex[std::find(std::begin(m_pGroups), std::end(m_pGroups), group) - std::begin(m_pGroups)] = id;
        });
    }
    QStringList baudTexts;
    for (const int rate : kBaudRates)
        baudTexts.append(QString::number(rate));
    QGroupBox* baud = NewGroup(QStringLiteral("&Baud Rate"), m_pGroups[Baud], baudTexts, 2);
    QGroupBox* dataBits = NewGroup(QStringLiteral("&Data Bits"), m_pGroups[DataBits],
                                   {QStringLiteral("5"), QStringLiteral("6"), QStringLiteral("7"), QStringLiteral("8")}, 4);
    QGroupBox* stopBits = NewGroup(QStringLiteral("&Stop Bits"), m_pGroups[StopBits],
                                   {QStringLiteral("1"), QStringLiteral("2")}, 2);
    QGroupBox* parity = NewGroup(QStringLiteral("&Parity"), m_pGroups[Parity],
                                 {QStringLiteral("None"), QStringLiteral("Odd"), QStringLiteral("Even"),
                                  QStringLiteral("Mark"), QStringLiteral("Space")}, 1);
    QGroupBox* flow = NewGroup(QStringLiteral("&Flow Control"), m_pGroups[Flow],
                               {QStringLiteral("None"), QStringLiteral("Xon/Xoff"), QStringLiteral("Rts/Cts"),
                                QStringLiteral("Dtr/Dsr")}, 1);
    // The driver file keeps 16 bits of the baud rate; the line has no Dtr/Dsr handshake.
    Button(Baud, 10)->setEnabled(false);
    Button(Baud, 11)->setEnabled(false);
    Button(Flow, 3)->hide();

    auto* connectorLabel = new QLabel(QStringLiteral("&Connector"));
    connectorLabel->setBuddy(m_pConnector);
    m_pConnector->setObjectName(QStringLiteral("Connector"));
    m_pConnector->setMaxVisibleItems(20);
    m_pConnector->setSizeAdjustPolicy(QComboBox::AdjustToContents);
    // A device path, tty name or serial number can be typed; typing never
    // adds to the list, and no completion is put in what the user types.
    m_pConnector->setEditable(true);
    m_pConnector->setInsertPolicy(QComboBox::NoInsert);
    m_pConnector->completer()->setCompletionMode(QCompleter::PopupCompletion);
    m_pConnector->completer()->setCaseSensitivity(Qt::CaseSensitive);
    m_pConnector->installEventFilter(this);
    connect(m_pConnector, &QComboBox::activated, this, [this] { TakeConnectorName(); });
    connect(m_pConnector->lineEdit(), &QLineEdit::returnPressed, this, [this] { TakeConnectorName(); });
    m_pRefresh->setObjectName(QStringLiteral("RefreshConnectors"));
    m_pRefresh->setToolTip(QStringLiteral("List the serial devices and USB converters plugged in now"));
    connect(m_pRefresh, &QPushButton::clicked, this, &CCommPage::RefreshConnectors);
    auto* connectorRow = new QHBoxLayout;
    connectorRow->addWidget(connectorLabel);
    connectorRow->addWidget(m_pConnector, 1);
    connectorRow->addWidget(m_pRefresh);

    auto* grid = new QGridLayout;
    grid->addWidget(baud, 0, 0, 2, 1);
    grid->addWidget(dataBits, 0, 1);
    grid->addWidget(stopBits, 1, 1);
    grid->addWidget(parity, 0, 2, 2, 1);
    grid->addWidget(flow, 0, 3, 2, 1);
    auto* layout = new QVBoxLayout(this);
    layout->addLayout(connectorRow);
    layout->addLayout(grid);
    layout->addStretch(1);

    BuildConnectorList();
}

QRadioButton* CCommPage::Button(Group group, int index) const
{
    return qobject_cast<QRadioButton*>(m_pGroups[group]->button(index));
}

QByteArrayList CCommPage::ConnectorEntries(bool bOfferNone, const QByteArray& noneText,
                                           const QByteArrayList& usbConverters, const QByteArrayList& devices)
{
    QByteArrayList entries;
    if (bOfferNone)
        entries.append(noneText);
    for (const QByteArray& serial : usbConverters) {
        if (serial.contains("VD"))
            entries.append(serial);
    }
    entries.append(devices);
    for (int port = kFirstComPort; port <= kLastComPort; ++port)
        entries.append("COM" + QByteArray::number(port));
    return entries;
}

int CCommPage::FindConnector(const QByteArrayList& entries, const QByteArray& name)
{
    if (name.isEmpty())
        return entries.isEmpty() ? -1 : 0;
    return int(entries.indexOf(name));
}

void CCommPage::BuildConnectorList()
{
    m_pConnector->clear();
    const QByteArrayList entries = ConnectorEntries(m_bOfferNone != 0, m_strNone, CConnectorList::UsbConverters(),
                                                    CConnectorList::SerialDevices());
    for (const QByteArray& entry : entries)
        m_pConnector->addItem(CCodePage::ToUnicode(entry));
}

void CCommPage::RefreshConnectors()
{
    BuildConnectorList();
    ShowConnector();
}

void CCommPage::ShowConnector()
{
    QByteArrayList entries;
    for (int i = 0; i < m_pConnector->count(); ++i)
        entries.append(CCodePage::FromUnicode(m_pConnector->itemText(i)));
    m_nListIndex = FindConnector(entries, m_strConnector);
    if (m_nListIndex < 0) {
        // Shown where it is seen first: after "None", before the devices.
        m_nListIndex = m_bOfferNone ? 1 : 0;
        m_pConnector->insertItem(m_nListIndex, CCodePage::ToUnicode(m_strConnector));
    }
    m_pConnector->setCurrentIndex(m_nListIndex);
    m_strShown = m_pConnector->currentText();
}

void CCommPage::SetParameters(const CCommParameter& comm)
{
    m_strConnector = comm.m_strConnector;
    m_nIndex[DataBits] = comm.m_nDataBits - kFirstDataBits;
    m_nIndex[StopBits] = comm.m_nStopBits - kFirstStopBits;
    m_nIndex[Flow] = comm.m_nFlowControl;
    // A rate or parity outside the lists leaves its group as it was.
    if (const int baud = IndexOf(kBaudRates, comm.m_nBaudRate); baud >= 0)
        m_nIndex[Baud] = baud;
    if (const int parity = IndexOf(kParities, comm.m_cParity); parity >= 0)
        m_nIndex[Parity] = parity;
    SelectButtons();
    m_bConnectorTyped = false;
    ShowConnector();
}

void CCommPage::SelectButtons()
{
    const int indices[GroupCount] = {m_nIndex[0], m_nIndex[1], m_nIndex[2], m_nIndex[3], m_nIndex[4]};
    for (int group = 0; group < GroupCount; ++group) {
        QButtonGroup* buttons = m_pGroups[group];
        // Unchecking the checked button of an exclusive group needs the group open.
        buttons->setExclusive(false);
        for (QAbstractButton* button : buttons->buttons())
            button->setChecked(buttons->id(button) == indices[group]);
        buttons->setExclusive(true);
    }
    // Checking buttons reports through idToggled; a value without a button
    // must survive that.
    std::copy(std::begin(indices), std::end(indices), std::begin(m_nIndex));
}

void CCommPage::GetParameters(CCommParameter& comm) const
{
    comm.m_nConnector = -1;
    comm.m_strConnector = m_strConnector;
    comm.m_nDataBits = m_nIndex[DataBits] + kFirstDataBits;
    comm.m_nStopBits = m_nIndex[StopBits] + kFirstStopBits;
    comm.m_nFlowControl = m_nIndex[Flow];
    if (m_nIndex[Baud] >= 0 && m_nIndex[Baud] < int(kBaudRates.size()))
        comm.m_nBaudRate = kBaudRates[m_nIndex[Baud]];
    if (m_nIndex[Parity] >= 0 && m_nIndex[Parity] < int(kParities.size()))
        comm.m_cParity = kParities[m_nIndex[Parity]];
}

void CCommPage::TakeConnectorName()
{
    const QString text = m_pConnector->currentText();
    m_nListIndex = m_pConnector->findText(text, Qt::MatchExactly | Qt::MatchCaseSensitive);
    // Leaving the entry that shows the record's connector changes nothing
    // ("None" shows an empty name too).
    const QByteArray name = CCodePage::FromUnicode(text.trimmed());
    if ((text == m_strShown && !m_bConnectorTyped) || name == m_strConnector)
        return;
    m_strConnector = name;
    m_bConnectorTyped = true;
}

bool CCommPage::OnKillActive()
{
    TakeConnectorName();
    if (!m_bConnectorTyped || CConnectorName::Parse(m_strConnector).GetKind() != CConnectorName::Invalid)
        return true;
    CUserDialogs::Current().ShowMessage(this, CConnectorName::BadNameMessage(CCodePage::ToUnicode(m_strConnector)));
    m_pConnector->setFocus(Qt::OtherFocusReason);
    m_pConnector->lineEdit()->selectAll();
    return false;
}

bool CCommPage::eventFilter(QObject* watched, QEvent* event)
{
    // Opening the drop-down list does not leave it.
    if (watched == m_pConnector && event->type() == QEvent::FocusOut &&
        static_cast<QFocusEvent*>(event)->reason() != Qt::PopupFocusReason)
        TakeConnectorName();
    return CPropertyPage::eventFilter(watched, event);
}
