// Tiling a shelf or one window, focusing and closing windows.
#pragma once

#include "actions/actioncontext.h"
#include "actions/tilegeometry.h"
#include "tracking/windowitem.h"

#include <QObject>

#include <functional>

namespace orvella::platform {
struct AppWindow;
}

namespace orvella::actions {

/**
 * Geometry and bookkeeping on the main thread, writes on the action lane, and a refresh once
 * the window manager has had time to apply them. Completions, for scripts that wait,
 * come on the main thread after that refresh was asked for.
 */
class WindowActions : public QObject
{
    Q_OBJECT
public:
    WindowActions(ActionContext context, QObject *parent);

    /// Stacks a shelf's windows in one column beside the sidebar. An unknown or empty
    /// shelf does nothing (and completes at once).
    void tileCategoryWindows(const QString &categoryID, TileAlignment alignment, double widthFraction,
                             Completion completion);
    /// Snaps one window to a position of the usable area, un-minimising and raising it.
    void tileWindow(const tracking::WindowItem &window, TilePosition position, Completion completion);
    void focusWindow(const tracking::WindowItem &window, Completion completion);
    void closeWindow(const tracking::WindowItem &window, Completion completion);
    /// Minimises one window (a double click on its row).
    void minimizeWindow(const tracking::WindowItem &window, Completion completion);

private:
    /// Where the model says the sidebar is.
    SidebarPlacement sidebar() const;
    using ElementAction = std::function<void(platform::WindowControl &, const platform::AppWindow &)>;
    /// Finds the window's element on a worker and, when it has a number, acts on it;
    /// `operation`, when given, names the action in the line logged for a missing element.
    void actOnElement(const tracking::WindowItem &window, const char *operation, Completion completion,
                      ElementAction action);
    void refreshAfter(int delayMs, Completion completion);

    ActionContext m_context;
};

} // namespace orvella::actions
