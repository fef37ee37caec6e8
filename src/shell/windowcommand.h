// The window actions as one-shot commands: `orvella focus ID`, `tile-shelf SHELF_ID`, ...
#pragma once

#include <QString>
#include <QStringList>

#include <functional>
#include <variant>

namespace orvella::platform {
class WindowControl;
}
namespace orvella::tracking {
class WindowManager;
}

namespace orvella::shell {

struct WindowCommand
{
    enum class Verb { Focus, Close, Minimize, TileWindow, TileShelf, MinimizeAll, NewWindow };
    Verb verb = Verb::Focus;
    /// A window id (as `orvella list --json` prints it), a shelf id or a bundle id.
    QString target;
    /// The raw values the window manager's verbs take, checked when parsed.
    QString position = QStringLiteral("maximize");
    QString alignment = QStringLiteral("left");
    double widthFraction = 0.5;
};

/// Whether `command` names one of the window commands.
bool isWindowCommand(const QString &command);

/// The command and its operands, or what is wrong with them (for the user).
std::variant<WindowCommand, QString> parseWindowCommand(const QString &command, const QStringList &operands);

/**
 * Refreshes once, acts and waits until the action has settled. Returns the exit
 * status: 0 done, 2 for an id, shelf or application that does not exist (nothing is
 * moved then), 1 when the action did not finish in time. Errors go to `printError`.
 * With no sidebar running, tiling uses the whole work area and a new window is not moved.
 */
int runWindowCommand(const WindowCommand &command, tracking::WindowManager &manager,
                     platform::WindowControl &control,
                     const std::function<void(const QString &)> &printError);

} // namespace orvella::shell
