// The band of a screen the sidebar covers, and where a window goes to be clear of it.
#pragma once

#include "actions/tilegeometry.h"
#include "platform/windowcontrol.h"

#include <QRectF>

#include <optional>

namespace orvella::actions {

/// Nudging never makes a window narrower than this (device pixels): past it the window
/// keeps this width and runs off the far edge rather than become unusable.
inline constexpr double kMinNudgedWidth = 200.0;

/**
 * The sidebar's strip on `screen`: the frame's full height, `sidebar.width` wide,
 * measured from the frame's edge (not the visible frame's: the panel's own reserved
 * edge is already missing from that). "left" is the left edge, anything else the right.
 */
QRectF sidebarStrip(const platform::ScreenInfo &screen, const SidebarPlacement &sidebar);

/// `screen`'s visible frame with the sidebar's strip cut off. When the panel reserves
/// its edge the visible frame already stops at the strip, and nothing more is cut.
QRectF areaBesideSidebar(const platform::ScreenInfo &screen, const SidebarPlacement &sidebar);

/**
 * Whether a window with this outer frame is in the sidebar's way: its centre lies on
 * `screen` and it overlaps the strip (touching its edge is clear). A window covering the
 * whole screen is full screen, where the user chose to cover the sidebar, and is not.
 * Pure geometry, cheap enough for every refresh.
 */
bool isUnderSidebar(const QRectF &frame, const platform::ScreenInfo &screen, const SidebarPlacement &sidebar);

/**
 * Where a window in the sidebar's way goes: for a left sidebar its left edge moves to
 * the area beside the sidebar, for a right one its right edge; a window wider than that
 * area is narrowed to fit, never below kMinNudgedWidth. Absent when it is not in the way.
 */
std::optional<QRectF> frameClearOfSidebar(const QRectF &frame, const platform::ScreenInfo &screen,
                                          const SidebarPlacement &sidebar);

} // namespace orvella::actions
