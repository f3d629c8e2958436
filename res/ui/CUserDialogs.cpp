#include "CUserDialogs.h"

#include "CFileFilter.h"

#include <QApplication>
#include <QDialog>
#include <QFileDialog>
#include <QMessageBox>
#include <QPushButton>

namespace {

CUserDialogs* g_pCurrent = nullptr;

QString RunFileDialog(QWidget* parent, const QString& folder, const CFileFilter& filter, const QString& title,
                      QFileDialog::AcceptMode mode)
{
    QFileDialog dialog(parent, title, folder, filter.strFilter);
    dialog.setAcceptMode(mode);
    dialog.setFileMode(mode == QFileDialog::AcceptOpen ? QFileDialog::ExistingFile : QFileDialog::AnyFile);
    dialog.setOption(QFileDialog::DontConfirmOverwrite);
    if (filter.strDefaultExtension != QLatin1String("*"))
        dialog.setDefaultSuffix(filter.strDefaultExtension);
    if (dialog.exec() != QDialog::Accepted || dialog.selectedFiles().isEmpty())
        return QString();
    return dialog.selectedFiles().constFirst();
}

} // namespace

QString CUserDialogs::GetOpenFileName(QWidget* parent, const QString& folder, const CFileFilter& filter,
                                     const QString& title)
{
    return RunFileDialog(parent, folder, filter, title, QFileDialog::AcceptOpen);
}

QString CUserDialogs::GetSaveFileName(QWidget* parent, const QString& folder, const CFileFilter& filter,
                                     const QString& title)
{
    return RunFileDialog(parent, folder, filter, title, QFileDialog::AcceptSave);
}

int CUserDialogs::Exec(QDialog& dialog)
{
    return dialog.exec();
}

void CUserDialogs::ShowMessage(QWidget* parent, const QString& text)
{
    QMessageBox::warning(parent, QApplication::applicationDisplayName(), text);
}

CUserDialogs::SaveAnswer CUserDialogs::AskSaveChanges(QWidget* parent, const QString& documentName)
{
    QMessageBox box(QMessageBox::Question, QApplication::applicationDisplayName(),
                    QStringLiteral("Save changes to %1?").arg(documentName), QMessageBox::NoButton, parent);
    QPushButton* save = box.addButton(QStringLiteral("&Save"), QMessageBox::AcceptRole);
    QPushButton* discard = box.addButton(QStringLiteral("&Don't Save"), QMessageBox::DestructiveRole);
    box.addButton(QMessageBox::Cancel);
    box.setDefaultButton(save);
    box.exec();
    if (box.clickedButton() == save)
        return SaveChanges;
    return box.clickedButton() == discard ? DiscardChanges : CancelClose;
}

bool CUserDialogs::AskSaveElsewhere(QWidget* parent, const QString& message)
{
    QMessageBox box(QMessageBox::Warning, QApplication::applicationDisplayName(), message, QMessageBox::NoButton,
                    parent);
    QPushButton* saveAs = box.addButton(QStringLiteral("Save &As..."), QMessageBox::AcceptRole);
    box.addButton(QStringLiteral("&Don't Save"), QMessageBox::RejectRole);
    box.setDefaultButton(saveAs);
    box.exec();
    return box.clickedButton() == saveAs;
}

CUserDialogs::OverwriteAnswer CUserDialogs::AskOverwrite(QWidget* parent, const QString& question)
{
    QMessageBox box(QMessageBox::Warning, QApplication::applicationDisplayName(), question, QMessageBox::NoButton,
                    parent);
    QPushButton* overwrite = box.addButton(QStringLiteral("&Write Anyway"), QMessageBox::DestructiveRole);
    QPushButton* saveAs = box.addButton(QStringLiteral("Save &As..."), QMessageBox::AcceptRole);
    QPushButton* dontSave = box.addButton(QStringLiteral("&Don't Save"), QMessageBox::RejectRole);
    box.setDefaultButton(dontSave);
    box.setEscapeButton(dontSave);
    box.exec();
    if (box.clickedButton() == overwrite)
        return Overwrite;
    return box.clickedButton() == saveAs ? SaveElsewhere : DontSave;
}

CUserDialogs& CUserDialogs::Current()
{
    static CUserDialogs real;
    return g_pCurrent ? *g_pCurrent : real;
}

void CUserDialogs::SetCurrent(CUserDialogs* dialogs)
{
    g_pCurrent = dialogs;
}
