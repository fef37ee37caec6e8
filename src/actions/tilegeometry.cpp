// Where tiled windows go: tile positions, the usable area beside the sidebar, the column.
#include "actions/tilegeometry.h"

#include "actions/sidebarstrip.h"

#include <algorithm>
#include <cmath>

namespace orvella::actions {

namespace {

constexpr double kFixedThreshold = 2.0;
constexpr double kChangeThreshold = 1.0;
constexpr double kMinShare = 50.0;

struct PositionInfo
{
    TilePosition position;
    const char *raw;
};

constexpr std::array kPositions{
    PositionInfo{TilePosition::leftHalf, "leftHalf"},
    PositionInfo{TilePosition::rightHalf, "rightHalf"},
    PositionInfo{TilePosition::topHalf, "topHalf"},
    PositionInfo{TilePosition::bottomHalf, "bottomHalf"},
    PositionInfo{TilePosition::topLeft, "topLeft"},
    PositionInfo{TilePosition::topRight, "topRight"},
    PositionInfo{TilePosition::bottomLeft, "bottomLeft"},
    PositionInfo{TilePosition::bottomRight, "bottomRight"},
    PositionInfo{TilePosition::maximize, "maximize"},
    PositionInfo{TilePosition::center, "center"},
};

const PositionInfo &info(TilePosition position)
{
    return kPositions[size_t(position)];
}

} // namespace

namespace tilePosition {

QString rawValue(TilePosition position)
{
    return QString::fromLatin1(info(position).raw);
}

std::optional<TilePosition> fromRawValue(const QString &raw)
{
    for (const PositionInfo &p : kPositions) {
        if (raw == QLatin1String(p.raw))
            return p.position;
    }
    return std::nullopt;
}

QRectF frame(TilePosition position, const QRectF &a)
{
    const double x = a.x(), y = a.y(), w = a.width(), h = a.height();
    switch (position) {
    case TilePosition::leftHalf: return {x, y, w / 2, h};
    case TilePosition::rightHalf: return {x + w / 2, y, w / 2, h};
    case TilePosition::topHalf: return {x, y, w, h / 2};
    case TilePosition::bottomHalf: return {x, y + h / 2, w, h / 2};
    case TilePosition::topLeft: return {x, y, w / 2, h / 2};
    case TilePosition::topRight: return {x + w / 2, y, w / 2, h / 2};
    case TilePosition::bottomLeft: return {x, y + h / 2, w / 2, h / 2};
    case TilePosition::bottomRight: return {x + w / 2, y + h / 2, w / 2, h / 2};
    case TilePosition::maximize: return a;
    case TilePosition::center: return {x + 0.125 * w, y + 0.125 * h, 0.75 * w, 0.75 * h};
    }
    return a;
}

} // namespace tilePosition

std::optional<TileAlignment> tileAlignmentFromString(const QString &text)
{
    if (text == QLatin1String("left"))
        return TileAlignment::left;
    if (text == QLatin1String("center"))
        return TileAlignment::center;
    if (text == QLatin1String("right"))
        return TileAlignment::right;
    return std::nullopt;
}

std::optional<platform::ScreenInfo> targetScreen(const QList<platform::ScreenInfo> &screens,
                                                 const SidebarPlacement &sidebar,
                                                 const QList<QRectF> &windowFrames)
{
    if (screens.isEmpty())
        return std::nullopt;
    qsizetype mainIndex = 0;
    for (qsizetype i = 0; i < screens.size(); ++i) {
        if (screens[i].isMain) {
            mainIndex = i;
            break;
        }
    }
    if (sidebar.isRunning()) {
        for (const platform::ScreenInfo &s : screens) {
            if (sidebar.screenOrigin && s.frame.topLeft() == *sidebar.screenOrigin)
                return s;
        }
        return screens[mainIndex];
    }
    QList<int> held(screens.size(), 0);
    for (const QRectF &frame : windowFrames) {
        qsizetype best = -1;
        double bestArea = 0;
        for (qsizetype i = 0; i < screens.size(); ++i) {
            const QRectF common = screens[i].frame.intersected(frame);
            if (common.width() * common.height() > bestArea) {
                best = i;
                bestArea = common.width() * common.height();
            }
        }
        if (best >= 0)
            ++held[best];
    }
    qsizetype chosen = mainIndex;
    for (qsizetype i = 0; i < screens.size(); ++i) {
        if (held[i] > held[chosen])
            chosen = i;
    }
    return screens[chosen];
}

std::optional<QRectF> usableArea(const QList<platform::ScreenInfo> &screens, const SidebarPlacement &sidebar,
                                 const QList<QRectF> &windowFrames)
{
    const std::optional<platform::ScreenInfo> target = targetScreen(screens, sidebar, windowFrames);
    if (!target)
        return std::nullopt;
    // Screen frames are top-left-origin already on X11: no flip against the primary screen.
    const bool sameScreen = !sidebar.screenOrigin || *sidebar.screenOrigin == target->frame.topLeft();
    return sameScreen ? areaBesideSidebar(*target, sidebar) : target->visibleFrame;
}

ColumnPlan planColumn(const QRectF &area, TileAlignment alignment, double widthFraction, int windowCount)
{
    ColumnPlan plan;
    plan.area = area;
    // A fraction that is not a number at all gets the whole width.
    const double fraction = std::isnan(widthFraction) ? kMaxWidthFraction : widthFraction;
    plan.columnWidth = std::clamp(fraction, kMinWidthFraction, kMaxWidthFraction) * area.width();
    plan.rowHeight = area.height() / std::max(1, windowCount);
    switch (alignment) {
    case TileAlignment::left: plan.columnX = area.x(); break;
    case TileAlignment::center: plan.columnX = area.x() + (area.width() - plan.columnWidth) / 2; break;
    case TileAlignment::right: plan.columnX = area.x() + area.width() - plan.columnWidth; break;
    }
    return plan;
}

bool framesMatch(const QRectF &a, const QRectF &b, double tolerance)
{
    return std::abs(a.x() - b.x()) <= tolerance && std::abs(a.y() - b.y()) <= tolerance
           && std::abs(a.width() - b.width()) <= tolerance && std::abs(a.height() - b.height()) <= tolerance;
}

bool shareHeights(double areaHeight, const QList<double> &actual, QList<double> &planned, QList<bool> &fixed)
{
    bool changed = false;
    double fixedSum = 0;
    int flexible = 0;
    for (qsizetype i = 0; i < planned.size(); ++i) {
        if (!fixed[i] && actual[i] > planned[i] + kFixedThreshold) {
            fixed[i] = true;
            planned[i] = actual[i];
            changed = true;
        }
        if (fixed[i])
            fixedSum += planned[i];
        else
            ++flexible;
    }
    if (flexible == 0)
        return changed;
    // A usable minimum wins over fitting: the column may then run off the screen.
    const double share = std::max((areaHeight - fixedSum) / flexible, kMinShare);
    for (qsizetype i = 0; i < planned.size(); ++i) {
        if (fixed[i])
            continue;
        changed = changed || std::abs(planned[i] - share) > kChangeThreshold;
        planned[i] = share;
    }
    return changed;
}

QList<double> stackTops(const QRectF &area, const QList<double> &heights)
{
    QList<double> tops;
    double y = area.top();
    for (const double height : heights) {
        const double lowest = area.bottom() - std::min(height, kMinShare);
        tops.append(std::max(area.top(), std::min(y, lowest)));
        y = tops.last() + height;
    }
    return tops;
}

QList<double> expectedTops(const QRectF &area, const QList<double> &actualHeights,
                           const QList<double> &planned)
{
    QList<double> heights;
    for (qsizetype i = 0; i < planned.size(); ++i)
        heights.append(actualHeights[i] > 0 ? actualHeights[i] : planned[i]);
    return stackTops(area, heights);
}

} // namespace orvella::actions
