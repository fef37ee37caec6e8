// The window that explains what Orvella needs from the session when it cannot start.
#pragma once

#include <QWidget>

#include <functional>

class QPushButton;

namespace orvella::shell {

/**
 * Orvella lists other applications' windows through an X11 window manager that speaks
 * EWMH. When the session offers no such thing this window says so, says how to get it
 * and offers a relaunch. Closing it only hides it: the application stays up (its tray
 * icon and its relaunch remain), so it never counts as the last window.
 */
class PermissionWindow : public QWidget
{
    Q_OBJECT
public:
    enum class Reason {
        NoDisplay,       ///< no X display could be opened at all
        NoWindowManager, ///< an X display without an EWMH window manager
        WaylandOnly,     ///< a Wayland session with only XWayland behind DISPLAY
    };
    Q_ENUM(Reason)

    PermissionWindow(Reason reason, std::function<void()> relaunch, QWidget *parent = nullptr);

    Reason reason() const { return m_reason; }
    QPushButton *relaunchButton() const { return m_relaunchButton; }
    QPushButton *closeButton() const { return m_closeButton; }

private:
    Reason m_reason;
    std::function<void()> m_relaunch;
    QPushButton *m_relaunchButton;
    QPushButton *m_closeButton;
};

} // namespace orvella::shell
