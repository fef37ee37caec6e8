// Keeping other applications' windows clear of the sidebar, and giving them back after.
#pragma once

#include "actions/actioncontext.h"
#include "actions/tilegeometry.h"
#include "tracking/windowitem.h"

#include <QObject>

namespace orvella::actions {

/**
 * Moves windows out from under the sidebar and remembers where they were, so that they
 * can be put back when avoidance ends. The frame a window had before its first nudge is
 * kept in the model's `nudgedWindowFrames`, where the nudge left it in
 * `lastObservedSidebarFrames`; both are keyed by window id. Bookkeeping on the main
 * thread, reads and writes on the action lane, a refresh once they have settled.
 */
class SidebarAvoidance : public QObject
{
    Q_OBJECT
public:
    SidebarAvoidance(ActionContext context, QObject *parent);

    /// Whether any of `windows` lies under the sidebar on its screen, as the model
    /// places it; false while the sidebar has no screen. Main thread, no round trip.
    bool overlapsSidebar(const QList<tracking::WindowItem> &windows) const;

    /**
     * Moves every one of `windows` that is shown (not minimised, on the current desktop),
     * lies on the sidebar's screen and overlaps its strip just clear of it, narrowing
     * it when the space beside the sidebar is too small (see frameClearOfSidebar()).
     * Full-screen windows stay. Frames are read afresh, not taken from the list.
     */
    void nudgeWindowsFromSidebar(const QList<tracking::WindowItem> &windows, const SidebarPlacement &sidebar,
                                 Completion completion);

    /// Puts each remembered window that is still listed and still where its nudge left
    /// it (a window the user moved since stays where the user put it) back at its frame
    /// from before the nudge. The memory is cleared either way.
    void restoreNudgedWindows(Completion completion);

private:
    void refreshAfter(Completion completion);

    ActionContext m_context;
};

} // namespace orvella::actions
