// The user's changes to shelves, as changes of the tracking state. The window manager
// regroups and persists after each.
#pragma once

#include "tracking/trackingstate.h"
#include "tracking/windowitem.h"

#include <functional>

namespace orvella::tracking::shelfOperations {

/// Creates "shelf-<n+1>", n being the highest numbered shelf, with its default name.
QString addShelf(TrackingState &state, const std::function<QString(const QString &number)> &defaultName);
/// Deletes a shelf: its windows go back to their app sections; its assignments,
/// order and names are dropped. False when there is no such shelf.
bool removeShelf(TrackingState &state, const QString &shelfID);
/// Sets a section's name; a blank name is refused (false).
bool renameCategory(TrackingState &state, const QString &categoryID, const QString &name);
/// Flips the collapsed state; a section never toggled counts as expanded.
void toggleCategoryCollapsed(TrackingState &state, const QString &categoryID);
/// Moves a section before another, or to the end; false (nothing changed) when the
/// section is not in the order.
bool moveCategory(TrackingState &state, const QString &categoryID, const std::optional<QString> &beforeID);
bool setCategoryHidden(TrackingState &state, const QString &categoryID, bool hidden);

/**
 * Puts `window` on `targetID` (a shelf, or its own app section = taking it off its
 * shelf), before `before` in the shelf's order when given. Clears earlier removal
 * marks, records the user's choice, and takes the window out of other shelves' orders.
 */
void moveWindow(TrackingState &state, const WindowItem &window, const QString &targetID,
                const std::optional<WindowItem> &before);
/// Takes `window` off its shelf and marks it removed, so that no memory brings it back.
void removeWindowFromShelf(TrackingState &state, const WindowItem &window);

} // namespace orvella::tracking::shelfOperations
