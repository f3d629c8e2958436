#pragma once

#include "CPropertyPage.h"
#include "CPublishingSettings.h"

class QLabel;
class QLineEdit;
class QPushButton;

// Page "Publishing" of the instrument sheets: the broker the driver's
// readings go to (empty: none), the CA file of an mqtts:// broker, user
// name, password and topic prefix. The settings live in Orvalis.ini under
// the driver's name; the password in the desktop's keyring where there is
// one, which the page says (and says when there is none).
class CPublishingPage : public CPropertyPage
{
    Q_OBJECT

public:
    enum class Keyring { Asking, Available, Missing };

    explicit CPublishingPage(QWidget* parent = nullptr);

    // Fills the fields from the driver's section of the profile and asks the
    // keyring for the password.
    void LoadFor(const QString& profilePath, const QString& driverName);
    // After OK: the fields into the profile under driverName (the General
    // page may have renamed the driver), the password into the keyring.
    void SaveFor(const QString& driverName) const;
    void SetSettings(const CPublishingSettings& settings);
    CPublishingSettings Settings() const;
    Keyring KeyringState() const { return m_keyring; }

    bool OnKillActive() override;

    QLineEdit* m_pBroker;
    QLineEdit* m_pCaFile;
    QPushButton* m_pBrowse;
    QLineEdit* m_pUser;
    QLineEdit* m_pPassword;
    QLabel* m_pPasswordNote;
    QLineEdit* m_pTopic;

Q_SIGNALS:
    // The keyring has answered (or said there is none).
    void keyringKnown();

private:
    void OnBrowse();
    void SetKeyring(Keyring keyring, const QString& why);
    bool Refuse(QLineEdit* field, const QString& message);

    QString m_strProfilePath;
    QString m_strDriverName;
    Keyring m_keyring = Keyring::Asking;
};
