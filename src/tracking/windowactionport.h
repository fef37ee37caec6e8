// The one way the window model hands work to whoever moves windows.
#pragma once

#include "tracking/windowitem.h"

#include <QString>

#include <functional>

namespace orvella::tracking {

/// Called on the main thread once an action has settled.
using Completion = std::function<void()>;

/// A window action, its target already resolved against the model.
struct WindowActionRequest
{
    enum class Verb {
        Focus,
        Minimize,
        Close,
        TileWindow,
        TileSection,
        MinimizeSection,
        RestoreSection,
        RaiseSection,
        ToggleShowDesktop,
        ShowDesktopSave,
        ShowDesktopRestore,
        MinimizeAll,
        NewWindow,
        NewWindowForItem,
        Relaunch,
        /// Moves the listed windows that lie under the sidebar just clear of it.
        NudgeFromSidebar,
        /// Gives the windows the nudges moved back to where the user had them.
        RestoreNudged
    };
    Verb verb = Verb::Focus;
    /// The listed window, for Focus, Minimize, Close, TileWindow and NewWindowForItem.
    WindowItem window;
    /// A section id, or for NewWindow and Relaunch an application id.
    QString target;
    /// The raw tile position ("leftHalf") or alignment ("left").
    QString option;
    double widthFraction = 0.5;
    /// The listed windows, for NudgeFromSidebar.
    QList<WindowItem> windows;
};

/**
 * Implemented by the action layer, which sits above the model: the model decides
 * which window or section an id means, the port decides how the window manager is
 * asked. Requests are carried out in the order they arrive.
 */
class WindowActionPort
{
public:
    virtual ~WindowActionPort() = default;
    /// Starts `request`; false (and `done` never runs) when its option is not one
    /// the port knows.
    virtual bool perform(const WindowActionRequest &request, Completion done) = 0;
    /// Whether any of `windows` lies under the sidebar where the model says it is, judged
    /// from their listed frames alone: no round trip, so every refresh may ask.
    virtual bool overlapsSidebar(const QList<WindowItem> &windows) const = 0;
};

} // namespace orvella::tracking
