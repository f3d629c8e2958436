#include "CSerialNumberDlgPrompt.h"

#include "CSerialNumberDlg.h"
#include "CUserDialogs.h"

CSerialNumberDlgPrompt::CSerialNumberDlgPrompt(QWidget* parent)
    : m_pParent(parent)
{
}

std::optional<int> CSerialNumberDlgPrompt::AskSerialNumber()
{
    CSerialNumberDlg dialog(m_pParent);
    // Through the program's dialog runner, which the tests answer.
    if (CUserDialogs::Current().Exec(dialog) != QDialog::Accepted)
        return std::nullopt;
    return dialog.GetSerialNumber();
}
