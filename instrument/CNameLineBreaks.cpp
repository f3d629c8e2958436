#include "CNameLineBreaks.h"

namespace {

const QString CRName = QStringLiteral("<CR>");
const QString LFName = QStringLiteral("<LF>");

} // namespace

QString CNameLineBreaks::Add(const QString& piece)
{
    if (piece.isEmpty())
        return piece;
    QString shown;
    shown.reserve(piece.size() + piece.size() / 8);
    // A "<CR>" that ended the previous piece gets its break now, unless the
    // "<LF>" of the pair comes first.
    if (m_bAfterCR && !piece.startsWith(LFName))
        shown += QLatin1Char('\n');
    m_bAfterCR = false;
    qsizetype from = 0;
    for (;;) {
        const qsizetype at = piece.indexOf(QLatin1Char('<'), from);
        if (at < 0)
            break;
        if (QStringView(piece).mid(at).startsWith(LFName)) {
            shown += QStringView(piece).mid(from, at + LFName.size() - from);
            shown += QLatin1Char('\n');
            from = at + LFName.size();
        } else if (QStringView(piece).mid(at).startsWith(CRName)) {
            const qsizetype next = at + CRName.size();
            shown += QStringView(piece).mid(from, next - from);
            from = next;
            if (next == piece.size())
                m_bAfterCR = true;
            else if (!QStringView(piece).mid(next).startsWith(LFName))
                shown += QLatin1Char('\n');
        } else {
            shown += QStringView(piece).mid(from, at + 1 - from);
            from = at + 1;
        }
    }
    shown += QStringView(piece).mid(from);
    return shown;
}

QString CNameLineBreaks::Remove(const QString& text)
{
    QString plain;
    plain.reserve(text.size());
    for (qsizetype i = 0; i < text.size(); ++i) {
        const QChar c = text.at(i);
        if (c == QLatin1Char('\n') && i >= 4) {
            const QStringView before = QStringView(text).mid(i - 4, 4);
            if (before == LFName || before == CRName)
                continue;
        }
        plain += c;
    }
    return plain;
}
