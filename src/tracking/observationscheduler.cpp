// When the window manager refreshes: the heartbeat at the shown, hidden and idle
// rhythms, and the desktop's notifications, coalesced.
#include "tracking/observationscheduler.h"

#include "logging.h"
#include "tracking/windowmanager.h"

namespace orvella::tracking {

namespace {

using Kind = platform::DesktopEvent::Kind;

constexpr std::chrono::milliseconds kNotificationCoalescing{200};
constexpr std::chrono::milliseconds kWorkspaceDelay{150};
constexpr double kDeepIdleSeconds = 120;

std::chrono::milliseconds toMs(double seconds)
{
    return std::chrono::milliseconds(qint64(seconds * 1000 + 0.5));
}

} // namespace

ObservationScheduler::ObservationScheduler(WindowManager &manager, platform::Scheduler &scheduler)
    : QObject(&manager)
    , m_manager(manager)
    , m_scheduler(scheduler)
{}

void ObservationScheduler::setObserver(platform::DesktopObserver *observer)
{
    if (m_observer)
        disconnect(m_observer, nullptr, this, nullptr);
    m_observer = observer;
    if (m_observer)
        connect(m_observer, &platform::DesktopObserver::desktopEvent, this,
                &ObservationScheduler::onDesktopEvent);
}

void ObservationScheduler::startObserving()
{
    qCInfo(lcTracking) << "[OV] startObserving() called";
    stopObserving();
    m_observing = true;
    m_manager.restoreState();
    setupAXObserver();
    registerAXObserversForRunningApps();
    m_manager.refresh(false);
    startHeartbeatTimer();
}

void ObservationScheduler::stopObserving()
{
    ++m_heartbeatToken; // the pending tick finds itself outdated
    teardownAXObserver();
    m_observing = false;
}

void ObservationScheduler::setRefreshInterval(double seconds)
{
    const double interval = std::max(seconds, 1.0);
    TrackingState &state = m_manager.state();
    if (interval == state.currentRefreshInterval)
        return;
    state.currentRefreshInterval = interval;
    startHeartbeatTimer();
    qCInfo(lcTracking).noquote() << QStringLiteral("[OV] refresh interval = %1s").arg(interval, 0, 'f', 1);
}

void ObservationScheduler::startHeartbeatTimer()
{
    m_manager.state().idleTickCounter = 0;
    armHeartbeat(++m_heartbeatToken);
}

// A repeating timer, as a chain of single shots that a restart or stop cuts off.
void ObservationScheduler::armHeartbeat(quint64 token)
{
    m_scheduler.schedule(toMs(m_manager.state().currentRefreshInterval), this, [this, token] {
        if (token != m_heartbeatToken)
            return;
        heartbeatTick();
        armHeartbeat(token);
    });
}

void ObservationScheduler::heartbeatTick()
{
    TrackingState &state = m_manager.state();
    // Only the hidden rhythm slows down further for an absent user.
    const std::optional<double> idle =
        state.currentRefreshInterval == state.hiddenRefreshInterval && m_observer
            ? m_observer->userIdleSeconds()
            : std::nullopt;
    if (idle && *idle >= kDeepIdleSeconds) {
        ++state.idleTickCounter;
        if (state.idleTickCounter % 3 != 0)
            return;
        if (state.idleTickCounter == 3)
            qCInfo(lcTracking).noquote() << QStringLiteral("deep idle: heartbeat slowed to %1s")
                                                .arg(state.idleRefreshInterval, 0, 'f', 1);
    } else {
        state.idleTickCounter = 0;
    }
    m_manager.refresh(false);
}

void ObservationScheduler::setupAXObserver()
{
    if (m_observerReady || !m_observer)
        return;
    m_observerReady = m_observer->start();
    if (!m_observerReady)
        qCWarning(lcTracking) << "AXObserver AXObserverCreate failed: no desktop notifications";
}

void ObservationScheduler::registerAXObserversForRunningApps()
{
    int ok = 0;
    int failed = 0;
    const QList<AppSnapshot> &apps = m_manager.runningApps();
    for (const AppSnapshot &app : apps) {
        if (m_manager.state().axObservedPIDs.contains(app.pid) || registerAXObserver(app.pid))
            ++ok;
        else
            ++failed;
    }
    qCInfo(lcTracking).noquote() << QStringLiteral(
                                        "AXObserver scan: %1 regular apps → %2 ok, %3 failed (%4 total "
                                        "observed)")
                                        .arg(apps.size())
                                        .arg(ok)
                                        .arg(failed)
                                        .arg(m_manager.state().axObservedPIDs.size());
}

bool ObservationScheduler::registerAXObserver(qint32 pid)
{
    QSet<qint32> &observed = m_manager.state().axObservedPIDs;
    if (!m_observerReady || !m_observer || observed.contains(pid))
        return false;
    if (!m_observer->observeProcess(pid))
        return false;
    observed.insert(pid);
    return true;
}

void ObservationScheduler::unregisterAXObserver(qint32 pid)
{
    QSet<qint32> &observed = m_manager.state().axObservedPIDs;
    if (!observed.contains(pid))
        return;
    if (m_observer)
        m_observer->unobserveProcess(pid);
    observed.remove(pid);
}

void ObservationScheduler::teardownAXObserver()
{
    if (m_observer && m_observerReady) {
        for (qint32 pid : std::as_const(m_manager.state().axObservedPIDs))
            m_observer->unobserveProcess(pid);
        m_observer->stop();
    }
    m_observerReady = false;
    m_manager.state().axObservedPIDs.clear();
}

void ObservationScheduler::handleAXNotification(const QString &notification, qint32 pid)
{
    TrackingState &state = m_manager.state();
    if (state.axRefreshPending)
        return;
    state.axRefreshPending = true;
    // An application's launch arrives just ahead of its windows: the refresh scheduled
    // here sees the launch too, so the launch's own refresh is dropped.
    if (m_workspaceRefreshPending) {
        m_workspaceRefreshPending = false;
        ++m_workspaceRefreshToken;
    }
    qCInfo(lcTracking).noquote() << "AXObserver ⚡ " + notification + " pid=" + QString::number(pid)
                                        + " → scheduling refresh";
    m_scheduler.schedule(kNotificationCoalescing, this, [this] {
        m_manager.state().axRefreshPending = false;
        m_manager.refresh(false);
    });
}

void ObservationScheduler::noteRunningApps(const QList<qint32> &regularPids)
{
    if (!m_observing)
        return;
    for (qint32 pid : regularPids)
        registerAXObserver(pid);
}

void ObservationScheduler::scheduleWorkspaceRefresh()
{
    // One launch brings its windows and focus along: a refresh already on its way
    // will see all of it.
    if (m_workspaceRefreshPending || m_manager.state().axRefreshPending)
        return;
    m_workspaceRefreshPending = true;
    m_scheduler.schedule(kWorkspaceDelay, this, [this, token = ++m_workspaceRefreshToken] {
        if (token != m_workspaceRefreshToken)
            return;
        m_workspaceRefreshPending = false;
        m_manager.refresh(false);
    });
}

void ObservationScheduler::onDesktopEvent(const platform::DesktopEvent &event)
{
    if (!m_observing)
        return;
    if (platform::isWindowNotification(event.kind)) {
        handleAXNotification(QString::fromLatin1(platform::eventName(event.kind)), event.pid);
        return;
    }
    switch (event.kind) {
    case Kind::AppLaunched:
        if (event.regular)
            registerAXObserver(event.pid);
        scheduleWorkspaceRefresh();
        break;
    case Kind::AppTerminated:
        unregisterAXObserver(event.pid);
        scheduleWorkspaceRefresh();
        break;
    case Kind::AppActivated:
    case Kind::AppDeactivated: scheduleWorkspaceRefresh(); break;
    case Kind::WindowManagerChanged: m_manager.hardRefresh(); break;
    case Kind::ConnectionLost:
        stopObserving();
        emit desktopLost();
        break;
    default: break;
    }
}

} // namespace orvella::tracking
