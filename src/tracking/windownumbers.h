// What is remembered under window numbers, and when a number stops naming the window
// it named: the X server reuses the ids of clients that quit.
#pragma once

#include "tracking/enumerationrecords.h"
#include "tracking/trackingstate.h"
#include "tracking/windowitem.h"

namespace orvella::tracking::windowNumbers {

/**
 * Checks every listed window number against the owner recorded for it. A number now
 * owned by another application, process or process incarnation names another window:
 * what was remembered under it (assignment, removal mark, live placement, signature,
 * order claim) is forgotten, once, with a log line, so that the title-based rules
 * decide where the new window goes. Records the owners of the listed numbers and drops
 * live placements of windows that are gone.
 */
void forgetReused(const QList<WindowItem> &windows, TrackingState &state);

/**
 * Carries the state of windows whose signature or title changed while their window
 * number and owner stayed (a retitle): assignments, order entries, removal marks and
 * the user's shelf choice move to the new signature and descriptor; nothing moves
 * across owners. Runs forgetReused first. Returns the signature changes;
 * `descriptorsChanged` tells about moved descriptor choices.
 */
QList<SigChange> migrateRenamed(const QList<WindowItem> &windows, TrackingState &state,
                                bool *descriptorsChanged = nullptr);

/// Forgets every number not listed for `cycles` regroupings in a row, and all that was
/// remembered under it. True when something persisted went.
bool pruneAbsent(const QList<WindowItem> &windows, TrackingState &state, int cycles);

} // namespace orvella::tracking::windowNumbers
