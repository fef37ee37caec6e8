// An in-memory desktop for deterministic tests of the tracking core.
#include "platform/sim/simulateddesktop.h"

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

void SimulatedDesktop::setMinimized(qint64 number, bool minimized)
{
    QMutexLocker lock(&m_mutex);
    if (Window *w = find(number)) {
        // As the X11 desktop reports them: a minimized window is not drawn at all.
        w->minimized = minimized;
        w->onScreen = !minimized;
        w->alpha = minimized ? 0.0 : 1.0;
    }
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
        snapshot.apps.append({app.pid, app.name, app.bundleID, QString(), QImage(), app.regular});
        QList<AppWindow> windows;
        for (const Window &w : app.windows) {
            server.append({w.number, w.layer, w.alpha, app.pid, w.serverBounds.value_or(w.frame),
                           w.serverKnowsName ? std::optional(w.title) : std::nullopt, w.onScreen});
            if (m_vanished.contains(w.number))
                continue;
            windows.append(
                {w.title, w.frame, w.minimized, w.reportsNumber ? std::optional(w.number) : std::nullopt});
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

} // namespace orvella::platform::sim
