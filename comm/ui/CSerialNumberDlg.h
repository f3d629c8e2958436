#pragma once

#include <QByteArray>
#include <QDialog>

class QLineEdit;

// Dialog 209 "Serial Number": asks for the serial number that the "^$S"
// macro of a command text writes into an instrument as an S3 record.
// Object names for tests: "3080" (the edit), "1" (OK), "2" (Cancel).
class CSerialNumberDlg : public QDialog
{
    Q_OBJECT

public:
    explicit CSerialNumberDlg(QWidget* parent = nullptr);

    // The number entered; 0 until the dialog ends with OK.
    int GetSerialNumber() const { return m_nSerialNumber; }

    // The 22-character S3 record carrying serialNumber for the address text
    // ("0x" hexadecimal, leading "0" octal, otherwise decimal).
    static void BuildRecord(QByteArray& out, const QByteArray& addressText, int serialNumber);

    // OK: accepted only with a whole number from 0 to 9999; otherwise the
    // reason is shown and the dialog stays open with the text selected.
    void accept() override;

private:
    int m_nSerialNumber = 0;
    QLineEdit* m_pNumber;
};
