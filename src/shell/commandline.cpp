// Parses Orvella's command line into one request.
#include "shell/commandline.h"

#include "shell/commandverbs.h"

namespace orvella::shell {

namespace {

// sysmon's options, which take values; false with `request` made Invalid on a mistake.
bool parseSysmonOptions(const QStringList &arguments, CommandLineRequest &request)
{
    for (qsizetype i = 0; i < arguments.size(); ++i) {
        const QString &arg = arguments[i];
        if (arg == QLatin1String("--json")) {
            request.json = true;
            continue;
        }
        if (arg == QLatin1String("--help") || arg == QLatin1String("-h")) {
            request.action = CommandLineRequest::Action::Help;
            return true;
        }
        if (arg != QLatin1String("--interval") && arg != QLatin1String("--count")) {
            request.action = CommandLineRequest::Action::Invalid;
            request.error = QStringLiteral("unknown option \"%1\"").arg(arg);
            return false;
        }
        bool ok = false;
        const QString value = i + 1 < arguments.size() ? arguments[++i] : QString();
        if (arg == QLatin1String("--interval")) {
            request.sysmonInterval = value.toDouble(&ok);
            ok = ok && request.sysmonInterval >= 0.1 && request.sysmonInterval <= 3600;
        } else {
            request.sysmonCount = value.toInt(&ok);
            ok = ok && request.sysmonCount >= 1;
        }
        if (!ok) {
            request.action = CommandLineRequest::Action::Invalid;
            request.error = arg == QLatin1String("--interval")
                                ? QStringLiteral("--interval needs a number of seconds from 0.1 to 3600")
                                : QStringLiteral("--count needs a whole number of at least 1");
            return false;
        }
    }
    return true;
}

// One command in --help: its synopsis, and its summary beside it when there is room, else
// below it, wrapped to 80 columns.
QString usageEntry(const QString &synopsis, const QString &summary)
{
    constexpr qsizetype kIndent = 16;
    constexpr qsizetype kWidth = 80;
    QString out = QStringLiteral("  ") + synopsis;
    if (out.size() >= kIndent)
        out += u'\n' + QString(kIndent, u' ');
    else
        out = out.leftJustified(kIndent);
    qsizetype column = kIndent;
    bool first = true;
    for (const QString &word : summary.split(u' ', Qt::SkipEmptyParts)) {
        if (!first && column + 1 + word.size() > kWidth) {
            out += u'\n' + QString(kIndent, u' ');
            column = kIndent;
            first = true;
        }
        if (!first)
            out += u' ', ++column;
        out += word;
        column += word.size();
        first = false;
    }
    return out + u'\n';
}

} // namespace

CommandLineRequest parseCommandLine(const QStringList &arguments)
{
    using Action = CommandLineRequest::Action;
    using Kind = CommandVerb::Kind;
    CommandLineRequest request;
    QStringList rest = arguments;
    if (!rest.isEmpty() && !rest.constFirst().startsWith(u'-')) {
        const QString command = rest.takeFirst();
        const std::optional<CommandVerb> verb = commandVerbs::find(command);
        const bool wantsHelp = rest.contains(QLatin1String("--help")) || rest.contains(QLatin1String("-h"));
        if (!verb) {
            request.action = Action::Invalid;
            request.error = QStringLiteral("unknown command \"%1\"").arg(command);
            return request;
        }
        switch (verb->kind) {
        case Kind::Run:
        case Kind::Help: request.action = Action::Help; break;
        case Kind::List: request.action = Action::List; break;
        case Kind::Watch: request.action = Action::Watch; break;
        case Kind::Sysmon:
            request.action = Action::Sysmon;
            parseSysmonOptions(rest, request);
            return request;
        case Kind::Window: {
            if (wantsHelp) {
                request.action = Action::Help;
                return request;
            }
            auto parsed = parseWindowCommand(command, rest);
            if (auto *error = std::get_if<QString>(&parsed)) {
                request.action = Action::Invalid;
                request.error = *error;
            } else {
                request.action = Action::Window;
                request.window = std::get<WindowCommand>(parsed);
            }
            return request;
        }
        }
    }
    for (const QString &arg : rest) {
        if (arg == QLatin1String("--version") || arg == QLatin1String("-v")) {
            request.action = Action::Version;
        } else if (arg == QLatin1String("--help") || arg == QLatin1String("-h")) {
            request.action = Action::Help;
        } else if (arg == QLatin1String("--json")
                   && (request.action == Action::List || request.action == Action::Watch)) {
            request.json = true;
        } else {
            request.action = Action::Invalid;
            request.error = QStringLiteral("unknown option \"%1\"").arg(arg);
            return request;
        }
    }
    return request;
}

QString usageText()
{
    QString text = QStringLiteral("Usage: orvella [COMMAND] [OPTIONS]\n"
                                  "\n"
                                  "Orvella keeps a sidebar at the screen edge that lists every open window,\n"
                                  "grouped into shelves and per-application sections.\n"
                                  "\n"
                                  "Commands:\n");
    for (const CommandVerb &verb : commandVerbs::all()) {
        if (!verb.needsRunningInstance())
            text +=
                usageEntry(verb.name.isEmpty() ? QStringLiteral("(none)") : verb.synopsis(), verb.summary);
    }
    text += QStringLiteral("\n"
                           "With Orvella running, the commands above act through it (its shelves, its\n"
                           "sidebar's room). These need it running:\n");
    for (const CommandVerb &verb : commandVerbs::all()) {
        if (verb.needsRunningInstance())
            text += usageEntry(verb.synopsis(), verb.summary);
    }
    text += QStringLiteral("\nOptions:\n");
    for (const CommandOption &option : commandVerbs::globalOptions())
        text += usageEntry(option.shortName + QStringLiteral(", ") + option.name, option.summary);
    return text + QStringLiteral("\nPreferences: $XDG_CONFIG_HOME/orvella/preferences.json\n");
}

} // namespace orvella::shell
