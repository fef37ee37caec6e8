// The window actions as commands: `orvella focus ID`, `tile-shelf SHELF_ID`, `add-shelf NAME`, ...
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
    enum class Verb {
        Focus,
        Close,
        Minimize,
        TileWindow,
        TileShelf,
        MinimizeAll,
        NewWindow,
        ShowDesktop,
        ShowSidebar,
        HideSidebar,
        ToggleSidebar,
        AddShelf,
        MoveToShelf,
        RemoveFromShelf,
        OpenSettings,
        Quit,
    };
    Verb verb = Verb::Focus;
    /// A window id (as `orvella list --json` prints it), a shelf id, a bundle id or a shelf name.
    QString target;
    /// For MoveToShelf: the shelf id.
    QString shelfID;
    /// The raw values the window manager's verbs take, checked when parsed.
    QString position = QStringLiteral("maximize");
    QString alignment = QStringLiteral("left");
    double widthFraction = 0.5;
};

/// The verbs only the running application can carry out: its sidebar, its shelves (the
/// one-shot commands only read the preferences) and its memory of what show desktop hid.
bool needsRunningInstance(WindowCommand::Verb verb);

/// How a command ended: the exit status (0 done, 1 it did not take effect, 2 nothing to act
/// on or a wrong request) and, when it is not 0, what to tell the user.
struct CommandResult
{
    int status = 0;
    QString message;
    QByteArray output; ///< what to print when it succeeded (a listing, a new shelf's id)
};

/// The command and its operands, or what is wrong with them (for the user).
std::variant<WindowCommand, QString> parseWindowCommand(const QString &command, const QStringList &operands);

/**
 * Carries out one of the window verbs (focus to new-window, and show desktop) on the main
 * thread without blocking it: refreshes, acts, waits until the action has settled and reads
 * the desktop again to check it. `finished` is called once, with status 2 for an id, shelf or
 * application that does not exist (nothing is moved then) and 1 when the action did not finish
 * in time or did not take effect; never when `manager` is destroyed first.
 */
void startWindowCommand(const WindowCommand &command, tracking::WindowManager &manager,
                        platform::WindowControl &control,
                        std::function<void(const CommandResult &)> finished);

/// The one-shot form: restores the stored shelves, runs the command and waits for it.
/// With no sidebar running, tiling uses the whole work area and a new window is not moved.
CommandResult runWindowCommand(const WindowCommand &command, tracking::WindowManager &manager,
                               platform::WindowControl &control);

} // namespace orvella::shell
