#pragma once

#include "CSpreadsheetLink.h"

#include <QString>
#include <QStringList>

#include <atomic>
#include <functional>
#include <memory>

// The link to LibreOffice Calc over UNO: attaches to the office listening
// on the program's own pipe, or starts one with that pipe and waits for it;
// opens a spreadsheet document and writes the cells of its first sheet,
// numbers as numbers. The UNO types stay inside CExcel.cpp. Calls block
// for as long as the office takes: only the connection thread makes them.
class CExcel : public CSpreadsheetLink
{
public:
    // Which office to reach and how to start one.
    struct COffice
    {
        QString strPipe = QStringLiteral("orvalis");
        // Empty: soffice of the installed LibreOffice.
        QString strProgram;
        // Added to the start command (a profile folder, --headless).
        QStringList arguments;
        // A headless office cannot show documents: they are opened hidden.
        bool bHeadless = false;
        int nStartSeconds = 20;
    };

    // The office of the instrument windows (tests point them at their own).
    static COffice DefaultOffice();
    static void SetDefaultOffice(const COffice& office);
    // The folder of soffice, types.rdb and fundamentalrc.
    static QString ProgramFolder();

    explicit CExcel(const COffice& office = DefaultOffice());
    ~CExcel() override;

    bool Connect() override;
    bool SetVisible(bool bVisible) override;
    bool OpenWorkbook(const QString& path) override;
    // Makes the cell at row and column (from 1) of the first sheet the current one.
    bool SelectCell(int row, int column);
    Result PutCell(int row, int column, const QString& text) override;
    Result PutBlock(int row, int column, const QList<QStringList>& rows) override;
    QString ErrorString() const override { return m_strError; }
    void Cancel() override { m_bCancel = true; }

    // The process Connect started (0 when it attached to a running office).
    qint64 StartedProcessId() const { return m_nStartedPid; }

private:
    struct CUno;

    bool Fail(const QString& error);
    Result Failed(Result result, const QString& error);
    Result Write(const std::function<void()>& write);
    bool StartOffice();
    QString GoneReason() const;

    COffice m_office;
    std::unique_ptr<CUno> m_pUno;
    bool m_bVisible = false;
    std::atomic<bool> m_bCancel{false};
    qint64 m_nStartedPid = 0;
    QString m_strError;
};
