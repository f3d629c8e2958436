#pragma once

#include <QString>

class QDialog;
class QWidget;
struct CFileFilter;

// The one place where the shell asks the user something modally: file
// dialogs, property sheets and dialogs, messages. Tests install their own
// answers with SetCurrent; the program uses the real dialogs.
class CUserDialogs
{
public:
    enum SaveAnswer { SaveChanges, DiscardChanges, CancelClose };
    enum OverwriteAnswer { Overwrite, SaveElsewhere, DontSave };

    virtual ~CUserDialogs() = default;

    // The chosen full path, or an empty string when cancelled. An empty
    // title is the dialog's own ("Open", "Save As").
    virtual QString GetOpenFileName(QWidget* parent, const QString& folder, const CFileFilter& filter,
                                    const QString& title = QString());
    // No overwrite prompt: an existing driver is replaced as the user chose it.
    virtual QString GetSaveFileName(QWidget* parent, const QString& folder, const CFileFilter& filter,
                                    const QString& title = QString());
    // Runs a modal dialog (a property sheet, the About box); its result code.
    virtual int Exec(QDialog& dialog);
    virtual void ShowMessage(QWidget* parent, const QString& text);
    // "Save changes to %1?" before a changed text is closed.
    virtual SaveAnswer AskSaveChanges(QWidget* parent, const QString& documentName);
    // A file could not be written: the message (file and reason) with the
    // choice to save it elsewhere (true) or not at all.
    virtual bool AskSaveElsewhere(QWidget* parent, const QString& message);
    // Before writing over a file that was not read completely: the question,
    // answered with Overwrite, Save As elsewhere, or Don't Save (the default).
    virtual OverwriteAnswer AskOverwrite(QWidget* parent, const QString& question);

    static CUserDialogs& Current();
    // nullptr restores the real dialogs. The caller keeps ownership.
    static void SetCurrent(CUserDialogs* dialogs);
};
