// What one read of the desktop learned: the managed clients and the root window's state.
#pragma once

#include "platform/x11/x11properties.h"

#include <QImage>
#include <QList>
#include <QRect>
#include <QString>

#include <cstdint>
#include <optional>

namespace orvella::platform::x11 {

/// `_NET_WM_WINDOW_TYPE` by the first type EWMH defines (the list is in preference
/// order); Unset also when only private types are listed, as EWMH asks.
enum class WindowType { Unset, Normal, Dialog, Desktop, Dock, Toolbar, Menu, Utility, Splash, Other };

/// Everything one read learned about one managed client window.
struct ClientFacts
{
    std::uint32_t window = 0;
    std::optional<std::uint32_t> pid; ///< `_NET_WM_PID`, else the X-Resource answer
    std::optional<QString> title;     ///< `_NET_WM_NAME` when not empty, else WM_NAME
    std::optional<WmClass> wmClass;
    QString gtkApplicationId;
    QString kdeDesktopFile;
    WindowType type = WindowType::Unset;
    bool skipTaskbar = false;
    bool hidden = false; ///< `_NET_WM_STATE_HIDDEN`
    bool fullscreen = false;
    bool above = false;
    bool below = false;
    bool iconic = false; ///< ICCCM WM_STATE is IconicState
    bool viewable = false;
    std::optional<std::uint32_t> desktop; ///< `_NET_WM_DESKTOP`; 0xFFFFFFFF = all desktops
    QRect frame;                   ///< root coordinates, grown by `_NET_FRAME_EXTENTS`; null when unreadable
    std::optional<double> opacity; ///< `_NET_WM_WINDOW_OPACITY` scaled to 0..1
    /// `_NET_STARTUP_ID` of the window, else of its group leader; read only while a
    /// launch is watched, for windows that appeared since (ClientReader::watchLaunch()).
    std::optional<QString> startupID;
    /// Position in `_NET_CLIENT_LIST_STACKING` (0 = bottom); -1 when not listed there.
    int stackingPosition = -1;
    /// The best-fitting `_NET_WM_ICON` image; read only for the first window of each
    /// process that has one, so null for the others.
    QImage icon;
};

/// The desktop as one read saw it.
struct DesktopFacts
{
    QList<ClientFacts> clients; ///< `_NET_CLIENT_LIST` order; windows that vanished are left out
    std::optional<std::uint32_t> activeWindow;   ///< absent when none
    std::optional<std::uint32_t> currentDesktop; ///< absent when the WM does not say
    /// An EWMH window manager whose `_NET_SUPPORTED` lists the client list and the
    /// active window.
    bool trusted = false;
    /// Tells reads apart: a read that found nothing changed since the last one returns that
    /// one's clients under the same number, so that what was built from them can be reused.
    quint64 readNumber = 0;
};

} // namespace orvella::platform::x11
