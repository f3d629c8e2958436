#pragma once

#include "CPropertyPage.h"

#include <QByteArray>
#include <QByteArrayList>

class CCommParameter;
class QButtonGroup;
class QComboBox;
class QPushButton;
class QRadioButton;

// Page "Communication Parameter": connector and line settings of a driver.
//
// Each group of buttons keeps the index of its selected button; a record
// value that has no button (a baud rate or parity outside the lists, data
// bits 9) selects none and is stored back unchanged, so a hand-made driver
// keeps its settings when only other pages are edited. 57600 and 115200
// cannot be chosen (the driver file keeps 16 bits of the rate) and the
// Dtr/Dsr button is hidden; a record holding them keeps them.
//
// The connector list: "None", the USB serial converters whose serial number
// contains "VD", the serial devices of this machine by their path (with
// their /dev/serial/by-id names), then COM1..COM255; Refresh lists them
// again. The driver's connector is always shown: a name that is not in the
// list (an unplugged converter, a link to a simulator) is put in right after
// "None". The user picks an entry or types a device path, tty name or serial
// number; the name changes only then, and a typed name that is none of these
// keeps the sheet open with a message.
class CCommPage : public CPropertyPage
{
    Q_OBJECT

public:
    enum Group { Baud, DataBits, StopBits, Parity, Flow, GroupCount };

    explicit CCommPage(QWidget* parent = nullptr);

    void SetParameters(const CCommParameter& comm);
    void GetParameters(CCommParameter& comm) const;

    // The list for the given converters and devices.
    static QByteArrayList ConnectorEntries(bool bOfferNone, const QByteArray& noneText,
                                           const QByteArrayList& usbConverters, const QByteArrayList& devices);
    // The entry that is name (case-sensitive); an empty name is the first
    // entry; -1 when no entry is name.
    static int FindConnector(const QByteArrayList& entries, const QByteArray& name);
    // Lists the converters and devices present now; the connector stays.
    void RefreshConnectors();
    bool OnKillActive() override;

    QRadioButton* Button(Group group, int index) const;
    QButtonGroup* ButtonGroup(Group group) const { return m_pGroups[group]; }

    QComboBox* m_pConnector; // 3027
    QPushButton* m_pRefresh;
    int m_nIndex[GroupCount] = {-1, -1, -1, -1, -1};
    QByteArray m_strConnector;
    int m_bOfferNone = 1;
    QByteArray m_strNone = "None";
    int m_nListIndex = 0;

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void BuildConnectorList();
    void ShowConnector();
    void SelectButtons();
    void TakeConnectorName();

    QButtonGroup* m_pGroups[GroupCount];
    QString m_strShown;             // the entry that shows the record's connector
    bool m_bConnectorTyped = false; // the user changed the name: checked on leaving
};
