// The window actions as commands: `orvella focus ID`, `tile-shelf SHELF_ID`, ...
#include "shell/windowcommand.h"

#include "actions/tilegeometry.h"
#include "shell/windowcommandrun.h"
#include "tracking/windowmanager.h"

#include <QCoreApplication>
#include <QHash>

#include <optional>

namespace orvella::shell {

namespace {

using Verb = WindowCommand::Verb;

const QHash<QString, Verb> &verbs()
{
    static const QHash<QString, Verb> table{
        {QStringLiteral("focus"), Verb::Focus},
        {QStringLiteral("close"), Verb::Close},
        {QStringLiteral("minimize"), Verb::Minimize},
        {QStringLiteral("tile-window"), Verb::TileWindow},
        {QStringLiteral("tile-shelf"), Verb::TileShelf},
        {QStringLiteral("minimize-all"), Verb::MinimizeAll},
        {QStringLiteral("new-window"), Verb::NewWindow},
        {QStringLiteral("show-desktop"), Verb::ShowDesktop},
        {QStringLiteral("show-sidebar"), Verb::ShowSidebar},
        {QStringLiteral("hide-sidebar"), Verb::HideSidebar},
        {QStringLiteral("toggle-sidebar"), Verb::ToggleSidebar},
        {QStringLiteral("add-shelf"), Verb::AddShelf},
        {QStringLiteral("move-to-shelf"), Verb::MoveToShelf},
        {QStringLiteral("remove-from-shelf"), Verb::RemoveFromShelf},
        {QStringLiteral("quit"), Verb::Quit},
    };
    return table;
}

// The operands a verb takes, in words for the user; empty when it takes none.
QStringList operandNames(Verb verb)
{
    const QString window = QStringLiteral("a window id");
    switch (verb) {
    case Verb::Focus:
    case Verb::Close:
    case Verb::Minimize:
    case Verb::RemoveFromShelf: return {window};
    case Verb::TileWindow: return {window, QStringLiteral("a position")};
    case Verb::TileShelf: return {QStringLiteral("a shelf id")};
    case Verb::NewWindow: return {QStringLiteral("an application id")};
    case Verb::AddShelf: return {QStringLiteral("a shelf name")};
    case Verb::MoveToShelf: return {window, QStringLiteral("a shelf id")};
    default: return {};
    }
}

QString positionNames()
{
    QStringList names;
    for (actions::TilePosition p : actions::kAllTilePositions)
        names.append(actions::tilePosition::rawValue(p));
    return names.join(QStringLiteral(", "));
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

bool isWindowCommand(const QString &command)
{
    return verbs().contains(command);
}

bool needsRunningInstance(Verb verb)
{
    return verb >= Verb::ShowDesktop;
}

std::variant<WindowCommand, QString> parseWindowCommand(const QString &name, const QStringList &operands)
{
    WindowCommand command;
    command.verb = verbs().value(name);
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
            return QStringLiteral("unknown position \"%1\" (one of %2)").arg(positional[1], positionNames());
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
