// Finding a listed window again among its application's current windows.
#pragma once

#include "platform/desktop.h"
#include "tracking/windowitem.h"

#include <optional>

namespace orvella::actions {

/**
 * The element of `window` in its application's window list (`elements`, topmost
 * first), or none. The window number decides when both sides know it: a window whose
 * number is no longer listed is gone, even if another window now has its title.
 * Otherwise the title does, several equal titles going to the one nearest the item's
 * last position in the list.
 */
std::optional<platform::AppWindow> findAXWindow(const tracking::WindowItem &window,
                                                const QList<platform::AppWindow> &elements);

/// The same, looking the application's list up in a snapshot; none when it has none.
std::optional<platform::AppWindow> findAXWindow(const tracking::WindowItem &window,
                                                const platform::DesktopSnapshot &snapshot);

} // namespace orvella::actions
