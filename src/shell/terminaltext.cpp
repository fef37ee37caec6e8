#include "shell/terminaltext.h"

namespace orvella::shell::terminalText {

namespace {

// Embeddings, overrides and isolates: they reorder the rest of the line, and with it what
// the reader takes for a title or an id. The marks (U+200E, U+200F) only attach to a
// neighbour and are kept, as right-to-left titles need them.
bool isBidiControl(char32_t c)
{
    return (c >= 0x202A && c <= 0x202E) || (c >= 0x2066 && c <= 0x2069);
}

QString escapeOf(char32_t c)
{
    switch (c) {
    case '\n': return QStringLiteral("\\n");
    case '\r': return QStringLiteral("\\r");
    case '\t': return QStringLiteral("\\t");
    default: break;
    }
    if (c < 0x80)
        return QStringLiteral("\\x%1").arg(uint(c), 2, 16, QLatin1Char('0'));
    return QStringLiteral("\\u%1").arg(uint(c), 4, 16, QLatin1Char('0'));
}

} // namespace

QString escaped(const QString &text)
{
    QString out;
    out.reserve(text.size());
    for (qsizetype i = 0; i < text.size(); ++i) {
        const QChar c = text[i];
        if (c.isHighSurrogate() && i + 1 < text.size() && text[i + 1].isLowSurrogate()) {
            out.append(c).append(text[++i]);
        } else if (c.isSurrogate()) {
            out.append(QChar::ReplacementCharacter);
        } else if (const QChar::Category category = c.category();
                   category == QChar::Other_Control || category == QChar::Separator_Line
                   || category == QChar::Separator_Paragraph || isBidiControl(c.unicode())) {
            out.append(escapeOf(c.unicode()));
        } else {
            out.append(c);
        }
    }
    return out;
}

QByteArray lines(const QStringList &lines)
{
    QByteArray out;
    for (const QString &line : lines)
        out += escaped(line).toUtf8() + '\n';
    return out;
}

} // namespace orvella::shell::terminalText
