#pragma once

#include "CAppServices.h"
#include "CDocTemplate.h"
#include "CProfile.h"
#include "CWindowRect.h"

#include <QFile>
#include <QList>
#include <QObject>
#include <QString>
#include <QStringList>

#include <memory>

class CMainFrame;
class QPrinter;

// The application object: start-up and exit, the persisted settings, the
// command line, and the program-wide values that the main window and the
// instrument and terminal windows share. Exactly one exists while the
// program runs; COrvalisApp::Get() reaches it.
class COrvalisApp : public QObject, public CAppServices
{
    Q_OBJECT

public:
    // profilePath: the settings file (tests pass their own).
    explicit COrvalisApp(const QString& profilePath = CProfile::DefaultPath(), QObject* parent = nullptr);
    ~COrvalisApp() override;

    static COrvalisApp* Get();
    // The process's name and icon, before any window. The name "Orvalis"
    // also names the settings folder and the message boxes; no display name
    // is set, because the desktop appends one to every title that does not
    // end with it ("Orvalis - Orvali1 — Orvalis").
    static void InitApplication();

    // Reads the settings, creates the main window, parses the arguments
    // (without the program name), copies the example drivers into an empty
    // program folder on the first start, shows the window and connects a
    // driver named on the command line. False when the program must end.
    bool InitInstance(const QStringList& arguments);
    // Writes "Window", "LastUsedDriver", "LastTerminalDriver" and the recent files.
    int ExitInstance(int exitCode);
    // Started by another program (embedding or automation): nothing is shown.
    bool RunsEmbedded() const { return m_bRunEmbedded; }

    CMainFrame* MainFrame() const { return m_pMainFrame.get(); }
    CProfile& Profile() override { return m_profile; }
    QString ProgramFolder() const override { return m_strProgramFolder; }
    const QList<CDocTemplate>& DocTemplates() const { return m_templates; }
    QPrinter& Printer() override;
    bool HasMainWindow() const override { return m_pMainFrame != nullptr; }

    // Recent-file list of four entries, newest first ("Recent File List" in the profile).
    QStringList RecentFiles() const { return m_recentFiles; }
    void AddToRecentFileList(const QString& path) override;

    CWindowRect m_rcWindow; // normal rectangle of the main window
    int m_bDriverOnCommandLine = 0;
    Qt::WindowStates m_nCmdShow = Qt::WindowNoState; // how the main window is shown

private:
    void ParseCommandLine(const QStringList& arguments);
    // First start: a program folder without drivers gets the examples.
    void InstallExamples();
    void LoadRecentFileList();
    void SaveRecentFileList();

    CProfile m_profile;
    QString m_strProgramFolder;
    QString m_strTerminalOnCommandLine; // a terminal driver opened from the desktop
    QList<CDocTemplate> m_templates;
    QStringList m_recentFiles;
    std::unique_ptr<CMainFrame> m_pMainFrame;
    std::unique_ptr<QPrinter> m_pPrinter;
    bool m_bRunEmbedded = false;
};
