// The desktop seam: everything the window-tracking core reads from the windowing system.
#pragma once

#include <QHash>
#include <QImage>
#include <QList>
#include <QRectF>
#include <QString>

#include <memory>
#include <optional>

namespace orvella::platform {

/// A running application: a process that owns at least one managed window.
struct RunningApp
{
    qint32 pid = 0;
    /// The desktop entry's localized Name, else the WM_CLASS class, else the process
    /// name; empty when none is known.
    QString name;
    /// The desktop-file id without ".desktop" ("org.gnome.TextEditor", "firefox-esr").
    std::optional<QString> bundleID;
    /// Icon-theme name from the desktop entry, when there is one.
    QString iconName;
    /// The best-fitting `_NET_WM_ICON` image of one of its windows; null when none.
    QImage icon;
    /// Owns a normal or dialog window that is not skipped by the taskbar; the others
    /// are background-only and never listed.
    bool regular = false;
    /// When the process started, in clock ticks after boot (/proc/PID/stat); 0 when
    /// unknown. With the pid it tells a restarted application from the one before.
    quint64 startTime = 0;
};

/// One window of an application, in the application's order (topmost first).
struct AppWindow
{
    QString title;                      ///< empty when the window has none
    QRectF frame;                       ///< outer frame in root coordinates
    bool minimized = false;             ///< hidden or iconic
    std::optional<qint64> windowNumber; ///< the client's XID when known
    /// 0-based place among the application's windows in the order they were first
    /// mapped (oldest first); raising a window does not change it. -1: unknown, the
    /// place in this list stands in.
    int clientIndex = -1;
    bool fullscreen = false; ///< covers its monitor, without decorations
    /// The startup-notification id of the launch that opened it (`_NET_STARTUP_ID`, on
    /// the window or its group leader); read only for windows that appear while a
    /// launch is watched (Desktop::watchForLaunch()), absent otherwise.
    std::optional<QString> startupID = std::nullopt;
};

/// One entry of the window-server list.
struct ServerWindow
{
    qint64 number = 0;
    int layer = 0;       ///< 0 = an ordinary application window
    double alpha = 1.0;  ///< 0 = fully transparent
    qint32 ownerPid = 0; ///< 0 when unknown
    QRectF bounds;
    std::optional<QString> name;
    bool onScreen = false; ///< viewable, on the current desktop and not hidden
};

/// What one refresh reads, all at once.
struct DesktopSnapshot
{
    /// Every process owning a managed window, in the order of first appearance.
    QList<RunningApp> apps;
    /// Per pid, its windows topmost first; absent (nullopt) when they could not be read.
    QHash<qint32, std::optional<QList<AppWindow>>> windowsByPid;
    /// The window-server list; absent when it could not be read.
    std::optional<QList<ServerWindow>> serverWindows;
    /// The pid of the active window's application; 0 when none.
    qint32 frontmostPid = 0;
    /// The active window's title, when there is an active window.
    std::optional<QString> focusedTitle;
};

/// Held while a launch waits for its first window; letting go of the last one ends the watch.
using LaunchWatch = std::shared_ptr<void>;

/**
 * The windowing system as the core sees it. Implementations: the X11 desktop and
 * the simulated desktop used by tests. readSnapshot() runs on a refresh worker and
 * must be safe to call from any thread, also concurrently with isTrusted().
 */
class Desktop
{
public:
    virtual ~Desktop() = default;

    /// Whether Orvella can see and arrange windows (a reachable display with an EWMH
    /// window manager). Cheap; callable on the main thread.
    virtual bool isTrusted() const = 0;
    /// Reads applications, their windows, the window-server list and focus.
    virtual DesktopSnapshot readSnapshot() = 0;
    /// Orvella's own process id; its windows are never listed.
    virtual qint32 ownPid() const = 0;
    /// Starts watching for the windows of a launch: while any watch is held, windows
    /// that appear are read for their AppWindow::startupID. Taken before the launch,
    /// so that no window of it can appear unwatched.
    virtual LaunchWatch watchForLaunch() = 0;
};

} // namespace orvella::platform
