#include "CV24Printer.h"

#include "CAppServices.h"
#include "CFrameServices.h"
#include "CPrinterSheet.h"
#include "CUserDialogs.h"
#include "ResourceIds.h"

#include <QAction>
#include <QDir>
#include <QFileInfo>

CV24Printer::CV24Printer(QWidget* view, CFrameServices* frame)
    : QObject(view)
    , m_pView(view)
    , m_pFrame(frame)
    , m_forwarding(this)
{
    connect(&m_forwarding, &CPrinterForwarding::problem, this, &CV24Printer::ShowProblem);
}

QString CV24Printer::SettingsPath()
{
    const CAppServices* app = CAppServices::Get();
    return QDir(app ? app->ProgramFolder() : QString()).filePath(QString::fromLatin1(CPrinterSettingsFile::FileName));
}

CCommPrinter::Options CV24Printer::Options()
{
    CCommPrinter::Options options;
    if (CAppServices* app = CAppServices::Get())
        options.bAnyRawPrinter = app->Profile().GetProfileInt(CProfile::Settings, QStringLiteral("V24AnyRawPrinter")) != 0;
    return options;
}

bool CV24Printer::CheckPrinter() const
{
    return CCommPrinter::CheckDefaultPrinter(Options()).bSuits;
}

void CV24Printer::Toggle()
{
    if (IsOn())
        m_forwarding.SwitchOff();
    else
        m_forwarding.SwitchOn(SettingsPath(), Options());
    UpdateMenu();
}

void CV24Printer::SwitchOff()
{
    m_forwarding.SwitchOff();
}

void CV24Printer::UpdateMenu() const
{
    QAction* item = m_pFrame ? m_pFrame->MenuItem(ExtrasPopup, ID_V24_PRINTER) : nullptr;
    if (!item)
        return;
    item->setCheckable(true);
    item->setChecked(IsOn());
}

void CV24Printer::EditSettings()
{
    const QString path = SettingsPath();
    CPrinterSettingsFile records;
    records.m_Comm = m_forwarding.Settings().m_Comm;
    records.m_Terminal = m_forwarding.Settings().m_Terminal;
    if (QFileInfo::exists(path)) {
        const CFileResult loaded = records.Load(path);
        if (!loaded.IsOk()) {
            CUserDialogs::Current().ShowMessage(
                m_pView, QStringLiteral("%1\nThe printer settings are not changed, so the file is not written over.")
                             .arg(loaded.Message()));
            return;
        }
    }
    CPrinterSheet sheet(m_pView, 0);
    sheet.LoadFrom(records);
    if (CUserDialogs::Current().Exec(sheet) != QDialog::Accepted)
        return;
    sheet.SaveTo(records);
    const CFileResult stored = records.Store(path);
    if (!stored.IsOk())
        CUserDialogs::Current().ShowMessage(m_pView, stored.Message());
    // A line that is on takes the new settings at once.
    m_forwarding.Settings().m_Comm = records.m_Comm;
    m_forwarding.Settings().m_Terminal = records.m_Terminal;
    m_forwarding.ReopenLine();
}

void CV24Printer::ShowProblem(const QString& text) const
{
    if (m_pFrame)
        m_pFrame->SetPaneText(CFrameServices::PaneMessage, text);
}
