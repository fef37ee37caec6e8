// The write seam: everything window actions send to the windowing system.
#pragma once

#include <QList>
#include <QPointF>
#include <QRectF>
#include <QSizeF>
#include <QString>

#include <optional>

namespace orvella::platform {

/// One display: its whole frame and the part not taken by panels, in root coordinates
/// (top-left origin, y downwards).
struct ScreenInfo
{
    QRectF frame;
    QRectF visibleFrame;
    /// The screen applications open on when nothing else decides (the primary output).
    bool isMain = false;
};

/// A keyboard shortcut as the control layer sends it: one key with modifiers held.
struct KeyShortcut
{
    /// The key, as an X keysym ("n" is 0x6e).
    quint32 keysym = 0;
    bool control = false;
    bool shift = false;
};

/// How asking for an application by its desktop-file id went.
enum class LaunchOutcome { Launched, NotFound, Failed };

/// What a launch started, for finding the window it brings.
struct LaunchedProcess
{
    /// The process that was started; 0 when none is known, as with D-Bus activation.
    qint32 pid = 0;
    /// The startup-notification id the application was handed (its windows carry it as
    /// `_NET_STARTUP_ID`, whichever process maps them); absent when its entry does not
    /// take one.
    std::optional<QString> startupID;
};

/**
 * Moves, raises, minimises, focuses and closes other applications' windows, sends
 * them keys and launches applications. Windows are named by window number (the
 * client's XID on X11). Frames are outer frames, decorations included, in root
 * coordinates; an implementation accounts for decorations itself, so that the frame
 * a caller asks for is the frame the user sees.
 *
 * Every call may block for a round trip and must be safe from any thread; callers
 * run them on the action lane. A false or absent result means the window is gone or
 * the request could not be sent; callers log it and go on.
 */
class WindowControl
{
public:
    virtual ~WindowControl() = default;

    /// The window's current outer frame; absent when it is gone.
    virtual std::optional<QRectF> frame(qint64 window) = 0;
    /// Resizes the outer frame, keeping its top-left corner.
    virtual bool setSize(qint64 window, const QSizeF &size) = 0;
    /// Moves the outer frame's top-left corner.
    virtual bool setPosition(qint64 window, const QPointF &topLeft) = 0;
    /// Minimises, or un-minimises and activates, the window; un-minimising switches to
    /// its desktop first, as activate() does.
    virtual bool setMinimized(qint64 window, bool minimized) = 0;
    /// Takes the window out of the maximised and full-screen states, in which window
    /// managers ignore moves, and waits (bounded) until it has left them. True when it
    /// is in neither state afterwards, at once when it was in neither.
    virtual bool unmaximize(qint64 window) = 0;
    /// Puts the window above its siblings without giving it the focus where the window
    /// manager can; one that cannot restack activates it instead, on its desktop.
    virtual bool raise(qint64 window) = 0;
    /// Makes the window the active one (de-iconifying it), first switching to its
    /// desktop when it is on another one; false when the window manager refuses.
    virtual bool activate(qint64 window) = 0;
    /// Asks the application to close the window; it may ask to save first.
    virtual bool close(qint64 window) = 0;
    /// Activates `window` and types `shortcut` into it, each key only while the window
    /// holds the input focus; false, with nothing typed, when it never gets it.
    virtual bool sendShortcut(qint64 window, const KeyShortcut &shortcut) = 0;
    /// The displays; empty when they could not be read.
    virtual QList<ScreenInfo> screens() = 0;
    /// Whether an application with this desktop-file id is installed.
    virtual bool hasApplication(const QString &bundleID) = 0;
    /// The action of the application's desktop entry that opens a new window
    /// ("new-window", "NewWindow", ...); absent when the entry declares none.
    virtual std::optional<QString> newWindowAction(const QString &bundleID) = 0;
    /// Starts (or, for a running single-instance application, activates) the
    /// application of a desktop entry, or runs one of the entry's actions when `action`
    /// is not empty. `error` says why on Failed; `started`, when given, receives what
    /// was started.
    virtual LaunchOutcome launch(const QString &bundleID, const QString &action, QString *error,
                                 LaunchedProcess *started) = 0;
};

} // namespace orvella::platform
