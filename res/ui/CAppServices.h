#pragma once

#include "CPlaybackFile.h"
#include "CProfile.h"

#include <QString>

class CCommView;
class QPrinter;

// What the instrument and terminal windows need of the application object:
// the settings, the program folder, the printer, the recent-file list and
// the program-wide values the windows share. The application object is the
// one implementation; Get() reaches it, and is null while none exists (a
// test that builds a window on its own).
class CAppServices
{
public:
    static CAppServices* Get();

    virtual CProfile& Profile() = 0;
    // See CProgramFolder; fixed for the run.
    virtual QString ProgramFolder() const = 0;
    virtual QPrinter& Printer() = 0;
    virtual void AddToRecentFileList(const QString& path) = 0;
    // The main window exists: the program runs normally (not started, not
    // being torn down) and the user can be asked.
    virtual bool HasMainWindow() const = 0;

    QString m_strLastUsedDriver;       // full path of the instrument driver used last
    QString m_strLastTerminalDriver;   // full path of the terminal driver used last
    CCommView* m_pCommView = nullptr; // set and cleared by the instrument view only
    CPlaybackFile m_filePlayback;     // opened by the "^$E" macro, read by the instrument view
    int m_bConnectRequested = 0;      // set by Connect Instrument before it opens a window
    quint32 m_dwPlatformId = 2;       // nonzero: the platform has threads (no idle polling)

    // Remembered start pages of the settings sheets, 0 at start, never
    // persisted; each is overwritten only when its sheet ends with OK.
    int m_nModifyInstrumentPage = 0;
    int m_nModifyTerminalPage = 0;
    int m_nInstrumentOptionsPage = 0;

protected:
    CAppServices();
    virtual ~CAppServices();
    CAppServices(const CAppServices&) = delete;
    CAppServices& operator=(const CAppServices&) = delete;
};
