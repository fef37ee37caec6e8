// Writes the shelf state to the preferences and reads it back: the stored-data format
// of shelves, orders and assignments.
#pragma once

#include "tracking/trackingstate.h"

namespace orvella::platform {
class PreferencesStore;
}

namespace orvella::tracking::shelfPersistence {

/// Writes the "ov." keys, in their fixed order; empty collections are written as empty
/// arrays or objects, never removed. The store writes nothing when no value changed.
void persistState(const TrackingState &state, platform::PreferencesStore &store);

/// Reads the keys back, each only when it has the expected shape (otherwise the field
/// keeps its value); repeated window-order entries are dropped; window-number keys
/// that are not integers are dropped. Logs the counts.
void restoreState(TrackingState &state, platform::PreferencesStore &store);

/// Gives stores written before descriptor assignments existed one descriptor per
/// titled shelf assignment, and writes them at once.
void bootstrapManualShelfAssignmentsFromPersistedState(TrackingState &state,
                                                       platform::PreferencesStore &store);

} // namespace orvella::tracking::shelfPersistence
