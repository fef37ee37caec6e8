// Decides, for one window, the section it belongs to: a shelf or its app section.
#pragma once

#include "tracking/trackingstate.h"
#include "tracking/windowitem.h"

namespace orvella::tracking::sectionRouter {

/// The id of a window's application section: its bundle identifier, else its app name.
QString appSectionID(const WindowItem &window);

/**
 * The section for `window`, by the first rule that applies: removed by the user (app
 * section), live placement in this run, the user's choice for this owner and title,
 * the stored assignment of its id, the shelf last seen at its place in its process's
 * window list, else its app section. A shelf result is remembered for the window's
 * place. Reads and updates `state`.
 */
QString route(const WindowItem &window, TrackingState &state);

/// The stored section of a window id; for the VS Code identities also under a title
/// with its editor noise removed (then cached under that title).
std::optional<QString> lookupShelfAssignment(const QString &sig, const std::optional<QString> &bundleID,
                                             TrackingState &state);

/// The shelf the user chose for this owner and title, with the same normalisation and
/// a cache of descriptors known to have none.
std::optional<QString> manualShelfTarget(const WindowItem &window, TrackingState &state);

/**
 * Records (target is a shelf other than the window's natural section) or forgets (it
 * went home) the user's choice for the window's normalized descriptor. The caller
 * persists afterwards.
 */
void updateManualShelfDescriptor(const WindowItem &window, const QString &targetCategoryID,
                                 const QString &naturalKey, TrackingState &state);

} // namespace orvella::tracking::sectionRouter
