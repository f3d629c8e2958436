#include "CUserDialogs.h"

#include "CFileFilter.h"

#include <QApplication>
#include <QDialog>
#include <QFileDialog>
#include <QMessageBox>

namespace {

CUserDialogs* g_pCurrent = nullptr;

QString RunFileDialog(QWidget* parent, const QString& folder, const CFileFilter& filter,
                      QFileDialog::AcceptMode mode)
{
    QFileDialog dialog(parent, QString(), folder, filter.strFilter);
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

QString CUserDialogs::GetOpenFileName(QWidget* parent, const QString& folder, const CFileFilter& filter)
{
    return RunFileDialog(parent, folder, filter, QFileDialog::AcceptOpen);
}

QString CUserDialogs::GetSaveFileName(QWidget* parent, const QString& folder, const CFileFilter& filter)
{
    return RunFileDialog(parent, folder, filter, QFileDialog::AcceptSave);
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
    const QMessageBox::StandardButton answer =
        QMessageBox::question(parent, QApplication::applicationDisplayName(),
                              QStringLiteral("Save changes to %1?").arg(documentName),
                              QMessageBox::Save | QMessageBox::Discard | QMessageBox::Cancel, QMessageBox::Save);
    if (answer == QMessageBox::Save)
        return SaveChanges;
    return answer == QMessageBox::Discard ? DiscardChanges : CancelClose;
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
