#pragma once

#include "CCommPrinter.h"
#include "CPrinterForwarding.h"

#include <QObject>

class CFrameServices;
class QWidget;

// The instrument window's side of "V24 Printer": the command toggles the
// forwarding (the printer line's settings come from "v24print.drv" in the
// program folder) and puts the check mark on the item in "&Extras"; "V24
// Printer Settings..." edits that file in a sheet; why nothing prints goes
// to the status bar, once per reason.
//
// The profile value "V24AnyRawPrinter" (section "Settings", default 0) lets
// any printer that takes raw data print, not only one named "Epson".
class CV24Printer : public QObject
{
    Q_OBJECT

public:
    // "&Extras", counted from 0, in the instrument window's menu.
    static constexpr int ExtrasPopup = 4;

    // frame: the main window's menu and status bar (nullptr: none).
    CV24Printer(QWidget* view, CFrameServices* frame);

    // Whether the default printer suits forwarding now (no job is opened).
    bool CheckPrinter() const;
    void Toggle();
    void SwitchOff();
    void EditSettings();
    // The item's check mark for this window.
    void UpdateMenu() const;

    bool IsOn() const { return m_forwarding.IsOn(); }
    CPrinterForwarding& Forwarding() { return m_forwarding; }
    static QString SettingsPath();
    static CCommPrinter::Options Options();

private:
    void ShowProblem(const QString& text) const;

    QWidget* m_pView;
    CFrameServices* m_pFrame;
    CPrinterForwarding m_forwarding;
};
