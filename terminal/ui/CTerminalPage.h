#pragma once

#include "CPropertyPage.h"

class CTerminalParameter;
class QCheckBox;
class QComboBox;
class QLineEdit;

// Page "Terminal Settings" of a terminal driver: emulation, screen size,
// echo, cursor, scroll bar and the CR to CR/LF expansion of received data.
// Columns must be 40..132 and rows 10..60; a bad value keeps the page open
// with a message naming both bounds. The emulation is the index of the
// chosen list entry, -1 when the box holds a text that is not an entry.
class CTerminalPage : public CPropertyPage
{
    Q_OBJECT

public:
    static constexpr int MinColumns = 40;
    static constexpr int MaxColumns = 132;
    static constexpr int MinRows = 10;
    static constexpr int MaxRows = 60;

    explicit CTerminalPage(QWidget* parent = nullptr);

    void LoadFrom(const CTerminalParameter& terminal);
    void SaveTo(CTerminalParameter& terminal) const;

    // Takes the controls into the page's values; false (message shown, the
    // field focused) for a bad number.
    bool OnKillActive() override;
    // The message for a field's text, or "" when it is an integer in range.
    static QString CheckInteger(const QString& text, int minimum, int maximum, int* value = nullptr);

    QComboBox* m_pEmulation;   // 3056
    QLineEdit* m_pRows;        // 3057
    QLineEdit* m_pColumns;     // 3058
    QCheckBox* m_pLocalEcho;   // 3029
    QCheckBox* m_pBlockCursor; // 3059
    QCheckBox* m_pScrollbar;   // 3060
    QCheckBox* m_pReceiveCRLF; // 3030

    int m_nColumns = 80;
    int m_nRows = 24;
    int m_bBlockCursor = 0;
    int m_bLocalEcho = 0;
    int m_bScrollbar = 1;
    int m_bReceiveCRLF = 1;
    int m_nEmulation = 2;

private:
    bool TakeInteger(QLineEdit* field, int minimum, int maximum, int& value);
};
