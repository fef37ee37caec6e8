// The window actions as commands: `orvella focus ID`, `tile-shelf SHELF_ID`, ...
#include "shell/windowcommand.h"

#include "actions/tilegeometry.h"
#include "shell/commandverbs.h"
#include "shell/windowcommandrun.h"
#include "tracking/windowmanager.h"

#include <QCoreApplication>

#include <optional>

namespace orvella::shell {

namespace {

using Verb = WindowCommand::Verb;

// The operands a verb takes, in words for the user; empty when it takes none.
QStringList operandNames(Verb verb)
{
    QStringList names;
    for (const CommandOperand &operand : commandVerbs::forWindowVerb(verb).operands)
        names.append(operand.noun);
    return names;
}

std::variant<WindowCommand, QString> parseTileShelfOptions(WindowCommand command, const QStringList &options)
{
    for (qsizetype i = 0; i < options.size(); i += 2) {
        const QString &option = options[i];
        if (option != QLatin1String("--align") && option != QLatin1String("--width"))
            return QStringLiteral("unknown option \"%1\"").arg(option);
        if (i + 1 >= options.size())
            return QStringLiteral("%1 needs a value").arg(option);
        const QString &value = options[i + 1];
        if (option == QLatin1String("--align")) {
            if (!actions::tileAlignmentFromString(value))
                return QStringLiteral("unknown alignment \"%1\" (left, center or right)").arg(value);
            command.alignment = value;
        } else {
            bool ok = false;
            command.widthFraction = value.toDouble(&ok);
            // Said rather than clamped: a column of 5 screens or of a twentieth is a typo.
            if (!ok
                || !(command.widthFraction >= actions::kMinWidthFraction
                     && command.widthFraction <= actions::kMaxWidthFraction))
                return QStringLiteral(
                           "--width takes a fraction of the screen width from 0.1 to 1.0, not \"%1\"")
                    .arg(value);
        }
    }
    return command;
}

} // namespace

bool needsRunningInstance(Verb verb)
{
    return verb >= Verb::ShowDesktop;
}

std::variant<WindowCommand, QString> parseWindowCommand(const QString &name, const QStringList &operands)
{
    WindowCommand command;
    const auto verb = commandVerbs::find(name);
    if (!verb || verb->kind != CommandVerb::Kind::Window)
        return QStringLiteral("unknown command \"%1\"").arg(name);
    command.verb = verb->windowVerb;
    const QStringList names = operandNames(command.verb);
    const qsizetype needed = names.size();
    const QStringList positional = operands.mid(0, needed);
    if (positional.size() < needed)
        return QStringLiteral("%1 needs %2").arg(name, names.join(QStringLiteral(" and ")));
    for (qsizetype i = 0; i < positional.size(); ++i) {
        // A shelf's name is the user's text, dashes and all.
        if (command.verb == Verb::AddShelf)
            break;
        if (positional[i].startsWith(QLatin1String("--")))
            return QStringLiteral("unknown option \"%1\"").arg(positional[i]);
        if (positional[i].startsWith(u'-'))
            return QStringLiteral("\"%1\" is not %2").arg(positional[i], names[i]);
    }
    if (needed > 0)
        command.target = positional.first();
    if (command.verb == Verb::TileWindow) {
        if (!actions::tilePosition::fromRawValue(positional[1]))
            return QStringLiteral("unknown position \"%1\" (one of %2)")
                .arg(positional[1], commandVerbs::choices(OperandKind::Position).join(QStringLiteral(", ")));
        command.position = positional[1];
    }
    if (command.verb == Verb::MoveToShelf)
        command.shelfID = positional[1];
    const QStringList rest = operands.mid(needed);
    if (command.verb == Verb::TileShelf)
        return parseTileShelfOptions(command, rest);
    if (!rest.isEmpty())
        return QStringLiteral("unexpected argument \"%1\"").arg(rest.first());
    return command;
}

void startWindowCommand(const WindowCommand &command, tracking::WindowManager &manager,
                        platform::WindowControl &control, std::function<void(const CommandResult &)> finished)
{
    // Owned by the manager, so that nothing runs on once the manager is gone.
    auto *run = new WindowCommandRun(command, manager, control, std::move(finished));
    run->start();
}

CommandResult runWindowCommand(const WindowCommand &command, tracking::WindowManager &manager,
                               platform::WindowControl &control)
{
    manager.restoreState();
    std::optional<CommandResult> result;
    startWindowCommand(command, manager, control, [&result](const CommandResult &r) { result = r; });
    while (!result)
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents, 50);
    return *result;
}

} // namespace orvella::shell
