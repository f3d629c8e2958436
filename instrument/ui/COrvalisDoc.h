#pragma once

#include <QObject>
#include <QString>

class QPlainTextEdit;

// The document of an instrument window: its text, saved and loaded as plain
// text in the program's code page with CR LF line ends, and whether it was
// changed since it was last saved. Received text changes it, so closing a
// window asks before received data is thrown away.
class COrvalisDoc : public QObject
{
    Q_OBJECT

public:
    explicit COrvalisDoc(QPlainTextEdit* text, QObject* parent = nullptr);

    // Replaces the window's text with the file's; false (and the text
    // unchanged) when it cannot be read, *error says why.
    bool OnOpenDocument(const QString& path, QString* error);
    // Writes the whole text; the file is replaced only when all of it was
    // written. False with the reason in *error.
    bool OnSaveDocument(const QString& path, QString* error);

    QString GetPathName() const { return m_strPathName; }
    void SetPathName(const QString& path) { m_strPathName = path; }
    bool IsModified() const;
    void SetModifiedFlag(bool bModified);

    // The text as it is saved: code-page bytes, every line ending in CR LF
    // except the last.
    QByteArray PlainText() const;

private:
    QPlainTextEdit* m_pText;
    QString m_strPathName;
};
