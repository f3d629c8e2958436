#pragma once

#include "CTextSink.h"

#include <QByteArray>
#include <QString>

#include <functional>

// Stands between the pipeline and the window's text: passes everything on
// and cuts it into lines (at CR, LF or CR LF, the line ends of the window);
// every line that is not empty goes out as a reading. A line still open is
// sent by Flush (when the window closes or capture ends).
class CPublishingSink : public CTextSink
{
public:
    using Sender = std::function<void(const QByteArray& json)>;

    // next may be null (nothing shown, only published).
    CPublishingSink(CTextSink* next, Sender send);

    void SetDriverName(const QString& name) { m_strDriver = name; }
    // Off, the text only passes through: no line is cut or turned into a
    // reading (that costs more than showing it).
    void SetEnabled(bool enabled)
    {
        m_bEnabled = enabled;
        m_line.clear();
    }
    void AppendBytes(const QByteArray& bytes) override;
    void DeleteLastCharacter() override;
    void Flush();

    // A line longer than this is sent in parts.
    static constexpr qsizetype MaxLine = 64 * 1024;

private:
    void SendLine();

    CTextSink* m_pNext;
    Sender m_send;
    QString m_strDriver;
    QByteArray m_line;
    bool m_bEnabled = true;
};
