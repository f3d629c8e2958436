#pragma once

#include "CFileFilter.h"
#include "CUserDialogs.h"

#include <QDialog>
#include <QStringList>

#include <functional>

// Answers the shell's modal questions in tests: file dialogs from queued
// paths (an empty or missing answer is Cancel), dialogs through a callback
// (default: Cancel), messages collected, changed texts discarded
// unless a save answer is queued. Installed for its lifetime.
class CScriptedDialogs : public CUserDialogs
{
public:
    CScriptedDialogs() { CUserDialogs::SetCurrent(this); }
    ~CScriptedDialogs() override { CUserDialogs::SetCurrent(nullptr); }

    QString GetOpenFileName(QWidget*, const QString& folder, const CFileFilter& filter) override
    {
        ++m_nOpenCalls;
        m_strLastFolder = folder;
        m_lastFilter = filter;
        return m_openAnswers.isEmpty() ? QString() : m_openAnswers.takeFirst();
    }
    QString GetSaveFileName(QWidget*, const QString& folder, const CFileFilter& filter) override
    {
        ++m_nSaveCalls;
        m_strLastFolder = folder;
        m_lastFilter = filter;
        return m_saveAnswers.isEmpty() ? QString() : m_saveAnswers.takeFirst();
    }
    int Exec(QDialog& dialog) override
    {
        ++m_nExecCalls;
        if (!m_onExec)
            return QDialog::Rejected;
        return m_onExec(dialog);
    }
    void ShowMessage(QWidget*, const QString& text) override { m_messages.append(text); }
    // Queued answers; without one a changed text is discarded.
    SaveAnswer AskSaveChanges(QWidget*, const QString& documentName) override
    {
        m_saveQuestions.append(documentName);
        return m_saveChangesAnswers.isEmpty() ? DiscardChanges : m_saveChangesAnswers.takeFirst();
    }

    QStringList m_openAnswers;
    QStringList m_saveAnswers;
    std::function<int(QDialog&)> m_onExec;
    QStringList m_messages;
    QList<SaveAnswer> m_saveChangesAnswers;
    QStringList m_saveQuestions;
    QString m_strLastFolder;
    CFileFilter m_lastFilter;
    int m_nOpenCalls = 0;
    int m_nSaveCalls = 0;
    int m_nExecCalls = 0;
};
