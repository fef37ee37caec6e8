// The user's order of windows inside a shelf: stored order entries, matched to the
// listed windows, repaired when windows come back under other ids, and forgotten once
// their window is gone for good.
#pragma once

#include "tracking/trackingstate.h"
#include "tracking/windowitem.h"

namespace orvella::tracking::shelfOrder {

/**
 * Puts `windows` (the shelf's) in the stored order. An entry is claimed by the window
 * with its id and fingerprint, else by place and fingerprint, by fingerprint, by id
 * alone (a retitled window), by place alone; windows without an entry go last. Entries
 * left unclaimed are dropped after `cycles` regroupings while their application runs,
 * and at once when their application is gone and nothing puts the window on this shelf
 * any more. `allWindows`: every listed window; `runningOwners`: the owners of them.
 * True when the stored entries changed.
 */
bool apply(const QString &shelf, QList<WindowItem> &windows, const QList<WindowItem> &allWindows,
           const QSet<QString> &runningOwners, TrackingState &state, int cycles);

/// Entries naming `sig` stop being claimable by id: the id now names another window.
/// Their fingerprint and place still find the window they described.
void detach(TrackingState &state, const QString &sig);

} // namespace orvella::tracking::shelfOrder
