#include "CSerialNumberDlgPrompt.h"

#include "CSerialNumberDlg.h"

CSerialNumberDlgPrompt::CSerialNumberDlgPrompt(QWidget* parent)
    : m_pParent(parent)
{
}

std::optional<int> CSerialNumberDlgPrompt::AskSerialNumber()
{
    CSerialNumberDlg dialog(m_pParent);
    if (dialog.exec() != QDialog::Accepted)
        return std::nullopt;
    return dialog.GetSerialNumber();
}
