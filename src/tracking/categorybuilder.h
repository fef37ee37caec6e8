// The grouping step: routes windows to shelves and app sections, orders them, prunes
// stale memory and adds ghost and closed-app rows.
#pragma once

#include "tracking/trackingstate.h"
#include "tracking/windowcategory.h"

#include <QDate>

#include <functional>

namespace orvella::tracking::categoryBuilder {

struct Options
{
    bool showAllWindowsInAppSection = true;
    bool showClosedShelfApps = false;
    /// The default name of a shelf from its number text ("Shelf 3").
    std::function<QString(const QString &number)> defaultShelfName;
    /// Today, for ageing app sections out of the order; invalid: no ageing.
    QDate today;
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

/// Sections the sidebar shows: hidden ones left out, or only `onlyCategory` when set
/// and still there.
QList<WindowCategory> visibleCategories(const QList<WindowCategory> &categories, const TrackingState &state);

} // namespace orvella::tracking::categoryBuilder
