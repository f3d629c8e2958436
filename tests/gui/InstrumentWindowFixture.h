#pragma once

// The program started as a user starts it, with /D on a driver whose
// connector is the slave end of a pseudo-terminal; the test plays the
// instrument on the master end. A Qt Test class derives from it and calls
// InitFixture and CleanupFixture from init and cleanup (the terminal and
// publishing tests use it as well).

#include "../core/PtyPair.h"
#include "CDriverFile.h"
#include "CMainFrame.h"
#include "COrvalisApp.h"
#include "COrvalisView.h"
#include "ScriptedDialogs.h"
#include "WidgetTestIncludes.h"

class CInstrumentWindowFixture
{
protected:
    void InitFixture()
    {
        m_home = std::make_unique<QTemporaryDir>();
        qputenv("ORVALIS_HOME", m_home->path().toLocal8Bit());
        m_pty = std::make_unique<CPtyPair>();
        QVERIFY(m_pty->IsOpen());
        // The program opens the slave end by its name.
        m_pty->CloseSlave();
        m_dialogs = std::make_unique<CScriptedDialogs>();
    }

    void CleanupFixture()
    {
        m_app.reset();
        m_dialogs.reset();
        m_pty.reset();
        m_home.reset();
        qunsetenv("ORVALIS_HOME");
    }

    // Plain mode on the connector, no CR -> CR/LF receiving, eight empty keys.
    static CDriverFile PlainDriver(const QString& connector)
    {
        CDriverFile records;
        records.m_Driver.m_strName = "Lab";
        records.m_Driver.m_strFileName = "lab.tbb";
        records.m_Comm.m_nConnector = -1;
        records.m_Comm.m_strConnector = connector.toLocal8Bit();
        records.m_Comm.m_nFlowControl = 0;
        records.m_Terminal.m_bReceiveCRLF = 0;
        records.m_FunctionKeys.AppendEmptyKeys();
        return records;
    }

    // The records stored as lab.tbb (and the profile as Orvalis.ini), then
    // the program started on them; the window, or null.
    COrvalisView* Start(const CDriverFile& records, const QByteArray& profile = {})
    {
        CDriverFile copy = records;
        if (!copy.Store(Home(QStringLiteral("lab.tbb"))).IsOk())
            return nullptr;
        if (!profile.isEmpty() && !WriteFile(Home(QStringLiteral("Orvalis.ini")), profile))
            return nullptr;
        return StartOn(QStringLiteral("lab.tbb"));
    }

    // Started with /D on a driver file already in the program folder.
    COrvalisView* StartOn(const QString& fileName)
    {
        m_app = std::make_unique<COrvalisApp>(Home(QStringLiteral("Orvalis.ini")));
        if (!m_app->InitInstance({QStringLiteral("/D") + fileName}))
            return nullptr;
        return qobject_cast<COrvalisView*>(Frame()->ActiveView());
    }

    CMainFrame* Frame() const { return m_app->MainFrame(); }
    QString Home(const QString& name) const { return QDir(m_home->path()).filePath(name); }
    QString StatusText() const { return Frame()->GetPaneText(CMainFrame::PaneMessage); }

    // A value of Orvalis.ini, as the program left it.
    QVariant Profile(const QString& key, const QVariant& fallback = {}) const
    {
        return QSettings(Home(QStringLiteral("Orvalis.ini")), QSettings::IniFormat).value(key, fallback);
    }

    static bool WriteFile(const QString& path, const QByteArray& bytes)
    {
        QFile file(path);
        return file.open(QIODevice::WriteOnly | QIODevice::Truncate) && file.write(bytes) == bytes.size();
    }
    // The file's bytes, empty when it cannot be read.
    static QByteArray ReadFile(const QString& path)
    {
        QFile file(path);
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }

    // What the program sent, while the window goes on handling its events.
    QByteArray Receive(qsizetype count, int timeoutMs = 5000)
    {
        QByteArray bytes;
        QElapsedTimer timer;
        timer.start();
        while (bytes.size() < count && timer.elapsed() < timeoutMs) {
            QCoreApplication::processEvents();
            bytes += m_pty->ReadMaster(count - bytes.size(), 5);
        }
        return bytes;
    }

    std::unique_ptr<QTemporaryDir> m_home;
    std::unique_ptr<CPtyPair> m_pty;
    std::unique_ptr<CScriptedDialogs> m_dialogs;
    std::unique_ptr<COrvalisApp> m_app;
};
