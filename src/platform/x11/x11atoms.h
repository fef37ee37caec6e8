// Every X atom Orvella uses, declared once and interned in one batch.
#pragma once

#include <cstdint>

struct xcb_connection_t;

namespace orvella::platform::x11 {

/**
 * The atoms of one connection. Predefined atoms (WM_NAME, WM_CLASS, CARDINAL...)
 * come from xcb's own constants and are not listed here. Until intern() succeeds
 * every member is 0 (None), which no property reply ever carries as its type.
 */
struct Atoms
{
    std::uint32_t utf8String = 0;
    std::uint32_t wmState = 0;
    std::uint32_t netSupported = 0;
    std::uint32_t netSupportingWmCheck = 0;
    std::uint32_t netClientList = 0;
    std::uint32_t netClientListStacking = 0;
    std::uint32_t netActiveWindow = 0;
    std::uint32_t netCurrentDesktop = 0;
    std::uint32_t netWmName = 0;
    std::uint32_t netWmPid = 0;
    std::uint32_t netWmDesktop = 0;
    std::uint32_t netWmIcon = 0;
    std::uint32_t netFrameExtents = 0;
    std::uint32_t netWmWindowOpacity = 0;
    std::uint32_t netWmWindowType = 0;
    std::uint32_t netWmWindowTypeNormal = 0;
    std::uint32_t netWmWindowTypeDialog = 0;
    std::uint32_t netWmWindowTypeDesktop = 0;
    std::uint32_t netWmWindowTypeDock = 0;
    std::uint32_t netWmWindowTypeToolbar = 0;
    std::uint32_t netWmWindowTypeMenu = 0;
    std::uint32_t netWmWindowTypeUtility = 0;
    std::uint32_t netWmWindowTypeSplash = 0;
    std::uint32_t netWmWindowTypeDropdownMenu = 0;
    std::uint32_t netWmWindowTypePopupMenu = 0;
    std::uint32_t netWmWindowTypeTooltip = 0;
    std::uint32_t netWmWindowTypeNotification = 0;
    std::uint32_t netWmWindowTypeCombo = 0;
    std::uint32_t netWmWindowTypeDnd = 0;
    std::uint32_t netWmState = 0;
    std::uint32_t netWmStateHidden = 0;
    std::uint32_t netWmStateSkipTaskbar = 0;
    std::uint32_t netWmStateAbove = 0;
    std::uint32_t netWmStateBelow = 0;
    std::uint32_t netWmStateMaximizedVert = 0;
    std::uint32_t netWmStateMaximizedHorz = 0;
    std::uint32_t netWmStateFullscreen = 0;
    std::uint32_t netWmStateSticky = 0;
    std::uint32_t netWmStateSkipPager = 0;
    std::uint32_t netWmStrut = 0;
    std::uint32_t netWmStrutPartial = 0;
    std::uint32_t gtkApplicationId = 0;
    std::uint32_t kdeNetWmDesktopFile = 0;
    std::uint32_t netStartupId = 0;
    std::uint32_t netMoveresizeWindow = 0;
    std::uint32_t netRestackWindow = 0;
    std::uint32_t netCloseWindow = 0;
    std::uint32_t netWorkarea = 0;
    std::uint32_t wmChangeState = 0;
    /// A property of Orvella's own, changed on its own window to learn the server time.
    std::uint32_t orvellaTimestamp = 0;

    /// Interns every atom above in one round trip. False, leaving the members that
    /// could not be interned at 0, when the server refused or the connection failed.
    bool intern(xcb_connection_t *connection);
};

} // namespace orvella::platform::x11
