// The window-tracking core: the published window list and sections, and the refresh.
#include "tracking/windowmanager.h"

#include "logging.h"
#include "platform/desktop.h"
#include "settings/appsettings.h"
#include "settings/localizationmanager.h"
#include "tracking/categorybuilder.h"
#include "tracking/identity.h"
#include "tracking/observationscheduler.h"
#include "tracking/shelfoperations.h"
#include "tracking/shelfpersistence.h"
#include "tracking/windownumbers.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QThread>

namespace orvella::tracking {

namespace {

constexpr std::chrono::seconds kWatchdogDelay{4};
constexpr qint64 kRelaunchMinIntervalSecs = 30;

// Runs `work` on the main thread if `guard` still exists then.
template<typename Owner, typename Work>
void onMainThread(QPointer<Owner> guard, Work work)
{
    QMetaObject::invokeMethod(
        QCoreApplication::instance(),
        [guard, work = std::move(work)]() mutable {
            if (guard)
                work(*guard);
        },
        Qt::QueuedConnection);
}

} // namespace

WindowManager::WindowManager(std::shared_ptr<platform::Desktop> desktop, settings::AppSettings *settings,
                             platform::PreferencesStore *store, platform::Scheduler &scheduler,
                             QObject *parent)
    : QObject(parent)
    , m_desktop(std::move(desktop))
    , m_settings(settings)
    , m_store(store)
    , m_scheduler(scheduler)
    , m_observation(new ObservationScheduler(*this, scheduler))
{
    connect(m_observation, &ObservationScheduler::desktopLost, this, &WindowManager::desktopLost);
    m_refreshPool.setObjectName(QStringLiteral("com.orvella.refresh"));
    m_refreshPool.setMaxThreadCount(2);
    followSettings();
}

void WindowManager::followSettings()
{
    if (!m_settings) {
        // No settings, no sidebar (the command line): tiling has the whole work area.
        m_state.sidebarWidth = 0;
        return;
    }
    settings::AppSettings *settings = m_settings;
    const auto copy = [this, settings] {
        m_state.sidebarWidth = settings->sidebarWidth();
        m_state.sidebarPosition = settings->position();
        setAvoidSidebarEnabled(settings->avoidSidebar());
    };
    copy();
    m_state.showAllWindowsInAppSection = settings->showAllWindowsInAppSection();
    connect(settings, &settings::AppSettings::sidebarWidthChanged, this, copy);
    connect(settings, &settings::AppSettings::positionChanged, this, copy);
    connect(settings, &settings::AppSettings::avoidSidebarChanged, this, copy);
}

WindowManager::~WindowManager()
{
    // Readings still running hold the desktop themselves; they find this object gone.
    m_refreshPool.clear();
}

void WindowManager::setSelectedWindowID(const QString &id)
{
    if (m_selectedWindowID == id)
        return;
    m_selectedWindowID = id;
    emit selectedWindowIDChanged();
}

void WindowManager::setIsRenaming(bool renaming)
{
    if (m_isRenaming == renaming)
        return;
    m_isRenaming = renaming;
    emit isRenamingChanged();
}

void WindowManager::setShowsTrustBanner(bool shows)
{
    if (m_showsTrustBanner == shows)
        return;
    m_showsTrustBanner = shows;
    emit showsTrustBannerChanged();
}

void WindowManager::publishLikelyCount(int count)
{
    if (m_lastLikelyCGWindowCount == count)
        return;
    m_lastLikelyCGWindowCount = count;
    emit lastLikelyCGWindowCountChanged();
}

void WindowManager::refresh(bool force)
{
    if (QThread::currentThread() != thread()) {
        QMetaObject::invokeMethod(
            this, [this, force] { refresh(force); }, Qt::QueuedConnection);
        return;
    }

    const std::shared_ptr<platform::Desktop> desktop = m_desktop;
    const QPointer<WindowManager> guard(this);
    if (!desktop->isTrusted()) {
        // The window-server side can still be counted without a usable window manager.
        m_refreshPool.start([desktop, guard] {
            const int count =
                computeLikelyCGWindowCount(desktop->readSnapshot().serverWindows, desktop->ownPid());
            onMainThread(guard, [count](WindowManager &wm) { wm.publishLikelyCount(count); });
        });
        setShowsTrustBanner(true);
        m_state.isRefreshing = false;
        return;
    }
    setShowsTrustBanner(false);

    if (m_state.isRefreshing) {
        if (!force)
            return;
        qCInfo(lcTracking)
            << "[OV] force refresh requested while a refresh is in progress — starting a new refresh";
    }
    m_state.isRefreshing = true;
    const quint64 generation = ++m_state.refreshGeneration;

    m_scheduler.schedule(kWatchdogDelay, this, [this, generation] {
        if (m_state.isRefreshing && m_state.refreshGeneration == generation) {
            qCWarning(lcTracking) << "[OV] refresh() watchdog — refresh appears stuck; clearing isRefreshing";
            m_state.isRefreshing = false;
        }
    });

    const QSet<QString> userMinimized = m_state.userMinimizedSignatures;
    const QString unknownName =
        settings::LocalizationManager::shared().string(QStringLiteral("general.unknown"));
    m_refreshPool.start([desktop, guard, generation, userMinimized, unknownName] {
        if (!guard)
            return;
        ReadResult result =
            readWindows(desktop->readSnapshot(), desktop->ownPid(), userMinimized, unknownName);
        onMainThread(guard, [generation, result = std::move(result)](WindowManager &wm) mutable {
            wm.apply(generation, std::move(result));
        });
    });
}

void WindowManager::apply(quint64 generation, ReadResult result)
{
    if (generation != m_state.refreshGeneration)
        return; // a newer refresh started; it clears isRefreshing

    publishLikelyCount(result.likelyCount);
    if (!m_desktop->isTrusted()) {
        // The window manager went away during the read: the list it left behind is no longer
        // kept up, so the model stays as it was until one runs again.
        setShowsTrustBanner(true);
        m_state.isRefreshing = false;
        return;
    }
    // A mark ends when the window shows focused after the minimise had been seen: before
    // that, the focus may be from before the minimise reached the window manager.
    m_state.confirmedMinimizedSignatures.unite(result.confirmedMarks);
    for (const QString &mark : std::as_const(result.contradictedMarks)) {
        if (m_state.confirmedMinimizedSignatures.remove(mark))
            m_state.userMinimizedSignatures.remove(mark);
    }
    m_runningApps = result.apps;
    QList<qint32> regularPids;
    for (const AppSnapshot &app : std::as_const(m_runningApps))
        regularPids.append(app.pid);
    m_observation->noteRunningApps(regularPids);
    if (!windowsUIEqual(m_windows, result.items)) {
        m_windows = result.items;
        emit windowsChanged();
    } else {
        // Same rows, but frames and numbers may have moved: keep them current silently.
        m_windows = result.items;
    }
    const QString activeID = result.activeID.value_or(QString());
    if (activeID != m_activeWindowID) {
        m_activeWindowID = activeID;
        emit activeWindowIDChanged();
    }
    const int count = int(result.items.size());
    if (count != m_state.lastWindowCount) {
        qCInfo(lcTracking).noquote() << QStringLiteral("[OV] refresh() — windows: %1 → %2")
                                            .arg(QString::number(m_state.lastWindowCount),
                                                 QString::number(count));
        m_state.lastWindowCount = count;
    }
    bool descriptorsMoved = false;
    const QList<SigChange> renamed = windowNumbers::migrateRenamed(m_windows, m_state, &descriptorsMoved);
    if (!renamed.isEmpty() || descriptorsMoved)
        persistState();
    buildCategories();
    m_state.isRefreshing = false;

    const QDateTime now = m_scheduler.now();
    nudgeFromSidebarIfDue(now);
    if (m_desktop->isTrusted() && result.items.isEmpty() && result.likelyCount >= 1
        && (!m_state.lastRelaunchRequestAt
            || m_state.lastRelaunchRequestAt->secsTo(now) > kRelaunchMinIntervalSecs)) {
        m_state.lastRelaunchRequestAt = now;
        qCWarning(lcTracking).noquote()
            << QStringLiteral("[OV] refresh() — AX returned 0 windows but CG sees %1; "
                              "requesting relaunch")
                   .arg(result.likelyCount);
        emit relaunchRequested();
    }
    emit refreshApplied();
}

void WindowManager::hardRefresh()
{
    if (QThread::currentThread() != thread()) {
        QMetaObject::invokeMethod(this, &WindowManager::hardRefresh, Qt::QueuedConnection);
        return;
    }
    startObserving();
}

void WindowManager::setObserver(platform::DesktopObserver *observer)
{
    m_observation->setObserver(observer);
}

void WindowManager::startObserving()
{
    m_observation->startObserving();
}

void WindowManager::stopObserving()
{
    m_observation->stopObserving();
}

void WindowManager::setRefreshInterval(double seconds)
{
    m_observation->setRefreshInterval(seconds);
}

std::optional<WindowItem> WindowManager::canonicalWindow(const QString &id) const
{
    const QString real = identity::withoutGhostSuffix(id);
    for (const WindowItem &w : m_windows) {
        if (w.id == real)
            return w;
    }
    return std::nullopt;
}

void WindowManager::buildCategories()
{
    categoryBuilder::Options options;
    options.showAllWindowsInAppSection = m_settings ? m_settings->showAllWindowsInAppSection() : true;
    options.showClosedShelfApps = m_settings ? m_settings->showClosedShelfApps() : false;
    options.defaultShelfName = [this](const QString &number) { return defaultShelfName(number); };
    options.today = m_scheduler.now().date();
    m_state.showAllWindowsInAppSection = options.showAllWindowsInAppSection;

    categoryBuilder::Result result = categoryBuilder::build(m_windows, m_state, options);
    // Which shelf a window is on is not drawn from `windows`; update it silently.
    m_windows = std::move(result.windows);
    m_state.dragJustHappened = false;
    if (!categoriesUIEqual(m_categories, result.categories)) {
        m_categories = std::move(result.categories);
        emit categoriesChanged();
    } else {
        m_categories = std::move(result.categories);
    }
    if (result.stateChanged)
        persistState();
}

QList<WindowCategory> WindowManager::visibleCategories() const
{
    return categoryBuilder::visibleCategories(m_categories, m_state);
}

void WindowManager::restoreState()
{
    if (m_store)
        shelfPersistence::restoreState(m_state, *m_store);
}

void WindowManager::persistState()
{
    if (m_store)
        shelfPersistence::persistState(m_state, *m_store);
}

QString WindowManager::defaultShelfName(const QString &number) const
{
    return settings::LocalizationManager::shared().formatted(QStringLiteral("shelf.defaultName"), {number});
}

std::optional<QString> WindowManager::categoryIDForWindow(const QString &windowID) const
{
    for (const WindowCategory &c : m_categories) {
        for (const WindowItem &w : c.windows) {
            if (w.id == windowID)
                return c.id;
        }
    }
    return std::nullopt;
}

bool WindowManager::waitForRefresh(int timeoutMs)
{
    QDeadlineTimer deadline(timeoutMs);
    while (m_state.isRefreshing && !deadline.hasExpired())
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents, 50);
    return !m_state.isRefreshing;
}

} // namespace orvella::tracking
