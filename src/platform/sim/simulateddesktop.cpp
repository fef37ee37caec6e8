// An in-memory desktop for deterministic tests of the tracking core.
#include "platform/sim/simulateddesktop.h"

#include <algorithm>

namespace orvella::platform::sim {

void SimulatedDesktop::setTrusted(bool trusted)
{
    QMutexLocker lock(&m_mutex);
    m_trusted = trusted;
}

void SimulatedDesktop::setOwnPid(qint32 pid)
{
    QMutexLocker lock(&m_mutex);
    m_ownPid = pid;
}

void SimulatedDesktop::addApp(App app)
{
    QMutexLocker lock(&m_mutex);
    for (Window &w : app.windows)
        w.mappedSerial = ++m_mappedSerial;
    m_apps.append(std::move(app));
}

void SimulatedDesktop::removeApp(qint32 pid)
{
    QMutexLocker lock(&m_mutex);
    m_apps.removeIf([pid](const App &a) { return a.pid == pid; });
}

void SimulatedDesktop::addWindow(qint32 pid, Window window)
{
    QMutexLocker lock(&m_mutex);
    window.mappedSerial = ++m_mappedSerial;
    for (App &app : m_apps) {
        if (app.pid == pid)
            app.windows.prepend(std::move(window));
    }
}

void SimulatedDesktop::removeWindow(qint64 number)
{
    QMutexLocker lock(&m_mutex);
    for (App &app : m_apps)
        app.windows.removeIf([number](const Window &w) { return w.number == number; });
}

SimulatedDesktop::Window *SimulatedDesktop::find(qint64 number)
{
    for (App &app : m_apps) {
        for (Window &w : app.windows) {
            if (w.number == number)
                return &w;
        }
    }
    return nullptr;
}

void SimulatedDesktop::setTitle(qint64 number, const QString &title)
{
    QMutexLocker lock(&m_mutex);
    if (Window *w = find(number))
        w->title = title;
}

void SimulatedDesktop::setMinimizedLocked(Window &w, bool minimized)
{
    // As the X11 desktop reports them: a minimized window is not drawn at all.
    w.minimized = minimized;
    w.onScreen = !minimized;
    w.alpha = minimized ? 0.0 : 1.0;
}

void SimulatedDesktop::setWindowsUnreadable(qint32 pid, bool unreadable)
{
    QMutexLocker lock(&m_mutex);
    for (App &app : m_apps) {
        if (app.pid == pid)
            app.windowsUnreadable = unreadable;
    }
}

void SimulatedDesktop::setFocus(qint64 number)
{
    QMutexLocker lock(&m_mutex);
    m_focus = number;
}

void SimulatedDesktop::setServerListUnreadable(bool unreadable)
{
    QMutexLocker lock(&m_mutex);
    m_serverListUnreadable = unreadable;
}

void SimulatedDesktop::vanishFromAppList(qint64 number)
{
    QMutexLocker lock(&m_mutex);
    m_vanished.append(number);
}

void SimulatedDesktop::holdReads(bool hold)
{
    QMutexLocker lock(&m_mutex);
    m_hold = hold;
    if (!hold)
        m_released.wakeAll();
}

void SimulatedDesktop::releaseRead(int readNumber)
{
    QMutexLocker lock(&m_mutex);
    m_releasedReads.append(readNumber);
    m_released.wakeAll();
}

int SimulatedDesktop::readsWaiting() const
{
    QMutexLocker lock(&m_mutex);
    return m_waiting;
}

int SimulatedDesktop::readCount() const
{
    QMutexLocker lock(&m_mutex);
    return m_reads;
}

bool SimulatedDesktop::isTrusted() const
{
    QMutexLocker lock(&m_mutex);
    return m_trusted;
}

qint32 SimulatedDesktop::ownPid() const
{
    QMutexLocker lock(&m_mutex);
    return m_ownPid;
}

DesktopSnapshot SimulatedDesktop::readSnapshot()
{
    QMutexLocker lock(&m_mutex);
    const int readNumber = ++m_reads;
    DesktopSnapshot snapshot;
    QList<ServerWindow> server;
    for (const App &app : m_apps) {
        snapshot.apps.append(
            {app.pid, app.name, app.bundleID, QString(), QImage(), app.regular, app.startTime});
        QList<qint64> mapped;
        for (const Window &w : app.windows) {
            if (!m_vanished.contains(w.number))
                mapped.append(w.mappedSerial);
        }
        std::sort(mapped.begin(), mapped.end());
        QList<AppWindow> windows;
        for (const Window &w : app.windows) {
            server.append({w.number, w.layer, w.alpha, app.pid, w.serverBounds.value_or(w.frame),
                           w.serverKnowsName ? std::optional(w.title) : std::nullopt, w.onScreen});
            if (m_vanished.contains(w.number))
                continue;
            windows.append(
                {w.title, w.frame, w.minimized, w.reportsNumber ? std::optional(w.number) : std::nullopt,
                 int(std::lower_bound(mapped.begin(), mapped.end(), w.mappedSerial) - mapped.begin())});
            if (w.number == m_focus) {
                snapshot.frontmostPid = app.pid;
                snapshot.focusedTitle = w.title;
            }
        }
        snapshot.windowsByPid.insert(app.pid, app.windowsUnreadable ? std::nullopt
                                                                    : std::optional(std::move(windows)));
    }
    if (!m_serverListUnreadable)
        snapshot.serverWindows = server;

    if (m_hold) {
        ++m_waiting;
        while (m_hold && !m_releasedReads.contains(readNumber))
            m_released.wait(&m_mutex);
        --m_waiting;
    }
    return snapshot;
}

void SimulatedDesktop::setScreens(QList<ScreenInfo> screens)
{
    QMutexLocker lock(&m_mutex);
    m_screens = std::move(screens);
}

void SimulatedDesktop::setInstalledApps(QStringList bundleIDs)
{
    QMutexLocker lock(&m_mutex);
    m_installed = std::move(bundleIDs);
}

std::optional<QRectF> SimulatedDesktop::frameOf(qint64 number) const
{
    QMutexLocker lock(&m_mutex);
    const Window *w = const_cast<SimulatedDesktop *>(this)->find(number);
    return w ? std::optional(w->frame) : std::nullopt;
}

std::optional<bool> SimulatedDesktop::minimizedOf(qint64 number) const
{
    QMutexLocker lock(&m_mutex);
    const Window *w = const_cast<SimulatedDesktop *>(this)->find(number);
    return w ? std::optional(w->minimized) : std::nullopt;
}

qint64 SimulatedDesktop::focus() const
{
    QMutexLocker lock(&m_mutex);
    return m_focus;
}

QStringList SimulatedDesktop::controlLog() const
{
    QMutexLocker lock(&m_mutex);
    return m_controlLog;
}

void SimulatedDesktop::clearControlLog()
{
    QMutexLocker lock(&m_mutex);
    m_controlLog.clear();
}

std::optional<QRectF> SimulatedDesktop::frame(qint64 window)
{
    return frameOf(window);
}

bool SimulatedDesktop::setSize(qint64 window, const QSizeF &size)
{
    QMutexLocker lock(&m_mutex);
    Window *w = find(window);
    m_controlLog.append(QStringLiteral("setSize %1 %2x%3").arg(window).arg(size.width()).arg(size.height()));
    if (!w)
        return false;
    if (!w->maximized)
        w->frame.setSize(size.expandedTo(w->minSize));
    return true;
}

bool SimulatedDesktop::setPosition(qint64 window, const QPointF &topLeft)
{
    QMutexLocker lock(&m_mutex);
    Window *w = find(window);
    m_controlLog.append(QStringLiteral("setPosition %1 %2,%3").arg(window).arg(topLeft.x()).arg(topLeft.y()));
    if (!w)
        return false;
    if (w->ignoredMoves > 0)
        --w->ignoredMoves;
    else if (!w->maximized)
        w->frame.moveTopLeft(topLeft);
    return true;
}

bool SimulatedDesktop::unmaximize(qint64 window)
{
    QMutexLocker lock(&m_mutex);
    Window *w = find(window);
    if (!w)
        return false;
    // Logged only when there is a state to leave, as a window manager sees a request.
    if (w->maximized)
        m_controlLog.append(QStringLiteral("unmaximize %1").arg(window));
    w->maximized = false;
    return true;
}

bool SimulatedDesktop::setMinimized(qint64 window, bool minimized)
{
    QMutexLocker lock(&m_mutex);
    Window *w = find(window);
    m_controlLog.append(QStringLiteral("setMinimized %1 %2").arg(window).arg(int(minimized)));
    if (!w)
        return false;
    setMinimizedLocked(*w, minimized);
    return true;
}

void SimulatedDesktop::raiseLocked(qint64 number)
{
    for (App &app : m_apps) {
        for (qsizetype i = 0; i < app.windows.size(); ++i) {
            if (app.windows[i].number == number) {
                app.windows.move(i, 0);
                return;
            }
        }
    }
}

bool SimulatedDesktop::raise(qint64 window)
{
    QMutexLocker lock(&m_mutex);
    m_controlLog.append(QStringLiteral("raise %1").arg(window));
    if (!find(window))
        return false;
    raiseLocked(window);
    return true;
}

bool SimulatedDesktop::activate(qint64 window)
{
    QMutexLocker lock(&m_mutex);
    m_controlLog.append(QStringLiteral("activate %1").arg(window));
    Window *w = find(window);
    if (!w)
        return false;
    setMinimizedLocked(*w, false);
    raiseLocked(window);
    m_focus = window;
    return true;
}

bool SimulatedDesktop::close(qint64 window)
{
    QMutexLocker lock(&m_mutex);
    m_controlLog.append(QStringLiteral("close %1").arg(window));
    Window *w = find(window);
    if (!w)
        return false;
    if (w->closesOnRequest) {
        for (App &app : m_apps)
            app.windows.removeIf([window](const Window &x) { return x.number == window; });
    }
    return true;
}

void SimulatedDesktop::setShortcutOpens(qint32 pid, Window window)
{
    QMutexLocker lock(&m_mutex);
    m_shortcutOpens = std::pair(pid, std::move(window));
}

bool SimulatedDesktop::sendShortcut(qint64 window, const KeyShortcut &shortcut)
{
    QMutexLocker lock(&m_mutex);
    m_controlLog.append(QStringLiteral("sendShortcut %1 %2%3%4")
                            .arg(window)
                            .arg(shortcut.control ? QStringLiteral("ctrl+") : QString())
                            .arg(shortcut.shift ? QStringLiteral("shift+") : QString())
                            .arg(shortcut.keysym, 0, 16));
    if (!find(window))
        return false;
    m_focus = window;
    for (App &app : m_apps) {
        const bool typedIntoApp = std::any_of(app.windows.begin(), app.windows.end(),
                                              [window](const Window &w) { return w.number == window; });
        if (m_shortcutOpens && typedIntoApp && app.pid == m_shortcutOpens->first) {
            app.windows.prepend(m_shortcutOpens->second);
            m_focus = m_shortcutOpens->second.number;
            m_shortcutOpens.reset();
            break;
        }
    }
    return true;
}

QList<ScreenInfo> SimulatedDesktop::screens()
{
    QMutexLocker lock(&m_mutex);
    return m_screens;
}

bool SimulatedDesktop::hasApplication(const QString &bundleID)
{
    QMutexLocker lock(&m_mutex);
    return m_installed.contains(bundleID);
}

std::optional<QString> SimulatedDesktop::newWindowAction(const QString &bundleID)
{
    // The simulated entries declare no actions: new windows come from shortcuts.
    Q_UNUSED(bundleID);
    return std::nullopt;
}

LaunchWatch SimulatedDesktop::watchForLaunch()
{
    return std::make_shared<int>(0);
}

LaunchOutcome SimulatedDesktop::launch(const QString &bundleID, const QString &action, QString *error,
                                       LaunchedProcess *started)
{
    QMutexLocker lock(&m_mutex);
    m_controlLog.append(action.isEmpty() ? QStringLiteral("launch %1").arg(bundleID)
                                         : QStringLiteral("launch %1 %2").arg(bundleID, action));
    if (started)
        *started = {};
    if (!m_installed.contains(bundleID))
        return LaunchOutcome::NotFound;
    Q_UNUSED(error);
    return LaunchOutcome::Launched;
}

} // namespace orvella::platform::sim
