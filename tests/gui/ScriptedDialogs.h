#pragma once

#include "CFileFilter.h"
#include "CUserDialogs.h"

#include <QDialog>
#include <QStringList>

#include <functional>

// Answers the shell's modal questions in tests: file dialogs from queued
// paths (an empty or missing answer is Cancel), dialogs through a callback
// (default: Cancel), messages collected, changed texts discarded
// unless a save answer is queued, failed writes not saved elsewhere and
// incompletely read files not overwritten unless an answer is queued.
// Installed for its lifetime.
class CScriptedDialogs : public CUserDialogs
{
public:
    CScriptedDialogs() { CUserDialogs::SetCurrent(this); }
    ~CScriptedDialogs() override { CUserDialogs::SetCurrent(nullptr); }

    QString GetOpenFileName(QWidget*, const QString& folder, const CFileFilter& filter,
                            const QString&) override
    {
        ++m_nOpenCalls;
        m_strLastFolder = folder;
        m_lastFilter = filter;
        return m_openAnswers.isEmpty() ? QString() : m_openAnswers.takeFirst();
    }
    QString GetSaveFileName(QWidget*, const QString& folder, const CFileFilter& filter,
                            const QString&) override
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
    // Queued answers; without one nothing is saved elsewhere.
    bool AskSaveElsewhere(QWidget*, const QString& message) override
    {
        m_writeFailures.append(message);
        return !m_saveElsewhereAnswers.isEmpty() && m_saveElsewhereAnswers.takeFirst();
    }
    OverwriteAnswer AskOverwrite(QWidget*, const QString& question) override
    {
        m_overwriteQuestions.append(question);
        return m_overwriteAnswers.isEmpty() ? DontSave : m_overwriteAnswers.takeFirst();
    }

    QStringList m_openAnswers;
    QStringList m_saveAnswers;
    std::function<int(QDialog&)> m_onExec;
    QStringList m_messages;
    QList<SaveAnswer> m_saveChangesAnswers;
    QStringList m_saveQuestions;
    QList<bool> m_saveElsewhereAnswers;
    QStringList m_writeFailures;
    QList<OverwriteAnswer> m_overwriteAnswers;
    QStringList m_overwriteQuestions;
    QString m_strLastFolder;
    CFileFilter m_lastFilter;
    int m_nOpenCalls = 0;
    int m_nSaveCalls = 0;
    int m_nExecCalls = 0;
};
