#pragma once

#include <QDialog>

class QLabel;

// "About Orvalis": the program's icon, its title, version and legal notice
// from the version strings, and OK.
class CAboutDlg : public QDialog
{
    Q_OBJECT

public:
    explicit CAboutDlg(QWidget* parent = nullptr);

    // The label text of a legal notice: the first "&" doubled so that the
    // label shows it instead of taking it as a mnemonic; later ones stay single.
    static QString DoubleFirstAmpersand(const QString& text);

    QLabel* m_pTitle;   // 3083
    QLabel* m_pVersion; // 3084
    QLabel* m_pLegal;   // 3085

private:
    void OnInitDialog();
};
