#include "COrvalisApp.h"

#include "CAppIcon.h"
#include "CCommandLine.h"
#include "CExampleDrivers.h"
#include "CMainFrame.h"
#include "CProgramFolder.h"
#include "ResourceIds.h"
#include "Version.h"

#include <QFileInfo>
#include <QGuiApplication>
#include <QLoggingCategory>
#include <QPrinter>
#include <QScreen>

Q_LOGGING_CATEGORY(lcApp, "orvalis.app")

namespace {

COrvalisApp* g_pApp = nullptr;

const QString kRecentSection = QStringLiteral("Recent File List");

QList<QRect> AvailableScreens()
{
    QList<QRect> screens;
    for (const QScreen* screen : QGuiApplication::screens())
        screens.append(screen->availableGeometry());
    return screens;
}

} // namespace

COrvalisApp::COrvalisApp(const QString& profilePath, QObject* parent)
    : QObject(parent)
    , m_profile(profilePath)
    , m_strProgramFolder(CProgramFolder::Path())
{
    Q_ASSERT_X(!g_pApp, "COrvalisApp", "only one application object");
    g_pApp = this;
    // Registration order matters: Connect Instrument takes the first
    // template whose new-file name matches.
    m_templates = {CDocTemplate(IDR_ORVALITYPE), CDocTemplate(IDR_TERMINALTYPE)};
}

COrvalisApp::~COrvalisApp()
{
    m_pMainFrame.reset();
    if (g_pApp == this)
        g_pApp = nullptr;
}

COrvalisApp* COrvalisApp::Get()
{
    return g_pApp;
}

void COrvalisApp::InitApplication()
{
    QGuiApplication::setApplicationName(QStringLiteral("Orvalis"));
    QGuiApplication::setWindowIcon(CAppIcon::Icon());
    // The desktop entry's name: the window system matches windows to it.
    QGuiApplication::setDesktopFileName(QStringLiteral(ORVALIS_APP_ID));
}

QPrinter& COrvalisApp::Printer()
{
    if (!m_pPrinter)
        m_pPrinter = std::make_unique<QPrinter>();
    return *m_pPrinter;
}

bool COrvalisApp::InitInstance(const QStringList& arguments)
{
    // Before the settings file exists: the first start.
    const bool firstStart = !QFileInfo::exists(m_profile.Path());
    LoadRecentFileList();
    m_pMainFrame = std::make_unique<CMainFrame>();
    // An empty "Window" keeps the window system's choice.
    m_rcWindow = CWindowRect{CWindowRect::UseDefault, 0, 0, 0};
    const QString window = m_profile.GetProfileString(CProfile::Settings, QStringLiteral("Window"));
    if (!window.isEmpty())
        m_rcWindow = CWindowRect::Parse(window, CWindowRect{});
    m_pMainFrame->PlaceWindow(m_rcWindow.CreationPlacement(AvailableScreens()));

    m_strLastUsedDriver = m_profile.GetProfileString(CProfile::Settings, QStringLiteral("LastUsedDriver"));
    m_strLastTerminalDriver = m_profile.GetProfileString(CProfile::Settings, QStringLiteral("LastTerminalDriver"));
    ParseCommandLine(arguments);
    if (m_bRunEmbedded) {
        qCInfo(lcApp) << "started for embedding or automation: no window is shown";
        return true;
    }
    if (firstStart)
        InstallExamples();
    m_pMainFrame->setWindowState(m_nCmdShow);
    m_pMainFrame->show();
    if (!m_strLastUsedDriver.isEmpty() && m_bDriverOnCommandLine)
        m_pMainFrame->RouteCommand(ID_CONNECT_INSTRUMENT);
    if (!m_strTerminalOnCommandLine.isEmpty()) {
        m_strLastTerminalDriver = m_strTerminalOnCommandLine;
        m_pMainFrame->OpenNewDocument(CDocTemplate(IDR_TERMINALTYPE).NewFileName());
    }
    return true;
}

void COrvalisApp::ParseCommandLine(const QStringList& arguments)
{
    const CCommandLineInfo info = CCommandLine::Parse(arguments, m_strProgramFolder);
    m_bDriverOnCommandLine = info.bDriverOnCommandLine ? 1 : 0;
    if (info.bDriverOnCommandLine)
        m_strLastUsedDriver = info.strDriver;
    m_strTerminalOnCommandLine = info.strTerminalDriver;
    if (info.bMinimize)
        m_nCmdShow = Qt::WindowMinimized;
    m_bRunEmbedded = info.RunsEmbedded();
}

int COrvalisApp::ExitInstance(int exitCode)
{
    m_profile.WriteProfileString(CProfile::Settings, QStringLiteral("Window"), m_rcWindow.ToString());
    m_profile.WriteProfileString(CProfile::Settings, QStringLiteral("LastUsedDriver"), m_strLastUsedDriver);
    m_profile.WriteProfileString(CProfile::Settings, QStringLiteral("LastTerminalDriver"), m_strLastTerminalDriver);
    SaveRecentFileList();
    QString reason;
    if (!m_profile.Flush(&reason))
        qCWarning(lcApp).noquote() << m_profile.Path() << reason;
    return exitCode;
}

void COrvalisApp::InstallExamples()
{
    if (CExampleDrivers::HasDrivers(m_strProgramFolder))
        return;
    QString error;
    const QStringList written = CExampleDrivers::CopyInto(m_strProgramFolder, error);
    if (!written.isEmpty())
        qCInfo(lcApp).noquote() << "example drivers copied into" << m_strProgramFolder;
    if (!error.isEmpty()) {
        qCWarning(lcApp).noquote() << error;
        m_pMainFrame->SetPaneText(CMainFrame::PaneMessage, error);
    }
}

void COrvalisApp::AddToRecentFileList(const QString& path)
{
    m_recentFiles.removeAll(path);
    m_recentFiles.prepend(path);
    while (m_recentFiles.size() > 4)
        m_recentFiles.removeLast();
}

void COrvalisApp::LoadRecentFileList()
{
    m_recentFiles.clear();
    for (int i = 1; i <= 4; ++i) {
        const QString path = m_profile.GetProfileString(kRecentSection, QStringLiteral("File%1").arg(i));
        if (!path.isEmpty())
            m_recentFiles.append(path);
    }
}

void COrvalisApp::SaveRecentFileList()
{
    for (int i = 1; i <= 4; ++i) {
        m_profile.WriteProfileString(kRecentSection, QStringLiteral("File%1").arg(i), m_recentFiles.value(i - 1));
    }
}
