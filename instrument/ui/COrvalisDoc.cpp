#include "COrvalisDoc.h"

#include "CCodePage.h"
#include "CDisplayText.h"
#include "CFileReplacer.h"
#include "CRegularFile.h"

#include <QFile>
#include <QPlainTextEdit>
#include <QTextDocument>

COrvalisDoc::COrvalisDoc(QPlainTextEdit* text, QObject* parent)
    : QObject(parent)
    , m_pText(text)
{
}

bool COrvalisDoc::OnOpenDocument(const QString& path, QString* error)
{
    QString notRegular;
    if (!CRegularFile::Check(path, &notRegular)) {
        *error = QStringLiteral("Cannot open %1: %2").arg(path, notRegular);
        return false;
    }
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        *error = QStringLiteral("Cannot open %1: %2").arg(path, file.errorString());
        return false;
    }
    const QByteArray bytes = file.readAll();
    if (file.error() != QFileDevice::NoError) {
        *error = QStringLiteral("Cannot read %1: %2").arg(path, file.errorString());
        return false;
    }
    CDisplayText display;
    m_pText->setPlainText(display.Convert(bytes));
    m_strPathName = path;
    SetModifiedFlag(false);
    return true;
}

bool COrvalisDoc::OnSaveDocument(const QString& path, QString* error)
{
    const CFileResult result = CFileReplacer::Replace(path, PlainText(), CFileReplacer::Tail::Drop);
    if (!result.IsOk()) {
        *error = result.Message();
        return false;
    }
    m_strPathName = path;
    SetModifiedFlag(false);
    return true;
}

QByteArray COrvalisDoc::PlainText() const
{
    QString text = m_pText->toPlainText();
    text.replace(QLatin1Char('\n'), QLatin1String("\r\n"));
    return CCodePage::FromUnicode(text);
}

bool COrvalisDoc::IsModified() const
{
    return m_pText->document()->isModified();
}

void COrvalisDoc::SetModifiedFlag(bool bModified)
{
    m_pText->document()->setModified(bModified);
}
