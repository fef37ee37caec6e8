// Completion scripts for bash, zsh and fish, written from the verb table.
#include "shell/shellcompletions.h"

#include "shell/commandverbs.h"

namespace orvella::shell::shellCompletions {

namespace {

// Inside single quotes nothing is special but the quote itself, in bash and zsh alike.
QString singleQuoted(const QString &text)
{
    QString out = text;
    out.replace(u'\'', QStringLiteral("'\\''"));
    return u'\'' + out + u'\'';
}

// zsh's _arguments and _describe read ':' and brackets in a description as syntax.
QString zshDescription(const QString &text)
{
    QString out = text;
    out.replace(u'\\', QStringLiteral("\\\\"));
    out.replace(u':', QStringLiteral("\\:"));
    out.replace(u'[', QStringLiteral("\\["));
    out.replace(u']', QStringLiteral("\\]"));
    return out;
}

// fish: single quotes, where only the quote and the backslash are escaped.
QString fishQuoted(const QString &text)
{
    QString out = text;
    out.replace(u'\\', QStringLiteral("\\\\"));
    out.replace(u'\'', QStringLiteral("\\'"));
    return u'\'' + out + u'\'';
}

QStringList verbNames()
{
    QStringList names;
    for (const CommandVerb &verb : commandVerbs::all()) {
        if (!verb.name.isEmpty())
            names.append(verb.name);
    }
    return names;
}

QStringList globalOptionWords()
{
    QStringList words;
    for (const CommandOption &option : commandVerbs::globalOptions())
        words << option.shortName << option.name;
    return words;
}

} // namespace

QString bash()
{
    QString cases;
    for (const CommandVerb &verb : commandVerbs::all()) {
        if (verb.name.isEmpty() || (verb.operands.isEmpty() && verb.options.isEmpty()))
            continue;
        QStringList lines{QStringLiteral("    %1)").arg(verb.name)};
        QStringList optionNames;
        QStringList values;
        for (const CommandOption &option : verb.options) {
            optionNames.append(option.name);
            // An option's value: its choices, or nothing to offer for a number.
            if (!option.placeholder.isEmpty())
                values.append(
                    QStringLiteral("        %1) COMPREPLY=($(compgen -W %2 -- \"$cur\")); return ;;")
                        .arg(option.name, singleQuoted(commandVerbs::choices(option.kind).join(u' '))));
        }
        if (!values.isEmpty())
            lines << QStringLiteral("        case $prev in") << values << QStringLiteral("        esac");
        for (qsizetype i = 0; i < verb.operands.size(); ++i) {
            const QStringList choices = commandVerbs::choices(verb.operands[i].kind);
            if (!choices.isEmpty())
                lines.append(QStringLiteral("        [ \"$n\" -eq %1 ] && words=%2")
                                 .arg(QString::number(i + 1), singleQuoted(choices.join(u' '))));
        }
        if (!optionNames.isEmpty())
            lines.append(
                QStringLiteral("        [ \"$n\" -gt %1 ] && words=%2")
                    .arg(QString::number(verb.operands.size()), singleQuoted(optionNames.join(u' '))));
        lines.append(QStringLiteral("        ;;"));
        cases += lines.join(u'\n') + u'\n';
    }
    return QStringLiteral(
               "# bash completion for orvella                                -*- shell-script -*-\n"
               "\n"
               "_orvella()\n"
               "{\n"
               "    local cur=${COMP_WORDS[COMP_CWORD]} prev=${COMP_WORDS[COMP_CWORD - 1]}\n"
               "    local n=$((COMP_CWORD - 1)) words=''\n"
               "    if [ \"$COMP_CWORD\" -eq 1 ]; then\n"
               "        COMPREPLY=($(compgen -W %1 -- \"$cur\"))\n"
               "        return\n"
               "    fi\n"
               "    case ${COMP_WORDS[1]} in\n")
               .arg(singleQuoted((verbNames() + globalOptionWords()).join(u' ')))
           + cases
           + QStringLiteral("    esac\n"
                            "    COMPREPLY=($(compgen -W \"$words\" -- \"$cur\"))\n"
                            "} &&\n"
                            "    complete -F _orvella orvella\n");
}

QString zsh()
{
    QString verbs;
    QString cases;
    for (const CommandVerb &verb : commandVerbs::all()) {
        if (verb.name.isEmpty())
            continue;
        verbs +=
            QStringLiteral("        %1\n").arg(singleQuoted(verb.name + u':' + zshDescription(verb.summary)));
        QStringList specs;
        for (qsizetype i = 0; i < verb.operands.size(); ++i) {
            const CommandOperand &operand = verb.operands[i];
            const QStringList choices = commandVerbs::choices(operand.kind);
            specs.append(singleQuoted(
                QStringLiteral("%1:%2:%3")
                    .arg(QString::number(i + 1), zshDescription(operand.noun),
                         choices.isEmpty() ? QStringLiteral(" ") : u'(' + choices.join(u' ') + u')')));
        }
        for (const CommandOption &option : verb.options) {
            const QStringList choices = commandVerbs::choices(option.kind);
            QString spec = option.name + u'[' + zshDescription(option.summary) + u']';
            if (!option.placeholder.isEmpty())
                spec += u':' + zshDescription(option.placeholder) + u':'
                        + (choices.isEmpty() ? QStringLiteral(" ") : u'(' + choices.join(u' ') + u')');
            specs.append(singleQuoted(spec));
        }
        if (!specs.isEmpty())
            cases += QStringLiteral("        %1) _arguments %2 ;;\n").arg(verb.name, specs.join(u' '));
    }
    QStringList global;
    for (const CommandOption &option : commandVerbs::globalOptions())
        global.append(QStringLiteral("'(- *)'{%1,%2}%3")
                          .arg(option.shortName, option.name,
                               singleQuoted(u'[' + zshDescription(option.summary) + u']')));
    return QStringLiteral("#compdef orvella\n"
                          "\n"
                          "_orvella() {\n"
                          "    local -a verbs\n"
                          "    verbs=(\n")
           + verbs
           + QStringLiteral("    )\n"
                            "    if (( CURRENT == 2 )); then\n"
                            "        _describe -t commands 'orvella command' verbs\n"
                            "        _arguments %1\n"
                            "        return\n"
                            "    fi\n"
                            "    shift words\n"
                            "    (( CURRENT-- ))\n"
                            "    case $words[1] in\n")
                 .arg(global.join(u' '))
           + cases
           + QStringLiteral("    esac\n"
                            "}\n"
                            "\n"
                            "_orvella \"$@\"\n");
}

QString fish()
{
    QString out = QStringLiteral("# fish completion for orvella\n"
                                 "complete -c orvella -f\n");
    for (const CommandOption &option : commandVerbs::globalOptions())
        out += QStringLiteral("complete -c orvella -n __fish_use_subcommand -s %1 -l %2 -d %3\n")
                   .arg(option.shortName.mid(1), option.name.mid(2), fishQuoted(option.summary));
    for (const CommandVerb &verb : commandVerbs::all()) {
        if (verb.name.isEmpty())
            continue;
        out += QStringLiteral("complete -c orvella -n __fish_use_subcommand -a %1 -d %2\n")
                   .arg(verb.name, fishQuoted(verb.summary));
        const QString when = fishQuoted(QStringLiteral("__fish_seen_subcommand_from ") + verb.name);
        for (const CommandOperand &operand : verb.operands) {
            const QStringList choices = commandVerbs::choices(operand.kind);
            if (!choices.isEmpty())
                out += QStringLiteral("complete -c orvella -n %1 -a %2 -d %3\n")
                           .arg(when, fishQuoted(choices.join(u' ')), fishQuoted(operand.noun));
        }
        for (const CommandOption &option : verb.options) {
            const QStringList choices = commandVerbs::choices(option.kind);
            out += QStringLiteral("complete -c orvella -n %1 -l %2%3 -d %4\n")
                       .arg(when, option.name.mid(2),
                            option.placeholder.isEmpty()
                                ? QString()
                                : QStringLiteral(" -x")
                                      + (choices.isEmpty()
                                             ? QString()
                                             : QStringLiteral(" -a ") + fishQuoted(choices.join(u' '))),
                            fishQuoted(option.summary));
        }
    }
    return out;
}

} // namespace orvella::shell::shellCompletions
