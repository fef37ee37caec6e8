// The band of a screen the sidebar covers, and where a window goes to be clear of it.
#include "actions/sidebarstrip.h"

#include <algorithm>

namespace orvella::actions {

namespace {

// Window managers round frames by a pixel here and there; full screen is a frame that
// covers the screen within this.
constexpr double kFullScreenSlack = 1.0;

bool onLeft(const SidebarPlacement &sidebar)
{
    return sidebar.position == QLatin1String("left");
}

} // namespace

QRectF sidebarStrip(const platform::ScreenInfo &screen, const SidebarPlacement &sidebar)
{
    const QRectF &frame = screen.frame;
    const double width = std::clamp(sidebar.width, 0.0, frame.width());
    const double x = onLeft(sidebar) ? frame.left() : frame.right() - width;
    return {x, frame.top(), width, frame.height()};
}

QRectF areaBesideSidebar(const platform::ScreenInfo &screen, const SidebarPlacement &sidebar)
{
    QRectF area = screen.visibleFrame;
    if (sidebar.width <= 0)
        return area;
    const QRectF strip = sidebarStrip(screen, sidebar);
    if (onLeft(sidebar))
        area.setLeft(std::max(area.left(), strip.right()));
    else
        area.setRight(std::min(area.right(), strip.left()));
    return area;
}

bool isUnderSidebar(const QRectF &frame, const platform::ScreenInfo &screen, const SidebarPlacement &sidebar)
{
    if (sidebar.width <= 0 || frame.isEmpty() || !screen.frame.contains(frame.center()))
        return false;
    const QRectF slack =
        screen.frame.adjusted(kFullScreenSlack, kFullScreenSlack, -kFullScreenSlack, -kFullScreenSlack);
    if (frame.contains(slack))
        return false;
    return frame.intersects(sidebarStrip(screen, sidebar));
}

std::optional<QRectF> frameClearOfSidebar(const QRectF &frame, const platform::ScreenInfo &screen,
                                          const SidebarPlacement &sidebar)
{
    if (!isUnderSidebar(frame, screen, sidebar))
        return std::nullopt;
    const QRectF area = areaBesideSidebar(screen, sidebar);
    const double width = std::max(std::min(frame.width(), area.width()), kMinNudgedWidth);
    const double x = onLeft(sidebar) ? area.left() : area.right() - width;
    return QRectF(x, frame.y(), width, frame.height());
}

} // namespace orvella::actions
