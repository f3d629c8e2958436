#pragma once

#include "CSerialNumberPrompt.h"

#include <QPointer>
#include <QWidget>

// The window's answer to the "^$S" macro: the serial-number dialog, modal
// over the parent (the instrument window; none gives a free dialog).
class CSerialNumberDlgPrompt : public CSerialNumberPrompt
{
public:
    explicit CSerialNumberDlgPrompt(QWidget* parent = nullptr);

    // The number from 0 to 9999 the user confirmed with OK; nothing after
    // Cancel or closing the dialog.
    std::optional<int> AskSerialNumber() override;

private:
    // The window may close while a command is being sent.
    QPointer<QWidget> m_pParent;
};
