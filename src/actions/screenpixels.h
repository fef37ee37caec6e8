// Qt's screens and the sidebar's size in X device pixels, the one space the actions use.
#pragma once

#include "actions/tilegeometry.h"
#include "platform/windowcontrol.h"

class QScreen;

namespace orvella::tracking {
struct TrackingState;
}

namespace orvella::actions {

/**
 * A Qt screen in device pixels. Under a scale factor Qt keeps each screen's origin in
 * device pixels and divides its size, and the offsets of its available area from that
 * origin, by the screen's device pixel ratio: this multiplies them back.
 */
platform::ScreenInfo deviceScreen(const QScreen &screen);

/// The sidebar as the model has it, its width scaled by its screen's device pixel ratio
/// (the primary screen's while it has none). Main thread only.
SidebarPlacement deviceSidebar(const tracking::TrackingState &state);

} // namespace orvella::actions
