#pragma once

#include "CCommPrinter.h"
#include "CPrinterSettingsFile.h"

#include <QByteArray>
#include <QObject>
#include <QString>

#include <memory>

class CComm;
class CCommEvent;

// The "V24 Printer" function of an instrument window: while it is on, the
// bytes an instrument sends to its serial printer arrive on a second line
// and go into a raw print job on the PC's default printer.
//
// Switching on reads "v24print.drv" (driver, communication, terminal and
// script records; a missing file leaves the records as they are), opens the
// printer line with its communication record and opens the job
// (CCommPrinter). Every received byte is collected in the printer buffer, a
// line feed after each carriage return when the terminal record receives
// CR as CR/LF, and written into the job at once. Switching off closes the
// line and ends the job, which then prints.
//
// The printer line is a channel of its own whose notifications come to this
// object, not to the window, and are acknowledged here: a printer line that
// cannot be opened, refuses its settings or goes away leaves the
// instrument's line alone. Whatever keeps the bytes from printing (the line,
// no suitable printer, a refused job) is told once through problem().
class CPrinterForwarding : public QObject
{
    Q_OBJECT

public:
    // Id of the printer line's hidden control (the object's name carries it).
    static constexpr int ControlId = 3079;
    // One notification reads at most this much; the rest is reported again
    // at once, so a flood on this line does not stall the window.
    static constexpr qsizetype PassBudget = 64 * 1024;
    // The buffer keeps the newest bytes up to this size.
    static constexpr qsizetype MaxBufferBytes = 16 * 1024 * 1024;

    explicit CPrinterForwarding(QObject* parent = nullptr);
    ~CPrinterForwarding() override;

    // Each does nothing when already in that state.
    void SwitchOn(const QString& settingsPath, const CCommPrinter::Options& options);
    void SwitchOff();
    bool IsOn() const { return m_bPrinterMode != 0; }

    // The printer line again with the communication record as it is now
    // (after the settings were edited); nothing when off.
    void ReopenLine();

    CComm* PrinterComm() const { return m_pPrinterComm.get(); }
    CCommPrinter* Printer() const { return m_pPrinter.get(); }
    // The records of the printer line, read from the file on switching on.
    CPrinterSettingsFile& Settings() { return m_settings; }
    // Every byte received since switching on (the newest MaxBufferBytes).
    const QByteArray& PrinterBytes() const { return m_PrinterBytes; }
    // What keeps the bytes from printing now; empty when they print.
    QString Problem() const { return m_strProblem; }

Q_SIGNALS:
    // A new reason why the printer data is not printed, for the status bar.
    void problem(const QString& text);

protected:
    void customEvent(QEvent* event) override;

private:
    void OpenLine();
    void OnComMessage(const CCommEvent& event);
    void OnPrinterCommEvent();
    void Collect(const QByteArray& block);
    void Report(const QString& text);

    CPrinterSettingsFile m_settings;
    std::unique_ptr<CComm> m_pPrinterComm;
    std::unique_ptr<CCommPrinter> m_pPrinter;
    int m_bPrinterMode = 0;
    QByteArray m_PrinterBytes;
    QString m_strProblem;
};
