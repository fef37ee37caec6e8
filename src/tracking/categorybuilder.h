// The grouping step: routes windows to shelves and app sections, orders them, prunes
// stale memory and adds ghost and closed-app rows.
#pragma once

#include "tracking/enumerationrecords.h"
#include "tracking/trackingstate.h"
#include "tracking/windowcategory.h"

#include <functional>

namespace orvella::tracking::categoryBuilder {

struct Options
{
    bool showAllWindowsInAppSection = true;
    bool showClosedShelfApps = false;
    /// The default name of a shelf from its number text ("Shelf 3").
    std::function<QString(const QString &number)> defaultShelfName;
};

struct Result
{
    /// Every section in display order, hidden ones included.
    QList<WindowCategory> categories;
    /// The windows again, with `assignedShelfName` set.
    QList<WindowItem> windows;
    /// Something that is persisted changed: the caller writes the shelf state.
    bool stateChanged = false;
};

/// Regroups `windows`; reads and updates `state`.
Result build(const QList<WindowItem> &windows, TrackingState &state, const Options &options);

/**
 * Carries the state of windows whose signature or title changed while their window
 * number stayed (a retitle): assignments, order entries, memory, removal marks and
 * the user's shelf choice move to the new signature and descriptor. Returns the
 * signature changes; `descriptorsChanged` tells about moved descriptor choices.
 */
QList<SigChange> migrateStateForRenamedWindows(const QList<WindowItem> &windows, TrackingState &state,
                                               bool *descriptorsChanged = nullptr);

/// Forgets what was remembered under a window number that now belongs to another
/// process (the X server reuses the ids of clients that quit), and live placements of
/// windows that are gone. Run by migrateStateForRenamedWindows.
void forgetReusedWindowNumbers(const QList<WindowItem> &windows, TrackingState &state);

/// Sections the sidebar shows: hidden ones left out, or only `onlyCategory` when set.
QList<WindowCategory> visibleCategories(const QList<WindowCategory> &categories, const TrackingState &state);

} // namespace orvella::tracking::categoryBuilder
