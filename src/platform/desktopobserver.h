// The desktop seam for change notifications: what happened, as plain values, on the main thread.
#pragma once

#include <QMetaType>
#include <QObject>

#include <optional>

namespace orvella::platform {

/// One change on the desktop.
struct DesktopEvent
{
    enum class Kind {
        WindowCreated,   ///< a managed window appeared ("AXWindowCreated")
        WindowDestroyed, ///< a managed window went away ("AXUIElementDestroyed")
        FocusChanged,    ///< the active window changed ("AXFocusedWindowChanged")
        TitleChanged,    ///< an observed process's window was renamed ("AXTitleChanged")
        StateChanged,    ///< ... was minimized, restored, moved to another desktop ("AXWindowMiniaturized")
        AppLaunched,     ///< a process gained its first managed window
        AppTerminated,   ///< a process lost its last managed window, or exited
        AppActivated,    ///< a process became the active window's owner
        AppDeactivated,  ///< a process stopped being the active window's owner
        WindowManagerChanged, ///< the window manager started, stopped or was replaced
        ConnectionLost,       ///< the X server went away; no further events come
    };
    Kind kind = Kind::WindowCreated;
    qint32 pid = 0;      ///< the process concerned, 0 when unknown
    qint64 window = 0;   ///< the window concerned, 0 when none
    bool regular = true; ///< for AppLaunched: the process owns a taskbar window
};

/// The name a change is logged under ("AXWindowCreated", "application launched", ...).
const char *eventName(DesktopEvent::Kind kind);
/// Changes of single windows (created, destroyed, focused, renamed, minimized): the
/// ones a burst of which is coalesced into one refresh.
bool isWindowNotification(DesktopEvent::Kind kind);

/**
 * Follows the desktop and reports changes. Implementations read on their own thread
 * and emit desktopEvent() on the thread that owns the observer (the main thread).
 */
class DesktopObserver : public QObject
{
    Q_OBJECT
public:
    using QObject::QObject;
    ~DesktopObserver() override = default;

    /// Begins reporting; false (with a log line) when it cannot.
    virtual bool start() = 0;
    /// Stops reporting; no event is emitted after this returns.
    virtual void stop() = 0;
    /// Also reports title and state changes of this process's windows, present and
    /// future. False when the process cannot be followed.
    virtual bool observeProcess(qint32 pid) = 0;
    virtual void unobserveProcess(qint32 pid) = 0;
    /// Seconds since the user last pressed a key or moved the pointer; absent when unknown.
    virtual std::optional<double> userIdleSeconds() const = 0;

signals:
    void desktopEvent(const orvella::platform::DesktopEvent &event);
};

} // namespace orvella::platform

Q_DECLARE_METATYPE(orvella::platform::DesktopEvent)
