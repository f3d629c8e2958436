#include "CPublishingPage.h"

#include "CPasswordKeyring.h"
#include "CFileFilter.h"
#include "CUserDialogs.h"

#include <QApplication>
#include <QFileInfo>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QSettings>
#include <QVBoxLayout>

CPublishingPage::CPublishingPage(QWidget* parent)
    : CPropertyPage(QStringLiteral("Publishing"), parent)
    , m_pBroker(new QLineEdit)
    , m_pCaFile(new QLineEdit)
    , m_pBrowse(new QPushButton(QStringLiteral("Bro&wse...")))
    , m_pUser(new QLineEdit)
    , m_pPassword(new QLineEdit)
    , m_pPasswordNote(new QLabel)
    , m_pTopic(new QLineEdit)
{
    setObjectName(QStringLiteral("CPublishingPage"));
    m_pBroker->setPlaceholderText(QStringLiteral("mqtt://host:1883 or mqtts://host:8883 (empty: not published)"));
    m_pPassword->setEchoMode(QLineEdit::Password);
    m_pPasswordNote->setWordWrap(true);
    auto* caRow = new QHBoxLayout;
    caRow->addWidget(m_pCaFile, 1);
    caRow->addWidget(m_pBrowse);

    auto* form = new QFormLayout;
    form->addRow(QStringLiteral("&Broker:"), m_pBroker);
    auto* caLabel = new QLabel(QStringLiteral("&CA file (mqtts):"));
    caLabel->setBuddy(m_pCaFile);
    form->addRow(caLabel, caRow);
    form->addRow(QStringLiteral("&User name:"), m_pUser);
    form->addRow(QStringLiteral("&Password:"), m_pPassword);
    form->addRow(QString(), m_pPasswordNote);
    form->addRow(QStringLiteral("&Topic prefix:"), m_pTopic);
    auto* explanation = new QLabel(QStringLiteral(
        "Every line the window shows is published as JSON on PREFIX/readings (QoS 1); PREFIX/status "
        "says \"online\" or \"offline\". While the broker cannot be reached the readings wait on disk."));
    explanation->setWordWrap(true);
    auto* layout = new QVBoxLayout(this);
    layout->addLayout(form);
    layout->addWidget(explanation);
    layout->addStretch(1);
    connect(m_pBrowse, &QPushButton::clicked, this, &CPublishingPage::OnBrowse);
    SetKeyring(Keyring::Asking, QString());
}

void CPublishingPage::LoadFor(const QString& profilePath, const QString& driverName)
{
    m_strProfilePath = profilePath;
    m_strDriverName = driverName;
    CPublishingSettings settings;
    settings.Load(QSettings(profilePath, QSettings::IniFormat), driverName);
    SetSettings(settings);
    m_pTopic->setPlaceholderText(CPublishingSettings::DefaultTopic(driverName));
    SetKeyring(Keyring::Asking, QString());
    CPasswordKeyring::Read(driverName, this,
                           [this, plain = settings.m_strPassword](CPasswordKeyring::Result result,
                                                                  const QString& password, const QString& why) {
                               if (result == CPasswordKeyring::Result::NoKeyring) {
                                   SetKeyring(Keyring::Missing, why);
                                   return;
                               }
                               // A password the file held before moves to the keyring at OK.
                               if (result == CPasswordKeyring::Result::Found && m_pPassword->text() == plain)
                                   m_pPassword->setText(password);
                               SetKeyring(Keyring::Available, QString());
                           });
}

void CPublishingPage::SetKeyring(Keyring keyring, const QString& why)
{
    m_keyring = keyring;
    switch (keyring) {
    case Keyring::Asking:
        m_pPasswordNote->setText(QStringLiteral("Looking for the desktop's keyring..."));
        return;
    case Keyring::Available:
        m_pPasswordNote->setText(QStringLiteral("The password is kept in the desktop's keyring."));
        break;
    case Keyring::Missing:
        m_pPasswordNote->setText(
            QStringLiteral("This desktop offers no keyring: the password is stored as plain text in Orvalis.ini."));
        m_pPasswordNote->setToolTip(why);
        break;
    }
    Q_EMIT keyringKnown();
}

void CPublishingPage::SetSettings(const CPublishingSettings& settings)
{
    m_pBroker->setText(settings.m_strBroker);
    m_pCaFile->setText(settings.m_strCaFile);
    m_pUser->setText(settings.m_strUser);
    m_pPassword->setText(settings.m_strPassword);
    m_pTopic->setText(settings.m_strTopic);
}

CPublishingSettings CPublishingPage::Settings() const
{
    CPublishingSettings settings;
    settings.m_strBroker = m_pBroker->text().trimmed();
    settings.m_strCaFile = m_pCaFile->text().trimmed();
    settings.m_strUser = m_pUser->text();
    settings.m_strPassword = m_pPassword->text();
    settings.m_strTopic = m_pTopic->text().trimmed();
    return settings;
}

void CPublishingPage::SaveFor(const QString& driverName) const
{
    if (m_strProfilePath.isEmpty())
        return;
    const CPublishingSettings settings = Settings();
    // Until the keyring has answered it counts as missing: the password is
    // not lost.
    const bool inKeyring = m_keyring == Keyring::Available;
    QSettings profile(m_strProfilePath, QSettings::IniFormat);
    settings.Save(profile, driverName, !inKeyring);
    profile.sync();
    if (driverName != m_strDriverName && !m_strDriverName.isEmpty())
        profile.remove(CPublishingSettings::Section(m_strDriverName));
    if (!inKeyring)
        return;
    const QString path = m_strProfilePath;
    CPasswordKeyring::Write(driverName, settings.m_strPassword, qApp, [path, driverName, settings](bool ok, const QString&) {
        if (ok)
            return;
        // The keyring refused after all: the file keeps it rather than nobody.
        QSettings fallback(path, QSettings::IniFormat);
        settings.Save(fallback, driverName, true);
    });
}

bool CPublishingPage::Refuse(QLineEdit* field, const QString& message)
{
    CUserDialogs::Current().ShowMessage(this, message);
    field->setFocus(Qt::OtherFocusReason);
    field->selectAll();
    return false;
}

bool CPublishingPage::OnKillActive()
{
    const CPublishingSettings settings = Settings();
    QString error;
    if (!settings.IsOn())
        return true;
    CMqttBrokerUrl url;
    if (!CMqttBrokerUrl::Parse(settings.m_strBroker, url, error))
        return Refuse(m_pBroker, error);
    if (!settings.m_strTopic.isEmpty() && !CPublishingSettings::CheckTopic(settings.m_strTopic, error))
        return Refuse(m_pTopic, error);
    if (url.m_bTls && !settings.m_strCaFile.isEmpty() && !QFileInfo(settings.m_strCaFile).isReadable())
        return Refuse(m_pCaFile, QStringLiteral("CA file %1: cannot be read").arg(settings.m_strCaFile));
    return true;
}

void CPublishingPage::OnBrowse()
{
    const CFileFilter filter{QStringLiteral("pem"), QStringLiteral("Certificates (*.pem *.crt);;All files (*)")};
    const QString path =
        CUserDialogs::Current().GetOpenFileName(this, QFileInfo(m_pCaFile->text()).path(), filter);
    if (!path.isEmpty())
        m_pCaFile->setText(path);
}
