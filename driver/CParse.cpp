#include "CParse.h"

#include "CControlCode.h"
#include "CStringTable.h"

CParse::CParse(const QByteArray& delimiters)
    : m_strDelimiters(delimiters)
{
}

void CParse::EncodeControlCodes(QByteArray& text) const
{
    const CControlCode codes;
    QByteArray result;
    result.reserve(text.size());
    // The length bounds the walk: embedded NUL bytes are encoded too.
    for (const char byte : text) {
        const auto value = static_cast<unsigned char>(byte);
        if (value < 32) {
            result += '<';
            result += codes.GetName(value);
            result += '>';
        } else {
            result += byte;
        }
    }
    text = result;
}

void CParse::DecodeControlCodes(QByteArray& text) const
{
    const CControlCode codes;
    const qsizetype n = text.size();
    QByteArray result;
    result.reserve(n);
    qsizetype p = 0;
    while (p < n) {
        if (text.at(p) != '<') {
            result += text.at(p++);
            continue;
        }
        // Candidate name: up to three bytes, ending before a '>' or the end.
        qsizetype end = p + 1;
        while (end < n && end - (p + 1) < 3 && text.at(end) != '>')
            ++end;
        const int code = codes.GetCode(text.mid(p + 1, end - (p + 1)));
        if (code < 0) {
            result += '<';
            ++p;
            continue;
        }
        result += char(code);
        // Whatever follows the name up to the '>' is dropped; without a '>'
        // the rest of the text is consumed.
        const qsizetype close = text.indexOf('>', p);
        p = close < 0 ? n : close + 1;
    }
    const qsizetype nul = result.indexOf('\0');
    if (nul >= 0)
        result.truncate(nul);
    text = result;
}

QByteArrayList CParse::Split(const QByteArray& text) const
{
    QByteArrayList parts;
    QByteArray part;
    for (const char byte : text) {
        if (!m_strDelimiters.contains(byte)) {
            part += byte;
            continue;
        }
        // Consecutive and leading delimiters give no empty parts.
        if (!part.isEmpty())
            parts.append(part);
        part.clear();
    }
    if (!part.isEmpty())
        parts.append(part);
    return parts;
}

void CParse::SplitResource(int id, QByteArray& first, QByteArray& second) const
{
    const QByteArrayList parts = Split(CStringTable::Get(id));
    QByteArray* outputs[] = {&first, &second};
    for (qsizetype i = 0; i < parts.size() && i < 2; ++i)
        *outputs[i] = parts.at(i);
}

void CParse::SplitResource(int id, QByteArray& first, QByteArray& second, QByteArray& third,
                           QByteArray& fourth) const
{
    const QByteArrayList parts = Split(CStringTable::Get(id));
    QByteArray* outputs[] = {&first, &second, &third, &fourth};
    for (qsizetype i = 0; i < parts.size() && i < 4; ++i)
        *outputs[i] = parts.at(i);
}

void CParse::SplitResource(int id, QByteArrayList& parts) const
{
    parts.append(Split(CStringTable::Get(id)));
}

void CParse::GetFirstToken(const QByteArray& text, QByteArray& first) const
{
    const QByteArrayList parts = Split(text);
    if (!parts.isEmpty())
        first = parts.front();
}
