// The write seam on X11: EWMH and ICCCM requests to the window manager, XTest keys.
#pragma once

#include "platform/windowcontrol.h"

#include <memory>

namespace orvella::platform::x11 {

/**
 * Sends every change to other applications' windows through the window manager, as a
 * pager would (source indication 2, with a real server timestamp): moves and resizes
 * with `_NET_MOVERESIZE_WINDOW` (decorations from `_NET_FRAME_EXTENTS` taken off, so
 * the outer frame lands where asked), minimises with WM_CHANGE_STATE, raises with
 * `_NET_RESTACK_WINDOW`, activates and de-iconifies with `_NET_ACTIVE_WINDOW`, closes
 * with `_NET_CLOSE_WINDOW`, and types shortcuts with XTest into the activated window.
 * Whatever activates a window (activating, un-minimising, raising without
 * `_NET_RESTACK_WINDOW`) switches to the window's desktop first (`_NET_CURRENT_DESKTOP`).
 * Uses a connection of its own; calls are serialized, so any thread may make them.
 */
class X11WindowControl final : public WindowControl
{
public:
    ~X11WindowControl() override;

    /// Connects to `display` (empty: `$DISPLAY`); null, with `error` set, on failure.
    static std::shared_ptr<X11WindowControl> open(const QString &display, QString *error);

    std::optional<QRectF> frame(qint64 window) override;
    bool setSize(qint64 window, const QSizeF &size) override;
    bool setPosition(qint64 window, const QPointF &topLeft) override;
    bool setMinimized(qint64 window, bool minimized) override;
    bool unmaximize(qint64 window) override;
    bool raise(qint64 window) override;
    bool activate(qint64 window) override;
    bool close(qint64 window) override;
    bool sendShortcut(qint64 window, const KeyShortcut &shortcut) override;
    QList<ScreenInfo> screens() override;
    bool hasApplication(const QString &bundleID) override;
    std::optional<QString> newWindowAction(const QString &bundleID) override;
    /// Hands the application a startup-notification id stamped with the server's time.
    LaunchOutcome launch(const QString &bundleID, const QString &action, QString *error,
                         LaunchedProcess *started) override;

private:
    X11WindowControl();
    struct Private;
    std::unique_ptr<Private> d;
};

} // namespace orvella::platform::x11
