// The window actions as one-shot commands: `orvella focus ID`, `tile-shelf SHELF_ID`, ...
#include "shell/windowcommand.h"

#include "actions/tilegeometry.h"
#include "platform/windowcontrol.h"
#include "tracking/windowmanager.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QHash>

#include <cmath>

namespace orvella::shell {

namespace {

using Verb = WindowCommand::Verb;

constexpr int kRefreshTimeoutMs = 15000;
// Opening a window waits for the application to start; everything else settles in a second.
constexpr int kActionTimeoutMs = 30000;

const QHash<QString, Verb> &verbs()
{
    static const QHash<QString, Verb> table{
        {QStringLiteral("focus"), Verb::Focus},          {QStringLiteral("close"), Verb::Close},
        {QStringLiteral("minimize"), Verb::Minimize},    {QStringLiteral("tile-window"), Verb::TileWindow},
        {QStringLiteral("tile-shelf"), Verb::TileShelf}, {QStringLiteral("minimize-all"), Verb::MinimizeAll},
        {QStringLiteral("new-window"), Verb::NewWindow},
    };
    return table;
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

// Drives the event loop until `done` is set or time runs out.
bool waitUntil(const bool &done, int timeoutMs)
{
    QDeadlineTimer deadline(timeoutMs);
    while (!done && !deadline.hasExpired())
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents, 50);
    return done;
}

} // namespace

bool isWindowCommand(const QString &command)
{
    return verbs().contains(command);
}

std::variant<WindowCommand, QString> parseWindowCommand(const QString &name, const QStringList &operands)
{
    WindowCommand command;
    command.verb = verbs().value(name);
    const int needed = command.verb == Verb::MinimizeAll ? 0 : command.verb == Verb::TileWindow ? 2 : 1;
    const QStringList positional = operands.mid(0, needed);
    const QString what = needed == 2                       ? QStringLiteral("a window id and a position")
                         : command.verb == Verb::TileShelf ? QStringLiteral("a shelf id")
                         : command.verb == Verb::NewWindow ? QStringLiteral("an application id")
                                                           : QStringLiteral("a window id");
    if (positional.size() < needed)
        return QStringLiteral("%1 needs %2").arg(name, what);
    for (qsizetype i = 0; i < positional.size(); ++i) {
        if (positional[i].startsWith(QLatin1String("--")))
            return QStringLiteral("unknown option \"%1\"").arg(positional[i]);
        if (positional[i].startsWith(u'-'))
            return QStringLiteral("\"%1\" is not %2")
                .arg(positional[i], needed < 2 ? what
                                    : i == 0   ? QStringLiteral("a window id")
                                               : QStringLiteral("a position"));
    }
    if (needed > 0)
        command.target = positional.first();
    if (command.verb == Verb::TileWindow) {
        if (!actions::tilePosition::fromRawValue(positional[1]))
            return QStringLiteral("unknown position \"%1\" (one of %2)").arg(positional[1], positionNames());
        command.position = positional[1];
    }
    const QStringList rest = operands.mid(needed);
    if (command.verb == Verb::TileShelf)
        return parseTileShelfOptions(command, rest);
    if (!rest.isEmpty())
        return QStringLiteral("unexpected argument \"%1\"").arg(rest.first());
    return command;
}

int runWindowCommand(const WindowCommand &command, tracking::WindowManager &manager,
                     platform::WindowControl &control, const std::function<void(const QString &)> &printError)
{
    if (command.verb == Verb::NewWindow && !control.hasApplication(command.target)) {
        printError(QStringLiteral("no application \"%1\" (no desktop entry %1.desktop)").arg(command.target));
        return 2;
    }
    manager.restoreState();
    manager.refresh();
    if (!manager.waitForRefresh(kRefreshTimeoutMs)) {
        printError(QStringLiteral("the window list could not be read in time"));
        return 1;
    }

    const auto &categories = manager.categories();
    if (command.verb == Verb::TileShelf
        && std::none_of(categories.begin(), categories.end(), [&](const tracking::WindowCategory &c) {
               return c.isShelf() && c.id == command.target;
           })) {
        printError(QStringLiteral("no shelf with id \"%1\" (see orvella list)").arg(command.target));
        return 2;
    }
    bool done = false;
    const tracking::Completion finished = [&done] { done = true; };
    const QString &id = command.target;
    bool accepted = false;
    switch (command.verb) {
    case Verb::Focus: accepted = manager.focusWindow(id, finished); break;
    case Verb::Close: accepted = manager.closeWindow(id, finished); break;
    case Verb::Minimize: accepted = manager.minimizeWindow(id, finished); break;
    case Verb::TileWindow: accepted = manager.tileWindow(id, command.position, finished); break;
    case Verb::TileShelf:
        accepted = manager.tileCategoryWindows(id, command.alignment, command.widthFraction, finished);
        break;
    case Verb::MinimizeAll: accepted = manager.minimizeAllWindows(finished); break;
    case Verb::NewWindow: accepted = manager.openNewWindow(id, finished); break;
    }
    if (!accepted) {
        printError(QStringLiteral("no window with id \"%1\" (see orvella list --json)").arg(id));
        return 2;
    }
    if (!waitUntil(done, kActionTimeoutMs) || !manager.waitForRefresh(kRefreshTimeoutMs)) {
        printError(QStringLiteral("the window manager did not finish in time"));
        return 1;
    }
    // A window manager may refuse the focus (a window that takes no input, focus
    // stealing prevention): say so rather than succeed with nothing changed.
    if (command.verb == Verb::Focus && manager.activeWindowID() != id) {
        printError(QStringLiteral("the window manager did not focus \"%1\"").arg(id));
        return 1;
    }
    // A window that refused its place, or one left maximised, is not a tiled window.
    const int unplaced = manager.state().lastTilingFailures;
    if ((command.verb == Verb::TileWindow || command.verb == Verb::TileShelf) && unplaced != 0) {
        printError(unplaced < 0 ? QStringLiteral("there is no screen to tile on")
                                : QStringLiteral("%1 of the windows did not move where planned")
                                      .arg(QString::number(unplaced)));
        return 1;
    }
    return 0;
}

} // namespace orvella::shell
