// Where tiled windows go: tile positions, the usable area beside the sidebar, the column.
#pragma once

#include "platform/windowcontrol.h"

#include <QList>
#include <QRectF>
#include <QString>

#include <array>
#include <optional>

namespace orvella::actions {

/// Where a shelf's column stands in the usable area.
enum class TileAlignment { left, center, right };

/// Where a single window is snapped to; raw values are the names below.
enum class TilePosition {
    leftHalf,
    rightHalf,
    topHalf,
    bottomHalf,
    topLeft,
    topRight,
    bottomLeft,
    bottomRight,
    maximize,
    center
};

/// Every position, in menu order.
inline constexpr std::array kAllTilePositions{
    TilePosition::leftHalf, TilePosition::rightHalf, TilePosition::topHalf,    TilePosition::bottomHalf,
    TilePosition::topLeft,  TilePosition::topRight,  TilePosition::bottomLeft, TilePosition::bottomRight,
    TilePosition::maximize, TilePosition::center};

namespace tilePosition {
/// The raw value ("leftHalf"); also the position's `id`.
QString rawValue(TilePosition position);
std::optional<TilePosition> fromRawValue(const QString &raw);
/// The position's frame within `area` (top-left coordinates).
QRectF frame(TilePosition position, const QRectF &area);
} // namespace tilePosition

/// "left", "center" or "right"; absent for anything else.
std::optional<TileAlignment> tileAlignmentFromString(const QString &text);

/// Where the sidebar is, as tiling needs to know it: in X device pixels, like every
/// frame the actions handle.
struct SidebarPlacement
{
    double width = 0;
    /// "left", else the sidebar is at the right edge.
    QString position = QStringLiteral("left");
    /// The frame origin of the sidebar's screen; absent when not known.
    std::optional<QPointF> screenOrigin;

    /// A sidebar takes room or has a screen; without one (the command line) the
    /// windows themselves decide where they are tiled.
    bool isRunning() const { return width > 0 || screenOrigin.has_value(); }
};

/**
 * The monitor to tile on. With a running sidebar, the sidebar's monitor (the main one
 * while its screen is unknown or gone); without, the monitor that holds most of
 * `windowFrames` (each counted where most of it lies), the main one on a tie. The main
 * monitor is the one marked so, else the first. Absent without screens.
 */
std::optional<platform::ScreenInfo> targetScreen(const QList<platform::ScreenInfo> &screens,
                                                 const SidebarPlacement &sidebar = {},
                                                 const QList<QRectF> &windowFrames = {});

/// The target monitor's visible frame without the sidebar's strip, when the sidebar is on
/// it. A panel that reserves its edge has already taken the strip off the visible frame,
/// so the sidebar is counted once either way.
std::optional<QRectF> usableArea(const QList<platform::ScreenInfo> &screens, const SidebarPlacement &sidebar,
                                 const QList<QRectF> &windowFrames = {});

/// The column's share of the area's width.
inline constexpr double kMinWidthFraction = 0.1;
inline constexpr double kMaxWidthFraction = 1.0;

/// One shelf's column: equal rows, full height, at a fraction of the area's width.
struct ColumnPlan
{
    QRectF area;
    double columnX = 0;
    double columnWidth = 0;
    double rowHeight = 0;
};

/// The width fraction is clamped to 0.1 ... 1.0 (NaN counts as 1.0); `windowCount`
/// below 1 counts as 1.
ColumnPlan planColumn(const QRectF &area, TileAlignment alignment, double widthFraction, int windowCount);

/// Each coordinate (x, y, width, height) within `tolerance` points.
bool framesMatch(const QRectF &a, const QRectF &b, double tolerance);

/**
 * One round of height fitting. `actual` are the heights read back after asking for
 * `planned`; a flexible window more than 2 points taller than planned becomes fixed at
 * its height; the flexible ones then share what the fixed ones leave, at least 50
 * points each. Returns whether anything changed (a height moved by more than a point,
 * or a window became fixed).
 */
bool shareHeights(double areaHeight, const QList<double> &actual, QList<double> &planned, QList<bool> &fixed);

/**
 * The y of each window stacked down `area` by `heights`. A column that overflows the
 * area keeps going, but no top goes lower than leaves 50 points of its window (all of
 * a shorter one) inside the area: an overflowing window covers the bottom of the
 * column instead of landing off its monitor.
 */
QList<double> stackTops(const QRectF &area, const QList<double> &heights);

/// The y each window should have after tiling: stackTops() by each window's actual
/// height, its planned one when the actual height is not positive.
QList<double> expectedTops(const QRectF &area, const QList<double> &actualHeights,
                           const QList<double> &planned);

} // namespace orvella::actions
