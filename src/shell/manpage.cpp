// The manual page orvella(1), written from the verb table and the README's text.
#include "shell/manpage.h"

#include "shell/commandverbs.h"

#include <QList>
#include <QRegularExpression>
#include <QSet>

#include <algorithm>

namespace orvella::shell::manPage {

namespace {

// Text roff must print as it stands: a backslash is its escape character.
QString escaped(const QString &text)
{
    QString out = text;
    out.replace(u'\\', QStringLiteral("\\e"));
    return out;
}

// Options and commands keep their hyphens as minus signs, which is what a reader types.
QString literal(const QString &text)
{
    return escaped(text).replace(u'-', QStringLiteral("\\-"));
}

// A line that starts with a dot or a quote would be read as a request.
QString safeLine(const QString &line)
{
    return line.startsWith(u'.') || line.startsWith(u'\'') ? QStringLiteral("\\&") + line : line;
}

QString inlineMarkdown(const QString &text)
{
    static const QRegularExpression token(QStringLiteral(R"(`([^`]*)`|\*\*|\[([^\]]*)\]\(([^)]*)\))"));
    QString out;
    qsizetype at = 0;
    bool bold = false;
    for (auto it = token.globalMatch(text); it.hasNext();) {
        const QRegularExpressionMatch m = it.next();
        out += escaped(text.mid(at, m.capturedStart() - at));
        if (m.hasCaptured(1) && m.captured(0).startsWith(u'`')) {
            // Inside bold text the code stays bold.
            out +=
                QStringLiteral("\\fB") + literal(m.captured(1)) + (bold ? QString() : QStringLiteral("\\fR"));
        } else if (m.captured(0) == QLatin1String("**")) {
            bold = !bold;
            out += bold ? QStringLiteral("\\fB") : QStringLiteral("\\fR");
        } else {
            out += escaped(m.captured(2)) + QStringLiteral(" <") + escaped(m.captured(3)) + u'>';
        }
        at = m.capturedEnd();
    }
    out += escaped(text.mid(at));
    if (bold)
        out += QStringLiteral("\\fR");
    return out;
}

// One entry of the README's command block: "orvella VERB OPERANDS  what it does".
struct ReadmeEntry
{
    QStringList verbs; ///< the verbs it names; "" for `orvella` alone
    QString description;
};

QList<ReadmeEntry> commandEntries(const QString &block)
{
    static const QRegularExpression gap(QStringLiteral(" {2,}"));
    QList<ReadmeEntry> entries;
    for (const QString &line : block.split(u'\n')) {
        if (line.startsWith(QLatin1String("orvella"))) {
            const qsizetype split = line.indexOf(gap);
            const QString synopsis = split < 0 ? line : line.left(split);
            ReadmeEntry entry;
            entry.description = split < 0 ? QString() : line.mid(split).trimmed();
            const QStringList words = synopsis.split(u' ', Qt::SkipEmptyParts);
            if (words.size() == 1)
                entry.verbs.append(QString());
            for (qsizetype i = 1; i < words.size(); ++i) {
                if ((i == 1 || words[i - 1] == QLatin1String("|")) && !words[i].startsWith(u'-'))
                    entry.verbs.append(words[i]);
            }
            entries.append(entry);
        } else if (!entries.isEmpty() && !line.trimmed().isEmpty()) {
            QString &description = entries.last().description;
            description += (description.isEmpty() ? QString() : QStringLiteral(" ")) + line.trimmed();
        }
    }
    return entries;
}

struct MarkedPart
{
    QString name;
    QString text;
};

std::optional<QList<MarkedPart>> markedParts(const QString &readme, QString *error)
{
    static const QRegularExpression open(QStringLiteral(R"(^<!-- man: ([A-Z][A-Z ]*[A-Z]) -->$)"));
    QList<MarkedPart> parts;
    bool inside = false;
    for (const QString &line : readme.split(u'\n')) {
        const QRegularExpressionMatch m = open.match(line.trimmed());
        if (m.hasMatch()) {
            if (inside) {
                *error = QStringLiteral("the README's part \"%1\" is not closed by <!-- /man -->")
                             .arg(parts.last().name);
                return std::nullopt;
            }
            // Parts of one name, wherever they stand, make one section.
            const auto same = std::find_if(parts.cbegin(), parts.cend(),
                                           [&](const MarkedPart &p) { return p.name == m.captured(1); });
            if (same != parts.cend()) {
                MarkedPart earlier = parts.takeAt(same - parts.cbegin());
                earlier.text += u'\n';
                parts.append(earlier);
            } else {
                parts.append({m.captured(1), {}});
            }
            inside = true;
        } else if (line.trimmed() == QLatin1String("<!-- /man -->")) {
            inside = false;
        } else if (inside) {
            parts.last().text += line + u'\n';
        }
    }
    if (inside) {
        *error =
            QStringLiteral("the README's part \"%1\" is not closed by <!-- /man -->").arg(parts.last().name);
        return std::nullopt;
    }
    return parts;
}

QString fencedBlock(const QString &text)
{
    const qsizetype start = text.indexOf(QLatin1String("```"));
    if (start < 0)
        return {};
    const qsizetype body = text.indexOf(u'\n', start) + 1;
    const qsizetype end = text.indexOf(QLatin1String("```"), body);
    return text.mid(body, end < 0 ? -1 : end - body);
}

QString optionSynopsis(const CommandOption &option)
{
    QString out = QStringLiteral("\\fB") + literal(option.name) + QStringLiteral("\\fR");
    if (!option.shortName.isEmpty())
        out = QStringLiteral("\\fB") + literal(option.shortName) + QStringLiteral("\\fR, ") + out;
    if (!option.placeholder.isEmpty())
        out += QStringLiteral(" \\fI") + escaped(option.placeholder) + QStringLiteral("\\fR");
    return out;
}

QString verbSynopsis(const CommandVerb &verb)
{
    QString out = QStringLiteral("\\fBorvella\\fR");
    if (!verb.name.isEmpty())
        out += QStringLiteral(" \\fB") + literal(verb.name) + QStringLiteral("\\fR");
    for (const CommandOperand &operand : verb.operands)
        out += QStringLiteral(" \\fI") + escaped(operand.placeholder) + QStringLiteral("\\fR");
    for (const CommandOption &option : verb.options)
        out += QStringLiteral(" [") + optionSynopsis(option) + u']';
    return out;
}

std::optional<QString> commandsSection(const QString &block, QString *error)
{
    QHash<QString, QString> described;
    QStringList unknown;
    for (const ReadmeEntry &entry : commandEntries(block)) {
        for (const QString &name : entry.verbs) {
            if (!name.isEmpty() && !commandVerbs::find(name))
                unknown.append(name);
            described.insert(name, entry.description);
        }
    }
    QStringList missing;
    QString out = QStringLiteral(".SH COMMANDS\n");
    for (const CommandVerb &verb : commandVerbs::all()) {
        if (verb.kind == CommandVerb::Kind::Help)
            continue;
        if (!described.contains(verb.name)) {
            missing.append(verb.name.isEmpty() ? QStringLiteral("orvella alone") : verb.name);
            continue;
        }
        const QString text = described.value(verb.name);
        out += QStringLiteral(".TP\n") + verbSynopsis(verb) + u'\n'
               + safeLine(escaped(text.isEmpty() ? verb.summary : text)) + u'\n';
        if (verb.needsRunningInstance())
            out += QStringLiteral(".br\n(needs Orvella running)\n");
        if (!verb.options.isEmpty()) {
            out += QStringLiteral(".RS\n");
            for (const CommandOption &option : verb.options)
                out += QStringLiteral(".TP\n") + optionSynopsis(option) + u'\n' + escaped(option.summary)
                       + u'\n';
            out += QStringLiteral(".RE\n");
        }
    }
    if (!unknown.isEmpty() || !missing.isEmpty()) {
        *error = QStringLiteral("the README's command block and the command line disagree: %1%2")
                     .arg(unknown.isEmpty()
                              ? QString()
                              : QStringLiteral("unknown there: ") + unknown.join(QStringLiteral(", ")),
                          missing.isEmpty()
                              ? QString()
                              : QStringLiteral(" missing there: ") + missing.join(QStringLiteral(", ")));
        return std::nullopt;
    }
    return out;
}

} // namespace

QString roffFromMarkdown(const QString &markdown)
{
    QString out;
    QString paragraph;
    bool bullet = false;
    bool code = false;
    const auto flush = [&] {
        if (!paragraph.isEmpty())
            out += (bullet ? QStringLiteral(".IP \\(bu 2\n") : QStringLiteral(".PP\n"))
                   + safeLine(inlineMarkdown(paragraph)) + u'\n';
        paragraph.clear();
        bullet = false;
    };
    for (const QString &line : markdown.split(u'\n')) {
        if (line.trimmed().startsWith(QLatin1String("```"))) {
            flush();
            out += code ? QStringLiteral(".fi\n.RE\n") : QStringLiteral(".PP\n.RS 4\n.nf\n");
            code = !code;
        } else if (code) {
            out += safeLine(escaped(line)) + u'\n';
        } else if (line.trimmed().isEmpty() || line.trimmed().startsWith(QLatin1String("<!--"))) {
            flush();
        } else if (line.startsWith(u'#')) {
            flush();
            out += QStringLiteral(".SS ") + inlineMarkdown(line.section(u' ', 1).trimmed()) + u'\n';
        } else if (line.startsWith(QLatin1String("- "))) {
            flush();
            bullet = true;
            paragraph = line.mid(2).trimmed();
        } else {
            paragraph += (paragraph.isEmpty() ? QString() : QStringLiteral(" ")) + line.trimmed();
        }
    }
    flush();
    if (code)
        out += QStringLiteral(".fi\n.RE\n");
    return out;
}

std::optional<QString> render(const QString &readme, const PageInfo &info, QString *error)
{
    const auto parts = markedParts(readme, error);
    if (!parts)
        return std::nullopt;
    QString commands;
    QString description;
    QString rest;
    for (const MarkedPart &part : *parts) {
        if (part.name == QLatin1String("COMMANDS")) {
            const auto section = commandsSection(fencedBlock(part.text), error);
            if (!section)
                return std::nullopt;
            commands = *section;
        } else if (part.name == QLatin1String("DESCRIPTION")) {
            description = roffFromMarkdown(part.text);
        } else {
            rest += QStringLiteral(".SH ") + part.name + u'\n' + roffFromMarkdown(part.text);
        }
    }
    if (commands.isEmpty()) {
        *error = QStringLiteral("the README has no part marked <!-- man: COMMANDS -->");
        return std::nullopt;
    }
    QString options = QStringLiteral(".SH OPTIONS\n");
    for (const CommandOption &option : commandVerbs::globalOptions())
        options += QStringLiteral(".TP\n") + optionSynopsis(option) + u'\n' + escaped(option.summary) + u'\n';
    return QStringLiteral(".TH ORVELLA 1 \"%1\" \"Orvella %2\" \"User Commands\"\n"
                          ".nh\n"
                          ".ad l\n"
                          ".SH NAME\n"
                          "orvella \\- window organiser sidebar for X11 desktops\n"
                          ".SH SYNOPSIS\n"
                          ".B orvella\n"
                          ".br\n"
                          ".B orvella\n"
                          ".I COMMAND\n"
                          "[\\fIOPERANDS\\fR] [\\fIOPTIONS\\fR]\n"
                          ".SH DESCRIPTION\n")
               .arg(info.date, info.version)
           + description + commands + options + rest
           + QStringLiteral(
               ".SH SEE ALSO\n"
               "The control interface on the session bus: \\fBbusctl\\fR(1) \\-\\-user introspect "
               "org.orvella.Orvella /org/orvella/Orvella\n");
}

} // namespace orvella::shell::manPage
