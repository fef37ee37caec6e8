// When the window manager refreshes: the heartbeat at the shown, hidden and idle
// rhythms, and the desktop's notifications, coalesced.
#pragma once

#include "platform/desktopobserver.h"
#include "platform/scheduler.h"

#include <QList>
#include <QObject>
#include <QPointer>

namespace orvella::tracking {

class WindowManager;

/**
 * Owned by the window manager, on its thread. Every delay goes through the injected
 * Scheduler, so tests run the 0.2-second coalescing, the 1.5/10-second heartbeat and
 * the 120-second idle rule in milliseconds.
 */
class ObservationScheduler : public QObject
{
    Q_OBJECT
public:
    ObservationScheduler(WindowManager &manager, platform::Scheduler &scheduler);

    /// The source of notifications and idle time; not owned, may be null.
    void setObserver(platform::DesktopObserver *observer);

    /// (Re)starts everything: restores shelf state, observes, refreshes, heartbeats.
    void startObserving();
    /// Stops the heartbeat and every observation.
    void stopObserving();
    /// At least 1 second; a new value restarts the heartbeat.
    void setRefreshInterval(double seconds);

    void startHeartbeatTimer();
    void heartbeatTick();
    void setupAXObserver();
    /// Registers every running regular application and logs the scan.
    void registerAXObserversForRunningApps();
    bool registerAXObserver(qint32 pid);
    void unregisterAXObserver(qint32 pid);
    void teardownAXObserver();
    /// Coalesces a burst of window notifications into one refresh 0.2 s later.
    void handleAXNotification(const QString &notification, qint32 pid);
    /// Registers applications a refresh found that are not observed yet.
    void noteRunningApps(const QList<qint32> &regularPids);

    bool isObserving() const { return m_observing; }

signals:
    /// The X server went away: nothing more can be observed.
    void desktopLost();

private:
    void armHeartbeat(quint64 token);
    void onDesktopEvent(const platform::DesktopEvent &event);
    void scheduleWorkspaceRefresh();

    WindowManager &m_manager;
    platform::Scheduler &m_scheduler;
    QPointer<platform::DesktopObserver> m_observer;
    bool m_observing = false;
    bool m_observerReady = false;
    bool m_workspaceRefreshPending = false;
    quint64 m_workspaceRefreshToken = 0;
    quint64 m_heartbeatToken = 0;
};

} // namespace orvella::tracking
