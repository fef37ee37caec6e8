// What the core read back from a real X session, looked up the way the real-X tests need it.
#pragma once

#include "platform/desktop.h"
#include "platform/desktopobserver.h"
#include "tracking/windowmanager.h"

#include <QDeadlineTimer>
#include <QSignalSpy>
#include <QTest>

#include <functional>
#include <optional>

// Header only: the X session library stays independent of the core it tests.
namespace orvella::testsupport {

inline const platform::RunningApp *appOf(const platform::DesktopSnapshot &s, qint32 pid)
{
    for (const platform::RunningApp &app : s.apps) {
        if (app.pid == pid)
            return &app;
    }
    return nullptr;
}

/// The first application window that `match` accepts.
template<typename Match>
std::optional<platform::AppWindow> findWindow(const platform::DesktopSnapshot &s, Match match)
{
    for (const auto &windows : s.windowsByPid) {
        for (const platform::AppWindow &w : windows.value_or(QList<platform::AppWindow>())) {
            if (match(w))
                return w;
        }
    }
    return std::nullopt;
}

inline std::optional<platform::AppWindow> windowOf(const platform::DesktopSnapshot &s, quint32 xid)
{
    return findWindow(s, [xid](const platform::AppWindow &w) { return w.windowNumber == qint64(xid); });
}

inline std::optional<platform::AppWindow> windowTitled(const platform::DesktopSnapshot &s,
                                                       const QString &title)
{
    return findWindow(s, [&title](const platform::AppWindow &w) { return w.title == title; });
}

inline std::optional<platform::ServerWindow> serverWindowOf(const platform::DesktopSnapshot &s, quint32 xid)
{
    for (const platform::ServerWindow &w : s.serverWindows.value_or(QList<platform::ServerWindow>())) {
        if (w.number == qint64(xid))
            return w;
    }
    return std::nullopt;
}

inline std::optional<tracking::WindowItem> itemTitled(const tracking::WindowManager &wm, const QString &title)
{
    for (const tracking::WindowItem &w : wm.windows()) {
        if (w.windowTitle == title)
            return w;
    }
    return std::nullopt;
}

/// The events of `kind` a spy on DesktopObserver::desktopEvent caught, optionally only
/// those of one process and window.
inline QList<platform::DesktopEvent> eventsOf(const QSignalSpy &spy, platform::DesktopEvent::Kind kind,
                                              qint32 pid = -1, qint64 window = -1)
{
    QList<platform::DesktopEvent> out;
    for (const QList<QVariant> &arguments : spy) {
        const auto e = arguments.at(0).value<platform::DesktopEvent>();
        if (e.kind == kind && (pid < 0 || e.pid == pid) && (window < 0 || e.window == window))
            out.append(e);
    }
    return out;
}

/// Refreshes until `done` holds: the window manager applies what clients ask in its own time.
inline bool refreshUntil(tracking::WindowManager &wm, const std::function<bool()> &done,
                         int timeoutMs = 15000)
{
    const QDeadlineTimer deadline(timeoutMs);
    while (!deadline.hasExpired()) {
        wm.refresh(true);
        if (wm.waitForRefresh(5000) && done())
            return true;
        QTest::qWait(20);
    }
    return false;
}

} // namespace orvella::testsupport
