// Tiling a shelf or one window, focusing and closing windows.
#pragma once

#include "actions/actioncontext.h"
#include "actions/tilegeometry.h"
#include "tracking/windowitem.h"

#include <QObject>

namespace orvella::actions {

/**
 * Geometry and bookkeeping on the main thread, writes on the pool, and a refresh once
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
                             double sidebarWidth, const QString &sidebarPosition, Completion completion);
    /// Snaps one window to a position of the usable area, un-minimising and raising it.
    void tileWindow(const tracking::WindowItem &window, TilePosition position, double sidebarWidth,
                    const QString &sidebarPosition, Completion completion);
    void focusWindow(const tracking::WindowItem &window, Completion completion);
    void closeWindow(const tracking::WindowItem &window, Completion completion);
    /// Minimises one window (a double click on its row).
    void minimizeWindow(const tracking::WindowItem &window, Completion completion);

private:
    SidebarPlacement sidebar(double width, const QString &position) const;
    void refreshAfter(int delayMs, Completion completion);

    ActionContext m_context;
};

} // namespace orvella::actions
